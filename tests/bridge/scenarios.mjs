// What a page meets in a browser that a file of the page tests can't set up: policies, frames, several pages, faults.
// Usage: node scenarios.mjs BROWSER [unmanaged]. Prints a line a check; exit status: 0 none failed, 1 some did.
import { readFileSync, writeFileSync } from "node:fs";
import { dirname } from "node:path";
import {
  APPLET, ELEMENT, STORE, TYPE, address, browser, check, equal, extensionProcess, family, finish, hosts, lines, mode, name, open,
  otherAddress, processOf, root, signal, until
} from "./checks.mjs";

const NAMES = `ksv.call("zubEnumerateTokensDomainBinding")`;

// A frame in the page, by the markup of its element. Its script is run in it.
async function inFrame(tab, markup, script) {
  const element = await tab.evaluateHandle(html => {
    document.body.insertAdjacentHTML("beforeend", html);
    const frame = document.body.lastElementChild;
    return new Promise(done => { frame.contentDocument?.readyState === "complete" && !frame.src ? done(frame) : frame.onload = () => done(frame); });
  }, markup);
  return (await element.contentFrame()).evaluate(script);
}

await check("a page with a strict policy", async () => {
  const tab = await open(address + "/strict.html");
  equal(await tab.evaluate("ksv.plugin.version"), "5.0.5");
});

await check("the origin is what the browser attests, in each kind of frame", async () => {
  const tab = await open();
  await tab.evaluate(STORE);
  const names = markup => inFrame(tab, markup, `ksv.plugin.zubInit(); ksv.show(${NAMES})`);
  const own = '{pluginRetCode: 0, fnRetCode: 0, tokenFileNames: ["scenario.token"]}';
  equal(await names(`<iframe src="${address}/page.html"></iframe>`), own);
  equal(await names(`<iframe src="${otherAddress}/page.html"></iframe>`), "{pluginRetCode: 0, fnRetCode: 0, tokenFileNames: []}");
  equal(await names(`<iframe sandbox="allow-scripts" src="${address}/page.html"></iframe>`), "null");
  const blank = `document.body.innerHTML = '${ELEMENT}'; var p = document.getElementById("plugin"); p.zubInit();
    String(p.zubEnumerateTokensDomainBinding().tokenFileNames)`;
  equal(await inFrame(tab, "<iframe></iframe>", blank), "scenario.token");
});

await check("the address at which content.js waits gives a page nothing", async () => {
  const tab = await open();
  await tab.evaluate("ksv.plugin.version");
  const asked = await tab.evaluate(() => Promise.all(
    ["https://ksv.invalid:1/0/1/0", "https://ksv.invalid/0/1/0", "/__ksv__/0/1/0"].map(url =>
      fetch(url).then(answer => answer.text(), () => "g"))));
  equal(asked.every(text => /^[gw]$/.test(text) || text.includes("<object")), true);
});

await check("each document has a host of its own, which ends with it", async () => {
  await until("an end of earlier hosts", () => hosts().length === 0);
  const [first, second] = [await open(), await open()];
  for (const tab of [first, second]) await tab.evaluate("ksv.plugin.zubInit()");
  equal(hosts().length, 2);
  await first.evaluate("ksv.plugin.zubInit()");
  await first.reload();
  equal(await first.evaluate("ksv.plugin.version"), "5.0.5");
  equal(await second.evaluate("ksv.plugin.zubDeInit().pluginRetCode"), 0);
  await until("the end of the reloaded page's host", () => hosts().length === 2);
  await first.close();
  await second.close();
  await until("the end of the hosts", () => hosts().length === 0);
});

await check("a page that comes back from the browser's cache has a new instance", async () => {
  const tab = await open();
  equal(await tab.evaluate("ksv.plugin.zubInit().pluginRetCode"), 0);
  await tab.goto(address + "/empty.html");
  await until("the end of the host", () => hosts().length === 0);
  await tab.evaluate("history.back()").catch(() => {});
  await until("the page's return", () => tab.evaluate("location.pathname === '/page.html' && document.readyState === 'complete'").catch(() => false));
  equal(await tab.evaluate("ksv.plugin.version"), "5.0.5");
});

await check("a host that is killed answers by its code, and the next use starts another", async () => {
  const tab = await open();
  equal(await tab.evaluate("ksv.plugin.zubInit().pluginRetCode"), 0);
  lines.length = 0;
  process.kill(Number(hosts()[0]), "SIGKILL");
  await until("the page's line", () => lines.some(line => line.includes("host has ended")));
  equal(await tab.evaluate("ksv.plugin.version"), "5.0.5");

  const [pid] = hosts();
  process.kill(Number(pid), "SIGSTOP");
  const answer = tab.evaluate("ksv.plugin.zubInit().pluginRetCode");
  await new Promise(done => setTimeout(done, 300));
  process.kill(Number(pid), "SIGKILL");
  equal(await answer, 13);
  equal(await tab.evaluate("ksv.plugin.zubInit().pluginRetCode"), 0);
});

await check("a host that is missing, or refuses another version, gives 13 and a line that says why", async () => {
  const end = JSON.stringify({ end: "of another version" });
  const other = `${dirname(process.env.KSV_REGISTRY)}/${name}-${mode}.other.sh`;
  writeFileSync(other, `#!/bin/sh\nprintf '\\${end.length.toString(8)}\\000\\000\\000%s' '${end}'\nexec cat >/dev/null\n`, { mode: 0o755 });
  for (const [host, reason] of [["/nowhere", "the extension's button tells what is missing"], [other, "has ended: of another version"]]) {
    browser.setEnvironment({ ...process.env, KSV_BRIDGE_HOST: host });
    const tab = await open();
    lines.length = 0;
    equal(await tab.evaluate("ksv.plugin.zubInit().pluginRetCode"), 13);
    await until("the page's line", () => lines.some(line => line.includes(reason)));
  }
  browser.setEnvironment(process.env);
});

// A host that records its messages, for documents opened later: `taken` has those to it, `given` those from it.
const [taken, given] = ["in", "out"].map(way => `${dirname(process.env.KSV_REGISTRY)}/${name}-${mode}.${way}`);
const recorder = taken + ".sh";
writeFileSync(recorder, `#!/bin/sh\ntee '${taken}' | '${root}/build/native/bridge/ksv-bridge' "$@" | tee '${given}'\n`, { mode: 0o755 });
const recorded = (file, text) => until("a message to or from the host", () => readFileSync(file, "latin1").includes(text));

// Each brings a call to a stage at which a process is then killed, and returns a function that resumes what it stopped.
const stages = {
  "as its first use is on the way": async use => {
    const background = extensionProcess();
    signal(background, "SIGSTOP");
    await use("zubInit");
    return () => signal(background, "SIGCONT");
  },
  "as a call is on the way": async (use, tab) => {
    await tab.evaluate("ksv.plugin.zubInit()");
    return stages["as its first use is on the way"](use);
  },
  "while the host works": async (use, tab, host) => {
    await tab.evaluate("ksv.plugin.zubInit()");
    signal(host(), "SIGSTOP");
    await use("zubDeInit");
    await recorded(taken, '"zubDeInit"');
    return () => signal(host(), "SIGCONT");
  },
  "while the answer is on the way": async (use, tab, host) => {
    const resumeHost = await stages["while the host works"](use, tab, host);
    const background = extensionProcess();
    signal(background, "SIGSTOP");
    resumeHost();
    await recorded(given, '"n":3,"value"');
    return () => signal(background, "SIGCONT");
  }
};

// Opens a page and brings a call of it to a stage. `answer` gives the call's code.
async function reachStage(reach, hostOfPage) {
  browser.setEnvironment({ ...process.env, KSV_BRIDGE_HOST: recorder });
  const tab = await open();
  const page = await processOf(tab);
  lines.length = 0;
  let answer;
  const goOn = await reach(async method => {
    answer = tab.evaluate(`console.log("calls"); ksv.plugin.${method}().pluginRetCode`).catch(() => "none");
    await until("the call", () => lines.includes("calls"));
  }, tab, hostOfPage);
  browser.setEnvironment(process.env);
  return { tab, page, goOn, answer };
}

for (const [stage, reach] of Object.entries(stages)) await check(`a background that is killed ${stage} answers by the call's code, and the next use starts anew`, async () => {
  const { tab, goOn, answer } = await reachStage(reach, hosts);
  signal(extensionProcess(), "SIGKILL");
  goOn();
  const late = new Promise(done => setTimeout(done, 20000, "no answer"));
  equal(await Promise.race([answer, late]), 13);
  await until("the plug-in's return", () => tab.evaluate("ksv.plugin.zubInit().pluginRetCode === 0"));
  await until("the end of the host that was left", () => hosts().length === 1);
});

for (const [stage, reach] of Object.entries(stages)) await check(`a page whose process is killed ${stage} leaves no host, and harms no other`, async () => {
  const before = hosts();
  const started = () => hosts().filter(pid => !before.includes(pid));
  const other = await open(otherAddress + "/page.html");
  equal(await other.evaluate("ksv.plugin.zubInit().pluginRetCode"), 0);
  const [kept] = started();
  const { page, goOn } = await reachStage(reach, () => started().filter(pid => pid !== kept));
  signal(page, "SIGKILL");
  await until("the page's end", () => !family().includes(page));
  goOn();
  const next = await open();
  equal(await next.evaluate("ksv.plugin.zubInit().pluginRetCode"), 0);
  await until("the end of the killed page's host", () => started().length === 2);
  equal(await other.evaluate("ksv.plugin.zubDeInit().pluginRetCode"), 0);
  equal(started().includes(kept), true);
});

await check("an element that is removed from a shadow tree ends", async () => {
  const tab = await open();
  equal(await tab.evaluate(markup => {
    const ended = new Promise(done => {
      performance.addEventListener("ksv-note", event => done(JSON.parse(event.detail).do));
      setTimeout(done, 5000, "nothing told");
    });
    const inner = document.body.attachShadow({ mode: "closed" }).appendChild(document.createElement("div")).attachShadow({ mode: "closed" });
    inner.innerHTML = markup;
    inner.firstChild.zubInit();
    inner.host.remove();
    return ended;
  }, ELEMENT), "destroy");
});

// Firefox forbids no such request.
if (name === "chromium") await check("a policy that forbids the plug-in's requests is named, and costs no time", async () => {
  const tab = await open(address + "/no-requests.html");
  lines.length = 0;
  equal(await tab.evaluate("ksv.plugin.zubInit().pluginRetCode"), 13);
  equal(lines.every(line => line.includes("sync-xhr")), true);
  equal(hosts().length, 0);
});

await check("an element may be removed, and its page left, inside a function of the page's", async () => {
  const tab = await open();
  const script = leave => `new Promise(function (done) {
    ksv.must("zubInit");
    ksv.must("zubRegisterEventCallback", "${APPLET}", function (event) { ${leave}; done(typeof event); });
    ${STORE.replace("scenario", "removed")}
    ksv.call("zubDeleteTokenDomainBinding", "removed.token");
  })`;
  equal(await tab.evaluate(script("ksv.plugin.parentNode.removeChild(ksv.plugin)")), "object");
  equal(await tab.evaluate("ksv.plugin.zubInit === undefined"), true);
});

await check("a page that is left is not held up", async () => {
  const tab = await open();
  equal(await tab.evaluate("ksv.plugin.zubInit().pluginRetCode"), 0);
  await tab.evaluate("onbeforeunload = onpagehide = function () { ksv.plugin.zubDeInit(); }");
  const start = Date.now();
  await tab.goto(address + "/empty.html");
  equal(Date.now() - start < 4000, true);
});

await check("the plug-in stands among those of the browser", async () => {
  const tab = await open();
  equal(await tab.evaluate(type => [navigator.mimeTypes[type].type, navigator.mimeTypes.namedItem(type).enabledPlugin.name,
    Array.from(navigator.mimeTypes).some(entry => entry.type === type), Array.from(navigator.plugins, entry => entry.name).pop()], TYPE),
  [TYPE, "Norvo KSV WebApi plugin", true, "Norvo KSV WebApi plugin"]);
});

await check("what a page does to the language reaches no value", async () => {
  const tab = await open();
  equal(await tab.evaluate(() => {
    Array.prototype.toJSON = Object.prototype.toJSON = () => "forged";
    JSON.parse = JSON.stringify = () => "forged";
    Object.assign(Object.prototype, { error: "forged", gone: "forged", run: 1, object: [["pluginRetCode", 1]], array: [1] });
    Object.defineProperty(Object.prototype, "pluginRetCode", { set() { throw new Error("seen"); }, configurable: true });
    return document.getElementById("plugin").zubInit().pluginRetCode;
  }), 0);
});

await finish();
