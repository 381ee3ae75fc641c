// Once in the browser: connects each document that uses the plug-in with a host of its own, attests the document's
// origin to it, and answers the blocking requests of content.js. See bridge/PROTOCOL.md.
"use strict";

const api = globalThis.browser || globalThis.chrome;
const HOST = "com.norvo.ksv";
const MAX_PART = 500000;  // Of an answer, in characters: an address has its limits.

const documents = new Map();  // By nonce.

class DocumentLink {
  constructor(port) {
    this.port = port;
    this.answers = new Map();
    this.waiting = new Map();
    this.pieces = "";
    this.ended = "";
    documents.set(port.name, this);
    port.onMessage.addListener(message => this.takeRequest(message));
    port.onDisconnect.addListener(() => this.close());
    const { origin, url } = port.sender;
    this.native = api.runtime.connectNative(HOST);
    this.native.onMessage.addListener(message => this.takeMessage(message));
    this.native.onDisconnect.addListener(() => this.endHost(api.runtime.lastError?.message || this.native.error?.message));
    this.native.postMessage({ hello: 1, origin: origin || "null", address: url || "" });
  }

  takeRequest({ text }) {
    if (!this.ended) this.native.postMessage(JSON.parse(text));
  }

  takeMessage(message) {
    if (message.piece) {
      this.pieces += message.text;
      if (message.piece < message.of) return;
      message = JSON.parse(this.pieces);
      this.pieces = "";
    }
    if (message.n) {
      this.answers.set(message.n, JSON.stringify(message));
      this.answers.delete(message.n - 16);
      this.wake(message.n);
    } else if (message.end) {
      this.ended = "The plug-in's host has ended: " + message.end;
    } else if (!message.hello) {
      this.port.postMessage(message);
    }
  }

  wake(number) {
    this.waiting.get(number)?.();
    this.waiting.delete(number);
  }

  endHost(reason) {
    this.ended ||= "The plug-in's host has ended: " + (reason || "it crashed or was killed") + ". Reload the page to start it again.";
    for (const number of [...this.waiting.keys()]) this.wake(number);
    this.port.postMessage({ gone: this.ended });
  }

  close() {
    this.ended ||= "gone";
    this.native.disconnect();
    documents.delete(this.port.name);
  }

  // The answer to a request, once it is there; that the host has gone, when it has.
  async answer(number) {
    if (!this.answers.has(number) && !this.ended) {
      await new Promise(resolve => this.waiting.set(number, resolve));
    }
    return this.answers.get(number) || JSON.stringify({ gone: this.ended });
  }
}

async function answerFor(url) {
  const [nonce, number, part] = new URL(url).pathname.split("/").slice(-3);
  const link = documents.get(nonce);
  if (!link) return "g";
  const text = await link.answer(Number(number));
  const start = Number(part) * MAX_PART;
  return (start + MAX_PART < text.length ? "m" : "e") + text.slice(start, start + MAX_PART);
}

const addressOf = text => "data:text/plain;charset=utf-8," + encodeURIComponent(text);

api.runtime.onConnect.addListener(port => new DocumentLink(port));
api.webRequest.onBeforeRequest.addListener(
  details => answerFor(details.url).then(text => ({ redirectUrl: addressOf(text) })),
  { urls: ["https://ksv.invalid/*"] }, ["blocking"]);
