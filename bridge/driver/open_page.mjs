// The part of open-page that drives the browser. See ./open-page --help.
import { existsSync, realpathSync, rmSync } from "node:fs";
import { connect, createServer } from "node:net";
import { dirname } from "node:path";
import { createInterface } from "node:readline";
import { parseArgs } from "node:util";
import { launch, root, serve } from "./browser.mjs";

const { values: options, positionals } = parseArgs({
  allowPositionals: true,
  options: {
    browser: { type: "string" }, managed: { type: "string" }, installed: { type: "boolean", default: false }, timeout: { type: "string", default: "60" },
    picture: { type: "string" }, storage: { type: "string", default: "" }, stay: { type: "boolean", default: false }, serve: { type: "string" }
  }
});

const addresses = new Map();  // Of the folders that are served, one for each storage: another address is another origin.

// A page of the project is served with the project around it, for it may use files of other folders.
async function addressOf(named, storage) {
  if (/^https?:/.test(named)) return named;
  const [path, hash = ""] = named.replace(/^file:\/\//, "").split("#");
  const file = realpathSync(path);
  const folder = file.startsWith(root + "/") ? root : dirname(file);
  const key = folder + "\n" + storage;
  if (!addresses.has(key)) addresses.set(key, await serve(folder));
  return addresses.get(key) + file.slice(folder.length) + (hash && "#" + hash);
}

const NO_ANSWER = 3;  // An exit status.

// Opens the page in a tab of its own; gives the exit status. `say` and `complain` take its lines.
async function open(browser, { page, timeout, picture, storage, stay }, say, complain) {
  const giveUp = sentence => {
    complain("open-page: " + sentence);
    return NO_ANSWER;
  };
  const address = await addressOf(page, storage);
  const tab = await browser.newPage();
  if (!stay) await tab.setViewport({ width: 960, height: 740 });
  let finish;
  const finished = new Promise(done => { finish = done; });
  let failedScript = false;
  tab.on("console", message => {
    // A favicon that is not there is no line of the page's.
    if (message.type() !== "error" || !/Failed to load resource/.test(message.text())) say(message.text());
  });
  tab.on("pageerror", error => {
    complain("open-page: the page's script failed: " + error.message);
    failedScript = true;
  });
  const onEnd = () => finish(stay ? 0 : giveUp("The browser has ended."));
  browser.on("disconnected", onEnd);
  await tab.exposeFunction("ksvBrowserFinish", ok => finish(ok ? 0 : 1));
  await tab.evaluateOnNewDocument(() => { window.ksvBrowser = { finish: ok => window.ksvBrowserFinish(Boolean(ok)) }; });
  const timer = stay || setTimeout(() => finish(giveUp(`The page has not finished within ${timeout} s.`)), timeout * 1000);
  await tab.goto(address, { timeout: timeout * 1000 }).catch(error => finish(giveUp(error.message)));
  if (stay) await new Promise(done => browser.once("disconnected", done));
  const status = await finished;
  clearTimeout(timer);
  browser.off("disconnected", onEnd);
  if (picture && status !== NO_ANSWER) await tab.screenshot({ path: picture });
  await tab.close().catch(() => {});
  return status === 0 && failedScript ? 1 : status;
}

// Opens pages for other calls of this program, each with its own environment, one after the other.
async function serveOpenings(browser, socket) {
  const server = createServer(connection => {
    createInterface(connection).once("line", async line => {
      const asked = JSON.parse(line);
      const tell = message => connection.write(JSON.stringify(message) + "\n");
      browser.setEnvironment(asked.environment);
      const status = await open(browser, asked, say => tell({ say }), complain => tell({ complain }));
      connection.end(JSON.stringify({ status }) + "\n");
    });
  });
  await new Promise(done => server.listen(socket, done));
  console.log("ready");
  await new Promise(done => ["SIGTERM", "SIGINT"].forEach(signal => process.once(signal, done)));
  rmSync(socket, { force: true });
  return 0;
}

// Lets a program that serves openings open the page.
async function ask(socket, asked) {
  const connection = connect(socket);
  connection.write(JSON.stringify({ ...asked, environment: process.env }) + "\n");
  for await (const line of createInterface(connection)) {
    const { say, complain, status } = JSON.parse(line);
    if (say !== undefined) console.log(say);
    if (complain !== undefined) console.error(complain);
    if (status !== undefined) return status;
  }
  console.error("open-page: The program that serves openings has ended.");
  return 3;
}

async function run() {
  const asked = { page: positionals[0], timeout: options.timeout, picture: options.picture, storage: options.storage, stay: options.stay };
  const socket = process.env.KSV_BRIDGE_SOCKET;
  if (!options.serve && socket && existsSync(socket)) return ask(socket, asked);
  const browser = await launch({ browser: options.browser, managed: options.managed === "1", installed: options.installed, visible: options.stay });
  try {
    return options.serve ? await serveOpenings(browser, options.serve) : await open(browser, asked, console.log, console.error);
  } finally {
    await browser.close();
  }
}

process.exit(await run().catch(error => {
  console.error("open-page: " + error.message);
  return NO_ANSWER;
}));
