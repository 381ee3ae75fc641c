// The part of open-page that drives the browser. See ./open-page --help.
import { realpathSync } from "node:fs";
import { dirname } from "node:path";
import { parseArgs } from "node:util";
import { launch, root, serve } from "./browser.mjs";

const { values: options, positionals: [page] } = parseArgs({
  allowPositionals: true,
  options: {
    browser: { type: "string" }, managed: { type: "string" }, timeout: { type: "string", default: "60" },
    picture: { type: "string" }, stay: { type: "boolean", default: false }
  }
});

// A page of the project is served with the project around it, for it may use files of other folders.
async function addressOf(named) {
  if (/^https?:/.test(named)) return named;
  const [path, hash = ""] = named.replace(/^file:\/\//, "").split("#");
  const file = realpathSync(path);
  const folder = file.startsWith(root + "/") ? root : dirname(file);
  return (await serve(folder)) + file.slice(folder.length) + (hash && "#" + hash);
}

function fail(sentence) {
  console.error("open-page: " + sentence);
  return 3;
}

async function run(browser) {
  const address = await addressOf(page);
  const tab = await browser.newPage();
  await tab.setViewport({ width: 960, height: 740 });
  let finish;
  let ended = false;
  const finished = new Promise(done => { finish = value => { ended = true; done(value); }; });
  let succeeded = true;
  tab.on("console", message => {
    // A favicon that is not there is no line of the page's.
    if (message.type() === "error" && /Failed to load resource/.test(message.text())) return;
    console.log(message.text());
  });
  tab.on("pageerror", error => {
    console.error("open-page: the page's script failed: " + error.message);
    succeeded = false;
  });
  await tab.exposeFunction("ksvBrowserFinish", ok => finish(ok ? 0 : 1));
  await tab.evaluateOnNewDocument(() => { window.ksvBrowser = { finish: ok => window.ksvBrowserFinish(Boolean(ok)) }; });
  const timer = setTimeout(() => finish(fail(`The page has not finished within ${options.timeout} s.`)), options.timeout * 1000);
  browser.on("disconnected", () => { if (!ended) finish(options.stay ? 0 : fail("The browser has ended.")); });
  await tab.goto(address, { waitUntil: "load", timeout: options.timeout * 1000 }).catch(error => finish(fail(error.message)));
  if (options.stay) {
    clearTimeout(timer);
    await new Promise(done => browser.on("disconnected", done));
  }
  const status = await finished;
  clearTimeout(timer);
  if (options.picture) await tab.screenshot({ path: options.picture });
  return status === 0 && !succeeded ? 1 : status;
}

let status;
try {
  const browser = await launch({ browser: options.browser, managed: options.managed === "1", visible: options.stay });
  status = await run(browser);
  await browser.close();
} catch (error) {
  status = fail(error.message);
}
process.exit(status);
