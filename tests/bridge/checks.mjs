// What the programs share that check how a browser and its hosts behave: the browser, its pages and processes, and a line
// a check. Their command line: BROWSER [unmanaged].
import { launch, root, serve } from "../../bridge/driver/browser.mjs";
import { report } from "./report.mjs";
import { familyOf, isExtension } from "./processes.mjs";
import { readFileSync } from "node:fs";
export { root, until } from "../../bridge/driver/browser.mjs";
export { commandOf, hosts, memoryOf, processOf, signal } from "./processes.mjs";

export const [, , name, mode = "managed"] = process.argv;
export const TYPE = "application/x-vnd-norvo-webapi-ksv-5.0.9";
export const APPLET = "8D67D9DD2AF54717AFF2FF7EF19DFADB";
export const ELEMENT = `<object id="plugin" type="${TYPE}" width="100" height="50"></object>`;
const helper = readFileSync(root + "/kit/pages/ksv.js", "utf8");
let failed = 0;

export function equal(actual, expected) {
  const [seen, wanted] = [JSON.stringify(actual), JSON.stringify(expected)];
  if (seen !== wanted) throw new Error(`${seen}, expected ${wanted}`);
}

// A page's script that stores a token, with `ksv` set to the element's helper.
export const STORE = `ksv.must("zubInit"); var s = ksv.must("zubStartProvisioning", "${APPLET}").sessionHandle;
  ksv.must("zubSendData", "${APPLET}", s, 0, ksv.toBase64("otpauth://totp/a:b?secret=GEZDGNBVGY3TQOJQGEZDGNBVGY3TQOJQ"));
  ksv.must("zubEndProvisioningDomainBinding", "${APPLET}", s, 4096, "scenario.token", true, "");`;

const HEADERS = {
  "/strict.html": { "content-security-policy": "default-src 'none'; object-src 'none'; script-src 'nonce-n'" },
  "/no-requests.html": { "permissions-policy": "sync-xhr=()" },
};
const page = `<!DOCTYPE html><link rel="icon" href="data:,">${ELEMENT}<script nonce="n">${helper}
  ksv.plugin = document.getElementById("plugin"); ksv.onCall = function () {};</script>`;
export const address = await serve(path => ({ body: path === "/empty.html" ? "<!DOCTYPE html>" : page, headers: HEADERS[path] }));
export const otherAddress = address.replace("127.0.0.1", "localhost");
export const browser = await launch({ browser: name, managed: mode === "managed" });
export const family = () => familyOf(browser);
export const extensionProcess = () => family().find(isExtension);
export const lines = [];  // That the pages have written to their consoles.
const tabs = [];

export async function open(url = address + "/page.html") {
  const tab = await browser.newPage();
  tab.on("console", message => lines.push(message.text()));
  tabs.push(tab);
  await tab.goto(url);
  return tab;
}

export async function check(what, body) {
  if (!await report(`${name}/${mode}/${what}`, body)) failed = 1;
  for (const tab of tabs.splice(0)) await tab.close().catch(() => {});
}

export async function finish() {
  await browser.close();
  process.exit(failed);
}
