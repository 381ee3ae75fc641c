// Once in the browser: connects each document that uses the plug-in with a host of its own, attests the document's
// origin to it, and answers the blocking requests of content.js. See bridge/PROTOCOL.md.
"use strict";

if (globalThis.importScripts) importScripts("places.js");  // Firefox takes both files from the manifest.

const HOST = "com.norvo.ksv";
const MAX_ADDRESS = 500000;  // Of a part of an answer, in characters: Chromium takes 2 MiB, but slowly.
const MAX_DOCUMENTS = 256;  // Each has a process.
const ARRIVAL_TIME = 3000;  // In milliseconds.

const documents = new Map();  // By nonce.
const expected = new Map();   // The functions that wait for a document's port, by nonce.

// The document of a request, which may come before its document's port; null for a nonce that nobody has.
function linkOf(nonce) {
  return documents.get(nonce) || new Promise(done => {
    expected.set(nonce, done);
    setTimeout(() => {
      expected.delete(nonce);
      done(null);
    }, ARRIVAL_TIME);
  });
}

// An entry may have capitals, or the port that is its scheme's default. With a path, a user name or anything else it matches no
// page.
const matches = (entry, origin) => URL.canParse(entry) && new URL(entry).href === origin + "/";

// Whether an origin's pages may use the plug-in: by the administrator's list, if there is one, and by the user's switch.
// The switch may be that of another origin.
async function permissionOf(origin, switchedBy = origin) {
  const { sites } = await managed;
  const { off = [] } = await api.storage.local.get("off");
  return {
    hasList: Boolean(sites),
    // On Windows Firefox makes an object of a list whose values are not named from 1 on.
    isListed: !sites || Object.values(sites).some(entry => matches(entry, origin)),
    isOn: !off.includes(switchedBy)
  };
}

// A sentence for a document that may not use the plug-in. A sandboxed frame has no origin of its own: its tab's page has
// the switch.
async function refusalOf(origin, tab) {
  const ofTab = origin === "null" && URL.canParse(tab?.url || "") ? new URL(tab.url).origin : origin;
  const { isListed, isOn } = await permissionOf(origin, ofTab);
  if (!isListed) return "Your administrator does not allow the plug-in for this site.";
  return isOn ? "" : "The plug-in is switched off for this site: the extension's button switches it on.";
}

class DocumentLink {
  constructor(port) {
    this.port = port;
    this.origin = port.sender.origin || "null";
    this.answers = new Map();
    this.waiting = new Map();
    this.pieces = "";
    this.ended = "";
    this.rules = [];
    this.places = new Places(port.sender.tab?.id, message => this.native.postMessage(message));
    this.lastAnswer = null;  // The text of the answer that was given last, and its addresses.
    documents.set(port.name, this);
    expected.get(port.name)?.(this);
    port.onMessage.addListener(message => message.place ? this.takePlace(message.place) : this.takeRequest(message));
    port.onDisconnect.addListener(() => this.close());
    this.started = this.start().catch(error => this.end("The plug-in's host can't be started: " + error.message));
  }

  async start() {
    const refusal = documents.size > MAX_DOCUMENTS ? "Too many pages use the plug-in at the same time."
      : await refusalOf(this.origin, this.port.sender.tab);
    if (refusal) this.end(refusal);
    if (this.ended) return;
    this.native = api.runtime.connectNative(HOST);
    this.native.onMessage.addListener(message => this.takeMessage(message));
    this.native.onDisconnect.addListener(() => {
      const reason = api.runtime.lastError?.message || this.native.error?.message || "it crashed or was killed";
      this.end("The plug-in's host has ended: " + reason + ". Reload the page to start it again; if it ends again, the "
        + "extension's button tells what is missing.");
    });
    this.native.postMessage({ hello: 1, origin: this.origin, address: this.port.sender.url || "" });
  }

  // Ends the use of a page that has lost its permission.
  async checkAgain() {
    const refusal = await refusalOf(this.origin, this.port.sender.tab);
    if (!refusal) return;
    this.end(refusal);
    this.native?.disconnect();
  }

  async takePlace(place) {
    await this.started;
    if (!this.ended) this.places.take(place);
  }

  // Notes have no number: nothing answers them.
  async takeRequest({ n, text }) {
    await this.started;
    if (!this.ended) this.sendText(text);
    await ready;
    if (polls && n) publish(this, n).catch(error => this.end("The answer can't be given: " + error.message));
  }

  // The page can dispatch any text as a request, so it may be no JSON.
  sendText(text) {
    let message = null;
    try {
      message = JSON.parse(text);
    } catch {
      this.end("The page has sent what is not a message.");
      this.native.disconnect();
      return;
    }
    this.native.postMessage(message);
  }

  takeMessage(message) {
    let text = "";
    if (message.piece) {
      this.pieces += message.text;
      if (message.piece < message.of) return;
      text = this.pieces;
      message = JSON.parse(text);
      this.pieces = "";
    }
    if (message.n) {
      this.answers.set(message.n, text || JSON.stringify(message));
      this.answers.delete(message.n - 16);
      this.wake(message.n);
    } else if (message.end) {
      this.end("The plug-in's host has ended: " + message.end);
    } else if (!message.hello) {
      this.port.postMessage(message);
    }
  }

  wake(number) {
    this.waiting.get(number)?.wake();
    this.waiting.delete(number);
  }

  wakeAll() {
    for (const number of [...this.waiting.keys()]) this.wake(number);
  }

  // Only the first reason is kept; it is given to requests that wait, and to the page.
  end(reason) {
    if (this.ended) return;
    this.ended = reason;
    this.places.end();
    this.wakeAll();
    this.port.postMessage({ gone: reason });
  }

  close() {
    this.ended ||= "The page has gone.";
    this.places.end();
    this.wakeAll();
    this.native?.disconnect();
    documents.delete(this.port.name);
    if (this.rules.length) api.declarativeNetRequest.updateSessionRules({ removeRuleIds: this.rules });
  }

  // Resolves with the answer to a request, or with `gone` if the host has ended.
  async answer(number) {
    if (!this.answers.has(number) && !this.ended) {
      if (!this.waiting.has(number)) {
        let wake = null;
        const woken = new Promise(done => { wake = done; });
        this.waiting.set(number, { wake, woken });
      }
      await this.waiting.get(number).woken;
    }
    return this.answers.get(number) || JSON.stringify({ gone: this.ended });
  }

  // A long answer is asked for part by part.
  async addresses(number) {
    const text = await this.answer(number);
    if (this.lastAnswer?.text !== text) this.lastAnswer = { text, addresses: addressesOf(text) };
    return this.lastAnswer.addresses;
  }
}

const addressOf = text => "data:text/plain;charset=utf-8," + encodeURIComponent(text);

// The text of an answer as addresses that give its parts; each part begins with a letter: more parts follow, the end, or
// nobody is there ("g").
function addressesOf(text) {
  const addresses = [];
  let length = MAX_ADDRESS;
  for (let start = 0; start < text.length; ) {
    let end = start + length;
    if (/[\uD800-\uDBFF]/.test(text[end - 1])) --end;  // An address can't hold half a character.
    const address = addressOf((end < text.length ? "m" : "e") + text.slice(start, end));
    if (address.length > MAX_ADDRESS) {
      length >>= 1;
      continue;
    }
    addresses.push(address);
    start = end;
  }
  return addresses;
}

// --- Browsers that hold a request up until its answer is there ------------------------------------------------------

// Whether a request comes from the document itself: its nonce may leak, by a report of the page's policy for one. A
// request of Firefox's content scripts names no document at all.
function isOwn({ url, tabId, frameId, originUrl }, sender) {
  if (tabId === -1 && !originUrl) return true;
  return tabId === sender.tab?.id && (!url.includes("/__ksv__/") || frameId === sender.frameId);
}

async function answerFor(details) {
  const [nonce, number, part] = new URL(details.url).pathname.split("/").slice(-3);
  const link = await linkOf(nonce);
  const isAnswered = link && isOwn(details, link.port.sender);
  return isAnswered ? (await link.addresses(Number(number)))[part] : addressOf("g");
}

api.webRequest.onBeforeRequest.addListener(
  details => answerFor(details).then(redirectUrl => ({ redirectUrl })),
  { urls: ["https://ksv.invalid/*", "*://*/__ksv__/*"], types: ["xmlhttprequest"] }, ["blocking"]);

// --- Chromium without a policy: content.js asks again and again, and rules give the answer ---------------------------

let lastRule = 0;

// A rule that gives what the address has for the requests that begin so.
function ruleFor(path, url) {
  const condition = { urlFilter: "|https://ksv.invalid:1/" + path, resourceTypes: ["xmlhttprequest"] };
  return { id: ++lastRule, priority: 2, condition, action: { type: "redirect", redirect: { url } } };
}

// Replaces the rules of the document's last answer by those of this one.
async function publish(link, number) {
  const addresses = await link.addresses(number);
  if (!documents.has(link.port.name)) return;  // Nobody would remove the rules.
  const addRules = addresses.map((url, index) => ruleFor(`${link.port.name}/${number}/${index}|`, url));
  const removeRuleIds = link.rules;
  link.rules = addRules.map(rule => rule.id);
  await api.declarativeNetRequest.updateSessionRules({ addRules, removeRuleIds });
}

// A document that waits for an answer of a background that was ended would wait in vain.
async function tellWhoWaits(nonce) {
  await ready;
  if (!polls || documents.has(nonce) || !/^[0-9a-f]{32}$/.test(nonce)) return;
  const rule = ruleFor(nonce + "/", addressOf("g"));
  await api.declarativeNetRequest.updateSessionRules({ addRules: [rule] });
  setTimeout(() => api.declarativeNetRequest.updateSessionRules({ removeRuleIds: [rule.id] }), ARRIVAL_TIME);
}

let polls = false;

async function choosePolling() {
  if (!api.declarativeNetRequest) return;
  polls = (await api.management.getSelf()).installType !== "admin";
  const { updateEnabledRulesets, getSessionRules, updateSessionRules } = api.declarativeNetRequest;
  await updateEnabledRulesets(polls ? { enableRulesetIds: ["wait"] } : { disableRulesetIds: ["wait"] });
  // The rules of a background that was ended outlive it.
  await updateSessionRules({ removeRuleIds: (await getSessionRules()).map(rule => rule.id) });
}

const ready = choosePolling();

// The administrator's list. A Chromium without any policy may never answer.
const readManaged = () => ready.then(() => Promise.race([
  api.storage.managed.get("sites").catch(() => ({})),
  ...(polls ? [new Promise(done => setTimeout(done, 1000, {}))] : [])
]));

let managed = readManaged();

// Chromium gives no list for some seconds after it has installed the extension, as if all sites were allowed.
api.storage.onChanged.addListener((changes, area) => {
  if (area !== "managed") return;
  managed = readManaged();
  for (const link of documents.values()) link.checkAgain();
});

api.runtime.onConnect.addListener(port => new DocumentLink(port));
api.runtime.onMessage.addListener(({ waits }) => { if (waits) tellWhoWaits(waits); });

// --- The toolbar's page asks who uses the plug-in in a tab, and whether its page may -----------------------------------

api.runtime.onMessage.addListener(({ tab, origin }, sender, answer) => {
  if (sender.id !== api.runtime.id || sender.tab || tab === undefined) return false;
  const users = [...documents.values()].filter(link => link.port.sender.tab?.id === tab)
    .map(link => ({ origin: link.origin, ended: link.ended }));
  permissionOf(origin).then(permission => answer({ users, ...permission }));
  return true;  // The answer comes later.
});
