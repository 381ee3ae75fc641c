// Measures calls and events through the bridge in a browser beside the same calls with a host that answers at once.
// Usage: bridge.mjs BROWSER [unmanaged]
import { createHash } from "node:crypto";
import { readFileSync, readdirSync, readlinkSync } from "node:fs";
import { launch, root, serve } from "../bridge/driver/browser.mjs";

const [, , name, mode = "managed"] = process.argv;
const label = mode === "managed" ? name : `${name} without policy`;
const TYPE = "application/x-vnd-norvo-webapi-ksv-5.0.9";
const KIB = 1024;
const hosts = { bridge: {}, floor: { KSV_BRIDGE_HOST: root + "/benchmarks/answering_host.py" } };

const address = await serve(() => ({ body: `<!DOCTYPE html><object id="ksv" type="${TYPE}"></object>` }));
const browser = await launch({ browser: name, managed: mode === "managed" });

const median = times => times.sort((a, b) => a - b)[times.length >> 1];

async function open(host, tab) {
  browser.setEnvironment({ ...process.env, ...hosts[host] });
  tab ||= await browser.newPage();
  await tab.goto(address);
  return tab;
}

// In the page: how long one of so many calls takes, in milliseconds. The clock is coarse: many calls share a reading.
function time(tab, script, calls) {
  return tab.evaluate((body, count) => {
    const call = new Function("ksv", body).bind(null, document.getElementById("ksv"));
    const start = performance.now();
    for (let i = 0; i < count; ++i) call();
    return (performance.now() - start) / count;
  }, script, calls);
}

// Both in turns, so that what else the machine does hits both alike.
async function inTurns(rounds, measure) {
  const times = { bridge: [], floor: [] };
  for (let round = 0; round < rounds; ++round) {
    for (const host of Object.keys(hosts)) times[host].push(await measure(host));
  }
  return [median(times.bridge), median(times.floor)];
}

function print(what, time, floor) {
  const readable = value => value === undefined ? "" : value.toFixed(1) + " ms";
  const ratio = floor === undefined ? "" : (time / floor).toFixed(2);
  console.log(`${ratio.padStart(6)}  ${`${label}: ${what}`.padEnd(56)}  ${readable(time).padStart(8)}  ${readable(floor).padStart(8)}`);
}

// What the host's processes of this run hold alone, in KiB.
function hostMemory() {
  const own = `KSV_REGISTRY=${process.env.KSV_REGISTRY}`;
  for (const pid of readdirSync("/proc").filter(entry => /^[0-9]+$/.test(entry))) {
    try {
      if (!readlinkSync(`/proc/${pid}/exe`).endsWith("/ksv-bridge")) continue;
      if (!readFileSync(`/proc/${pid}/environ`, "utf8").split("\0").includes(own)) continue;
      const rollup = readFileSync(`/proc/${pid}/smaps_rollup`, "utf8");
      const sizeOf = member => Number(rollup.match(new RegExp(`^${member}: +([0-9]+)`, "m"))[1]);
      return { all: sizeOf("Rss"), own: sizeOf("Private_Clean") + sizeOf("Private_Dirty") };
    } catch {
      // It has ended meanwhile, or is another user's.
    }
  }
  throw new Error("no host is there");
}

const VERSION = "ksv.zubGetVersion()";
const argumentOf = size => `this.text${size} ||= "a".repeat(${size}); ksv.zubProcessSVPMessage("a", 0, this.text${size})`;

// One installation of an applet makes an event for each listener.
const EVENTS = 500;
const LISTENERS = 50;

// An applet as zubInstall takes it.
function packageOf(id) {
  const text = `KSV-APPLET 1\nid: ${id}\ntitle: Bench\nversion: 1.0\nkinds: totp\n`;
  return { id, text: btoa(`${text}sha256: ${createHash("sha256").update(text).digest("hex")}\n`) };
}

// In the page: installs applets, and listens to theirs and the agent's own.
function listen(applets) {
  const ksv = document.getElementById("ksv");
  const builtIn = "8D67D9DD2AF54717AFF2FF7EF19DFADB";
  for (const { id, text } of applets) ksv.zubInstall(id, text);
  window.names = [builtIn, ...applets.map(applet => applet.id)];
  for (const name of names) {
    const { pluginRetCode, fnRetCode } = ksv.zubRegisterEventCallback(name, event => window.hear?.(event));
    if (pluginRetCode || fnRetCode) throw new Error(`No events of ${name}: ${pluginRetCode}, ${fnRetCode}`);
  }
}

// In the page: how long that many events take, in milliseconds. The listeners are told in the same order each time.
function takeEvents(count) {
  const ksv = document.getElementById("ksv");
  return new Promise((done, refuse) => {
    const heard = [];
    window.hear = event => {
      if (event.dataSrc !== 3) return;  // Not about an installation: a new password.
      const before = heard[heard.length - names.length];
      if (before ? event.appName !== before : heard.includes(event.appName)) refuse(new Error("out of order"));
      if (heard.push(event.appName) === count) done(performance.now() - start);
    };
    const start = performance.now();
    for (let call = 0; call < count / names.length; ++call) ksv.zubInstall(names[0], "");
  });
}

try {
  const cold = await browser.newPage();
  print("first call of a page", ...await inTurns(7, async host => time(await open(host, cold), VERSION, 1)));
  await cold.close();

  const tabs = {};
  for (const host of Object.keys(hosts)) {
    tabs[host] = await open(host);
    // The first use starts the host, so it comes before the other tab's environment.
    await time(tabs[host], "ksv.zubInit(); ksv.zubGetVersion()", 10);
  }
  print("zubGetVersion", ...await inTurns(15, host => time(tabs[host], VERSION, 20)));
  for (const [what, size, calls] of [["64 KiB", 64 * KIB, 5], ["1 MiB", 1024 * KIB, 1]]) {
    print(`argument of ${what}`, ...await inTurns(21, host => time(tabs[host], argumentOf(size), calls)));
  }
  const answers = [];
  for (const size of [64 * KIB, 1024 * KIB]) {
    const times = [];
    for (let round = 0; round < 7; ++round) times.push(await time(tabs.floor, `ksv.wysStatusToString(${size})`, 1));
    answers.push(median(times));
  }
  print("answer of 64 KiB, answering host", answers[0]);
  print("answer of 1 MiB, answering host", answers[1]);
  const applets = Array.from({ length: LISTENERS - 1 }, (_, index) => packageOf("bench" + index));
  for (const tab of Object.values(tabs)) await tab.evaluate(listen, applets);
  print(`${EVENTS} events in order`, ...await inTurns(7, host => tabs[host].evaluate(takeEvents, EVENTS)));
  const memory = hostMemory();
  console.log(`        ${label}: a host's memory: ${(memory.all / KIB).toFixed(1)} MiB, ${(memory.own / KIB).toFixed(1)} MiB of it its own`);
} finally {
  await browser.close();
}
process.exit();
