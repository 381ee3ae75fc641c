// Whether the bridge holds under load and faults, counted.
// Usage: node stress.mjs BROWSER managed|unmanaged [CALLS]. With fewer than 100,000 calls (at least 2,500) there are fewer of
// everything. Prints a line a check, and what was measured; exit status: 0 none failed, 1 some did.
import { execFileSync } from "node:child_process";
import { mkdirSync, rmSync, writeFileSync } from "node:fs";
import { dirname } from "node:path";
import { APPLET, STORE, browser, check, commandOf, equal, extensionProcess, family, finish, hosts, lines, memoryOf, mode, name, open, otherAddress, processOf, signal, until } from "./checks.mjs";

const calls = Math.max(2500, process.argv[4] || 0);
const [tabs, reloads, kills] = calls < 100000 ? [10, 25, 3] : [50, 1000, 50];
const INIT = "ksv.plugin.zubInit().pluginRetCode";
const tell = text => console.log(`   ${name}, ${mode}: ${text}`);
const pause = time => new Promise(done => setTimeout(done, time));

// The bytes of script objects after a collection, where the browser tells.
async function heapOf(target) {
  if (name === "firefox" || !target) return 0;
  const session = await target.createCDPSession();
  await session.send("HeapProfiler.collectGarbage");
  const { usedSize } = await session.send("Runtime.getHeapUsage");
  await session.detach();
  return usedSize;
}

// In kilobytes.
async function measure(tab) {
  const worker = browser.targets().find(target => target.type() === "service_worker" && target.url().endsWith("/background.js"));
  return { host: memoryOf(hosts()[0]), extension: memoryOf(extensionProcess()),
    "script objects of the extension": await heapOf(worker) >> 10, "of the page": await heapOf(tab.target()) >> 10 };
}

await check(calls + " calls at flat memory", async () => {
  const tab = await open();
  await tab.evaluate(STORE);
  const make = token => STORE.replace("scenario", token) + `ksv.must("zubDeleteTokenDomainBinding", "${token}.token");`;
  // Each call with another function and another text; the last ones make events.
  await tab.evaluate(`var heard = 0, wrong = 0;
    ksv.must("zubRegisterEventCallback", "${APPLET}", function () { ++heard; });
    function work(count) {
      for (var i = 0; i < count; ++i) {
        var result = ksv.plugin.zubInit(function () {}, { text: "a text of round " + i, list: [i, i, i] });
        if (!result || result.pluginRetCode !== 12) ++wrong;  // The module has read what it does not take.
      }
      ${make("stress")}
    }`);
  const limits = { host: 4096, extension: 65536, "script objects of the extension": 128, "of the page": 128 };
  const start = Date.now();
  const series = [];  // After each tenth.
  for (let done = 1; done <= calls / 250; ++done) {
    await tab.evaluate("work(245)");  // And five more.
    if (done % Math.floor(calls / 2500) === 0) series.push(await measure(tab));
  }
  const seconds = (Date.now() - start) / 1000;
  tell(`${calls} calls in ${seconds.toFixed(0)} s; kilobytes after each tenth: `
    + Object.keys(limits).map(what => what + " " + series.map(at => at[what]).join(" ")).join("; "));
  equal(await tab.evaluate("[wrong, heard > 0]"), [0, true]);
  // Firefox collects seldom: only the least tells what stays.
  const least = (what, from, to) => Math.min(...series.slice(from, to).map(at => at[what]));
  for (const [what, limit] of Object.entries(limits)) equal([what, least(what, 5) <= least(what, 0, 5) + limit], [what, true]);
});

await check(tabs + " tabs at the same time", async () => {
  const opened = [];
  for (let i = 0; i < tabs; ++i) {
    opened.push(await open());
    equal(await opened[i].evaluate(INIT), 0);
  }
  equal(hosts().length, tabs);
  equal([...new Set(await Promise.all(opened.map(tab => tab.evaluate(INIT))))], [0]);
  tell(`${tabs} hosts with ${hosts().reduce((sum, pid) => sum + memoryOf(pid), 0) >> 10} MB in all`);
  for (const tab of opened) await tab.close();
  await until("the end of the hosts", () => hosts().length === 0);
});

await check(reloads + " reloads of a page that calls leave no process", async () => {
  const tab = await open();
  let most = 0;
  for (let i = 0; i < reloads; ++i) {
    equal(await tab.evaluate(INIT), 0);
    most = Math.max(most, hosts().length);
    await tab.reload();
  }
  tell(`${reloads} reloads, at most ${most} hosts at a time`);
  await until("the end of the hosts", () => !family().some(pid => commandOf(pid) === "ksv-bridge"));
});

await check(`a host killed at each step of ${kills} calls`, async () => {
  const tab = await open();
  const steps = {
    before: async () => {
      signal(hosts(), "SIGKILL");
      return tab.evaluate(INIT);
    },
    inside: async () => {
      signal(hosts(), "SIGSTOP");
      const answer = tab.evaluate(INIT);
      await pause(100);
      signal(hosts(), "SIGKILL");
      return answer;
    },
    anywhere: async () => {
      const answer = tab.evaluate(`for (var i = 0, code = 0; i < 1000 && code === 0; ++i) code = ${INIT}; code`);
      await pause(10 + Math.random() * 30);
      signal(hosts(), "SIGKILL");
      return answer;
    },
    after: async () => {
      lines.length = 0;
      signal(hosts(), "SIGKILL");
      await until("the page's line", () => lines.some(line => line.includes("host has ended")));
      return tab.evaluate(INIT);
    }
  };
  const seen = {};
  for (let i = 0; i < kills; ++i) {
    for (const [step, run] of Object.entries(steps)) {
      await until("the plug-in's return", async () => await tab.evaluate(INIT) === 0);
      const what = step + " " + await run();
      seen[what] = (seen[what] || 0) + 1;
    }
  }
  tell("killed, then answered: " + Object.entries(seen).map(([what, count]) => `${what} (${count} times)`).join(", "));
  equal(Object.keys(seen).filter(what => !/^(before (0|13)|inside 13|anywhere 13|after 0)$/.test(what)), []);
});

await check(`the processes of ${kills} pages killed anywhere in their calls`, async () => {
  const other = await open(otherAddress + "/page.html");
  equal(await other.evaluate(INIT), 0);
  const [kept] = hosts();
  for (let i = 0; i < kills; ++i) {
    const tab = await open();
    const page = await processOf(tab);
    lines.length = 0;
    tab.evaluate(`console.log("calls"); for (;;) ${INIT};`).catch(() => {});
    await until("the calls", () => lines.includes("calls"));
    await pause(Math.random() * 40);
    signal(page, "SIGKILL");
    await until("the page's end", () => !family().includes(page));
    await tab.close();
  }
  // A page may have been killed before the background heard of it.
  await until("the end of the pages' hosts", () => hosts().length === 1);
  equal([hosts(), await other.evaluate(INIT)], [[kept], 0]);
});

// In the mount namespace of the policies.
if (mode === "managed") await check("a full disk is told by the code", async () => {
  const folder = dirname(process.env.KSV_REGISTRY) + "/AppData/LocalLow/Norvo/webapi/KSV_tokens";
  mkdirSync(folder, { recursive: true });
  execFileSync("mount", ["-t", "tmpfs", "-o", "size=64k", "none", folder]);
  try {
    const tab = await open();
    const store = token => STORE.replace("scenario", token).replace(/ksv\.must\("zubEnd(.*)\);$/m, 'ksv.call("zubEnd$1).pluginRetCode');
    equal(await tab.evaluate(INIT), 0);
    const served = hosts();
    try { writeFileSync(folder + "/filler", Buffer.alloc(65536)); } catch { /* Full it is. */ }
    equal(await tab.evaluate(store("full")), 13);
    rmSync(folder + "/filler");
    equal(await tab.evaluate(store("later")), 0);
    equal(hosts(), served);
  } finally {
    execFileSync("umount", ["-l", folder]);
  }
});

await check("a machine that sleeps inside a call answers it afterwards", async () => {
  const tab = await open();
  equal(await tab.evaluate(INIT), 0);
  signal(hosts(), "SIGSTOP");
  const answer = tab.evaluate(INIT);
  await pause(300);
  const asleep = family();
  signal(asleep, "SIGSTOP");
  await pause(7000);  // Longer than anything in the extension waits in vain.
  signal(asleep, "SIGCONT");
  equal(await answer, 0);
});

await check("a browser that is killed leaves no host", async () => {
  for (let i = 0; i < 3; ++i) equal(await (await open()).evaluate(INIT), 0);
  equal(hosts().length, 3);
  browser.process().kill("SIGKILL");
  await until("the end of the hosts", () => hosts().length === 0);
});

await finish();
