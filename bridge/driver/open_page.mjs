// The part of open-page that drives the browser. See ./open-page --help.
import { createServer } from "node:http";
import { createReadStream, mkdtempSync, rmSync, statSync, cpSync, mkdirSync, realpathSync } from "node:fs";
import { tmpdir } from "node:os";
import { dirname, extname, join, resolve } from "node:path";
import { parseArgs } from "node:util";
import { createRequire } from "node:module";

const { values: options, positionals } = parseArgs({
  allowPositionals: true,
  options: {
    browser: { type: "string" }, made: { type: "string" }, managed: { type: "string" }, timeout: { type: "string", default: "60" },
    picture: { type: "string" }, stay: { type: "boolean", default: false }
  }
});
const [page] = positionals;
const isFirefox = options.browser === "firefox";
const root = resolve(import.meta.dirname, "../..");
// The packages lie in the build folder, not beside this file.
const { default: puppeteer } = await import(createRequire(join(options.made, "driver/")).resolve("puppeteer-core"));

const TYPES = { ".html": "text/html", ".js": "text/javascript", ".css": "text/css", ".png": "image/png" };

// Serves the files below a folder on a loopback address; gives the address.
function serve(folder) {
  const server = createServer((request, response) => {
    const file = join(folder, decodeURIComponent(new URL(request.url, "http://localhost").pathname));
    if (!file.startsWith(folder) || !statSync(file, { throwIfNoEntry: false })?.isFile()) {
      response.writeHead(404).end();
      return;
    }
    response.writeHead(200, { "content-type": TYPES[extname(file)] || "application/octet-stream", "cache-control": "no-store" });
    createReadStream(file).pipe(response);
  });
  return new Promise(done => server.listen(0, "127.0.0.1", () => done(`http://127.0.0.1:${server.address().port}`)));
}

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

async function launch(profile) {
  if (isFirefox) {
    const hosts = join(profile, ".mozilla/native-messaging-hosts");
    mkdirSync(hosts, { recursive: true });
    cpSync(join(options.made, "firefox-hosts"), hosts, { recursive: true });
    mkdirSync(join(profile, "firefox"));
    return puppeteer.launch({
      browser: "firefox", executablePath: "/usr/bin/firefox-esr", headless: !options.stay,
      args: ["--profile", join(profile, "firefox")], env: { ...process.env, HOME: profile }
    });
  }
  cpSync(join(options.made, "chromium-hosts"), join(profile, "NativeMessagingHosts"), { recursive: true });
  const unmanaged = options.managed === "0" ? [`--load-extension=${options.made}/chromium`] : [];
  return puppeteer.launch({
    executablePath: "/usr/bin/chromium", headless: !options.stay, userDataDir: profile, dumpio: !!process.env.DUMP,
    args: ["--no-sandbox", "--no-first-run", ...unmanaged],
    // Puppeteer's own defaults would keep extensions and their policies out.
    ignoreDefaultArgs: ["--disable-extensions", "--disable-background-networking", "--disable-component-update",
      "--disable-component-extensions-with-background-pages"]
  });
}

// The browser installs the extension after its start, and tells nobody when: asks a new page until its elements have it.
async function awaitExtension(browser, address) {
  const tab = await browser.newPage();
  const end = Date.now() + 30000;
  while (Date.now() < end) {
    await tab.goto(address);
    if (await tab.evaluate(() => "zubInit" in HTMLObjectElement.prototype)) return tab.close();
    await new Promise(done => setTimeout(done, 100));
  }
  throw new Error("The browser has not installed the extension.");
}

async function run(browser) {
  const address = await addressOf(page);
  await awaitExtension(browser, new URL("/bridge/driver/empty.html", await serve(root)).href);
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

const profile = mkdtempSync(join(tmpdir(), "ksv-profile-"));
let status = 3;
try {
  const browser = await launch(profile);
  try {
    status = await run(browser);
  } finally {
    await browser.close().catch(() => {});
  }
} catch (error) {
  status = fail(error.message);
} finally {
  rmSync(profile, { recursive: true, force: true, maxRetries: 5 });
}
process.exit(status);
