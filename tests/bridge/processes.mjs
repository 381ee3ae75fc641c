// The processes of a browser and its hosts, for the programs that check them.
import { readFileSync, readdirSync } from "node:fs";

// What a file of /proc has; "" when the process has ended meanwhile, or is another user's.
function ofProcess(pid, file) {
  try {
    return readFileSync(`/proc/${pid}/${file}`, "utf8");
  } catch {
    return "";
  }
}

function threadsOf(pid) {
  try {
    return readdirSync(`/proc/${pid}/task`);
  } catch {
    return [];
  }
}

const processes = () => readdirSync("/proc").filter(pid => /^[0-9]+$/.test(pid));

// The processes of hosts, under Wine too, that this run's browser has started: other runs may be under way.
export function hosts() {
  const own = `KSV_AGENT_HOME=${process.env.KSV_AGENT_HOME}`;
  const isHost = pid => /ksv-bridge(\.exe)?\0/.test(ofProcess(pid, "cmdline"));
  return processes().filter(pid => isHost(pid) && ofProcess(pid, "environ").split("\0").includes(own));
}

// The browser's processes, its hosts among them, and those that have ended and were not waited for.
export function familyOf(browser) {
  const parents = new Map(processes().map(pid => [pid, /.*\) . (\d+)/.exec(ofProcess(pid, "stat"))?.[1]]));
  const isOf = pid => pid === String(browser.process().pid) || (parents.has(pid) && isOf(parents.get(pid)));
  return [...parents.keys()].filter(isOf);
}

export const isExtension = pid => ofProcess(pid, "cmdline").includes("--extension-process") || commandOf(pid) === "WebExtensions";

const workersOf = pid => threadsOf(pid).filter(task => /^(DOM Worker|DedicatedWorker)/.test(ofProcess(pid, `task/${task}/comm`))).length;

// The process of a page: the browsers don't tell it, but it is the one that has another worker once the page starts one.
export async function processOf(tab) {
  const browser = tab.browser();
  const before = new Map(familyOf(browser).map(pid => [pid, workersOf(pid)]));
  await tab.evaluate(() => new Promise(done => {
    const worker = new Worker("data:text/javascript,postMessage(0)");
    worker.onmessage = () => done();
    window.kept = worker;
  }));
  const found = familyOf(browser).filter(pid => workersOf(pid) > (before.get(pid) || 0));
  if (found.length !== 1) throw new Error(found.length + " processes may be the page's");
  return found[0];
}

export function signal(pids, which) {
  for (const pid of [pids].flat()) {
    try {
      process.kill(Number(pid), which);
    } catch {
      // It has ended.
    }
  }
}

export const commandOf = pid => ofProcess(pid, "comm").trim();
// In kilobytes.
export const memoryOf = pid => Number(/^VmRSS:\s+(\d+)/m.exec(ofProcess(pid, "status"))?.[1] || 0);
