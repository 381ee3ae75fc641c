// The toolbar's page: whether this page uses the plug-in, and whether what it needs is on the computer.
"use strict";

const api = globalThis.browser || globalThis.chrome;
const find = id => document.getElementById(id);

function append(parent, tag, text) {
  parent.appendChild(document.createElement(tag)).textContent = text;
}

// --- This page -----------------------------------------------------------------------------------------------------

async function showSite() {
  const [tab] = await api.tabs.query({ active: true, currentWindow: true });
  const address = URL.parse(tab?.url || "");
  if (!/^https?:$/.test(address?.protocol)) {
    find("origin").textContent = "No page can use the plug-in here.";
    find("switch").hidden = true;
    return;
  }
  const { origin } = address;
  find("origin").textContent = origin;
  const { users, hasList, isListed, isOn } = await api.runtime.sendMessage({ tab: tab.id, origin });
  if (!users.length) append(find("users"), "li", "The plug-in is not in use.");
  for (const user of users) append(find("users"), "li", user.ended ? `${user.origin}: ${user.ended}` : `in use by ${user.origin}`);

  const box = find("allowed");
  box.checked = isListed && isOn;
  box.disabled = hasList;
  if (hasList) append(find("switch"), "span", " (your administrator decides)");
  box.addEventListener("change", async () => {
    const { off = [] } = await api.storage.local.get("off");
    await api.storage.local.set({ off: off.filter(other => other !== origin).concat(box.checked ? [] : [origin]) });
    find("reload").hidden = false;
  });
}

// --- On this computer ----------------------------------------------------------------------------------------------

const ANSWER_TIME = 15000;  // In milliseconds.
const CODES = {
  0: "Everything that a page needs is there.",
  10: "The agent library is missing: install it, or correct its folder in the settings.",
  11: "The agent library is too old for this plug-in.",
  17: "The last update is too old: run the updater."
};

// What `zubInit` and `wysInit` have given.
function verdictOf(agent, display) {
  if (!agent || !display) return "The plug-in does not answer.";
  const [code, displayCode] = [agent, display].map(result => Object.fromEntries(result.object).pluginRetCode);
  if (code !== 0) return CODES[code] || `The agent can't be started: plug-in code ${code}.`;
  return displayCode === 0 ? CODES[0] : `Pages can't show images, for the display library can't be started: plug-in code ${displayCode}.`;
}

// What the browsers say when they do not start the host, and what that means.
const REFUSALS = [
  [/not found|no such native/i, "The plug-in is not installed on this computer, or not for this browser: install its package."],
  [/forbidden|permission/i, "The plug-in on this computer is for another extension: install both from one package."]
];

// Why the host has ended, which had said its version or not.
function endOf(native, host) {
  const reason = api.runtime.lastError?.message || native.error?.message || "it ended at once";
  if (host) return "The plug-in's module ends the program that loads it: install the plug-in again.";
  return REFUSALS.find(([pattern]) => pattern.test(reason))?.[1] || `The plug-in's host can't be started: ${reason}`;
}

// Talks with a host of its own, as a page would.
function diagnose() {
  return new Promise(done => {
    const native = api.runtime.connectNative("com.norvo.ksv");
    const requests = [
      { do: "create", width: 1, height: 1 }, { do: "get", name: "version" },
      ...[["zubInit"], ["zubDeInit"], ["wysInit", 0, ""], ["wysDeInit"]].map(([name, ...given]) => ({ do: "call", name, arguments: given }))
    ];
    const values = [];
    let host = "";
    const finish = sentence => {
      native.disconnect();
      done({ host, module: values[1], sentence });
    };
    setTimeout(finish, ANSWER_TIME, "The plug-in does not answer: its module or a library of its hangs.");
    native.onDisconnect.addListener(() => finish(endOf(native, host)));
    native.onMessage.addListener(message => {
      if (message.end || message.error) return finish(message.end || message.error);
      if (message.hello) host = message.host;
      if (message.n) values.push(message.value);
      const next = requests[values.length];
      if (next) native.postMessage({ n: values.length + 1, on: 1, ...next });
      else finish(verdictOf(values[2], values[4]));
    });
    native.postMessage({ hello: 1, origin: "null", address: "" });
  });
}

async function showState() {
  const { host, module, sentence } = await diagnose();
  const { version } = api.runtime.getManifest();
  const { installType } = await api.management.getSelf();
  const isGood = sentence === CODES[0];
  const isOneVersion = !host || host === version;
  find("verdict").textContent = isOneVersion ? sentence
    : `${sentence} Extension and host are of different versions: install both from one package.`;
  find("verdict").className = isGood && isOneVersion ? "good" : "bad";
  find("more").hidden = isGood;
  const facts = [
    ["Extension", version], ["Host", host], ["Plug-in", module],
    // Without one Chromium lets no extension hold requests up: its pages ask again and again.
    ["Installed", installType === "admin" ? "by a policy" : "without a policy"]
  ];
  for (const [name, fact] of facts) {
    append(find("versions"), "dt", name);
    append(find("versions"), "dd", fact || "unknown");
  }
}

showSite();
showState();
