// The browsers of this machine with the extension in them, for the programs that drive one.
import { createReadStream, mkdirSync, mkdtempSync, readFileSync, rmSync, statSync, writeFileSync } from "node:fs";
import { createServer } from "node:http";
import { createRequire } from "node:module";
import { tmpdir } from "node:os";
import { extname, join, resolve } from "node:path";

export const root = resolve(import.meta.dirname, "../..");
const made = join(root, "build/bridge");
// The packages lie in the build folder, not beside this file.
const { default: puppeteer } = await import(createRequire(join(made, "driver/")).resolve("puppeteer-core"));

const TYPES = { ".html": "text/html", ".js": "text/javascript", ".css": "text/css", ".png": "image/png" };

// The file that a path names below a folder; null for none, for hidden ones, and for what was built: the key that signs the
// extension is there.
function fileBelow(folder, path) {
  const file = join(folder, path);
  const inside = file.startsWith(folder + "/") && !/^\/(build\/|\.)|\/\./.test(file.slice(folder.length));
  return inside && statSync(file, { throwIfNoEntry: false })?.isFile() ? file : null;
}

function pathOf(request) {
  try {
    return decodeURIComponent(new URL(request.url, "http://localhost").pathname);
  } catch {
    return "";
  }
}

// Serves what a function gives for a path, {headers, body}, or the files below a folder, on a loopback address. Gives the
// address.
export function serve(source) {
  const answerFor = typeof source === "function" ? source : path => {
    const file = fileBelow(source, path);
    return file && { headers: { "content-type": TYPES[extname(file)] || "application/octet-stream" }, stream: createReadStream(file) };
  };
  const server = createServer((request, response) => {
    const answer = answerFor(pathOf(request));
    response.writeHead(answer ? 200 : 404, { "content-type": "text/html", ...answer?.headers });
    if (answer?.stream) answer.stream.pipe(response);
    else response.end(answer?.body);
  });
  return new Promise(done => server.listen(0, "127.0.0.1", () => done(`http://127.0.0.1:${server.address().port}`)));
}

// What a test gives once it is true; throws when it has not come true in this many milliseconds.
export async function until(what, test, time = 30000) {
  const end = Date.now() + time;
  for (let result; Date.now() < end; await new Promise(done => setTimeout(done, 50))) {
    if ((result = await test())) return result;
  }
  throw new Error(what + " has not come true");
}

const quoted = text => "'" + text.replaceAll("'", "'\\''") + "'";

// The hosts that the browser starts from now on have the plug-in's variables of this environment.
function setEnvironment(profile, environment) {
  const lines = Object.entries(environment).filter(([name]) => /^(KSV_\w+|AppData)$/.test(name))
    .map(([name, value]) => `export ${name}=${quoted(value)}\n`);
  writeFileSync(join(profile, "environment"), lines.join(""));
}

// Makes the native manifest in a folder; it names a script, for the browser gives its hosts its own environment. The
// variable KSV_BRIDGE_HOST names another host.
function installHost(profile, name, folder) {
  const manifest = JSON.parse(readFileSync(join(root, `build/native/bridge/${name}/com.norvo.ksv.json`)));
  const script = join(profile, "host");
  writeFileSync(script, `#!/bin/sh\n. ${quoted(join(profile, "environment"))}\nexec "\${KSV_BRIDGE_HOST:-${manifest.path}}" "$@"\n`, { mode: 0o755 });
  mkdirSync(folder, { recursive: true });
  writeFileSync(join(folder, "com.norvo.ksv.json"), JSON.stringify({ ...manifest, path: script }));
  setEnvironment(profile, process.env);
}

// Starts a browser with a profile of its own, which goes with it. The policies are those of the mount namespace; the host
// is that of the build, unless the one that is installed on the machine is wanted.
export async function launch({ browser: name, managed = true, installed = false, visible = false }) {
  const profile = mkdtempSync(join(tmpdir(), "ksv-profile-"));
  if (!installed) {
    installHost(profile, name, join(profile, name === "firefox" ? ".mozilla/native-messaging-hosts" : "NativeMessagingHosts"));
  }
  const browser = await (name === "firefox" ? launchFirefox(profile, installed, visible) : launchChromium(profile, managed, visible));
  browser.setEnvironment = environment => setEnvironment(profile, environment);
  const close = browser.close.bind(browser);
  browser.close = async () => {
    await close().catch(() => {});
    rmSync(profile, { recursive: true, force: true, maxRetries: 5 });
  };
  try {
    await awaitExtension(browser);
  } catch (error) {
    await browser.close();
    throw error;
  }
  return browser;
}

// A browser that is seen shows pages in the size of its window. Network events are off: each call of a page is a request, and
// Firefox keeps in memory what it reports of them.
const options = visible => ({ headless: !visible, networkEnabled: false, ...(visible && { defaultViewport: null }) });

function launchFirefox(profile, installed, visible) {
  mkdirSync(join(profile, "firefox"));
  return puppeteer.launch({
    browser: "firefox", executablePath: "/usr/bin/firefox-esr", ...options(visible),
    args: ["--profile", join(profile, "firefox")], env: { ...process.env, HOME: profile },
    // Firefox's own default; Puppeteer's would keep the system's extensions out.
    extraPrefsFirefox: installed ? { "extensions.enabledScopes": 15 } : {}
  });
}

function launchChromium(profile, managed, visible) {
  return puppeteer.launch({
    executablePath: "/usr/bin/chromium", userDataDir: profile, ...options(visible),
    args: ["--no-sandbox", ...(visible ? ["--test-type"] : []), ...(managed ? [] : [`--load-extension=${made}/chromium`])],
    // Puppeteer's own defaults would keep extensions and their policies out, and put a bar over pages.
    ignoreDefaultArgs: ["--enable-automation", "--disable-extensions", "--disable-background-networking", "--disable-component-update",
      "--disable-component-extensions-with-background-pages"]
  });
}

// The browser installs the extension after its start, and tells nobody when: asks a new page until its elements have it.
async function awaitExtension(browser) {
  const address = await serve(() => ({ body: "<!DOCTYPE html><title>Waiting for the extension</title>" }));
  const tab = await browser.newPage();
  const end = Date.now() + 30000;
  while (Date.now() < end) {
    // The installation may end a navigation that is under way.
    const isThere = await tab.goto(address).then(() => tab.evaluate(() => "zubInit" in HTMLObjectElement.prototype)).catch(() => false);
    if (isThere) return tab.close();
    await new Promise(done => setTimeout(done, 100));
  }
  throw new Error("The browser has not installed the extension.");
}
