import assert from "node:assert/strict";
import { test } from "node:test";
import { load, port } from "./extension.mjs";

// A document whose background answers with `given`, one text after the other; a text of "" is a request that fails.
function makeDocument(given) {
  const heard = [];
  const document = { given, heard, ports: [], window: new EventTarget(), performance: new EventTarget(), addresses: [] };
  for (const name of ["ksv-answer", "ksv-event"]) {
    document.performance.addEventListener(name, ({ detail }) => heard.push(name + " " + detail));
  }
  class XMLHttpRequest {
    open(method, address) { document.addresses.push(address.split("/").slice(-2).join("/")); }
    send() {
      const next = given.shift();
      if (!next) throw new Error("failed");
      this.responseText = next;
    }
  }
  const connect = ({ name }) => document.ports[document.ports.push(port(name)) - 1];
  load("content.js", {
    chrome: { runtime: { connect } }, crypto, CustomEvent, XMLHttpRequest, performance: document.performance, console: { debug() {} },
    addEventListener: (name, hear) => document.window.addEventListener(name, hear)
  });
  document.use = (name = "request", detail = '{"do":"get"}') => document.performance.dispatchEvent(new CustomEvent("ksv-" + name, { detail }));
  document.turn = (name, persisted) => document.window.dispatchEvent(Object.assign(new Event(name), { persisted }));
  return document;
}

test("requests are numbered, asked again until they are answered, and their parts joined", () => {
  const document = makeDocument(["", "wait", 'm{"n":', "e1}", 'e{"n":3}']);
  document.use();
  document.use("note");  // A page's own: only the end of an instance is a note.
  document.use("note", '{"on":1,"do":"destroy"}');
  document.use();
  assert.deepEqual(document.addresses, ["1/0", "1/0", "1/0", "1/1", "3/0"]);
  assert.deepEqual(document.ports[0].posted.map(message => [message.n, JSON.parse(message.text)]),
    [[1, { n: 1, do: "get" }], [2, { n: 2, on: 1, do: "destroy" }], [3, { n: 3, do: "get" }]]);
  assert.deepEqual(document.heard, ['ksv-answer {"n":1}', 'ksv-answer {"n":3}']);
});

test("what comes inside a request is told after it, and nothing of a port that was left", async () => {
  const document = makeDocument(['e{"n":1}', "g", 'e{"n":1}']);
  document.use();
  const [first] = document.ports;
  first.postMessage = () => first.onMessage.fire({ run: 1 });
  document.use();
  await Promise.resolve();
  assert.match(document.heard[1], /^ksv-answer {"gone":".*reached/);
  assert.equal(document.heard[2], 'ksv-event {"run":1}');
  assert.equal(first.closed, true);
  document.use();
  first.onDisconnect.fire();
  first.onMessage.fire({ run: 2 });
  assert.notEqual(document.ports[1].name, first.name);
  assert.deepEqual(document.heard.slice(3), ['ksv-answer {"n":1}']);
});

test("a page in the back-forward cache has no plug-in until it comes back", () => {
  const document = makeDocument(['e{"n":1}', 'e{"n":1}']);
  document.use();
  document.turn("pagehide", false);
  assert.equal(document.ports[0].closed, false);
  document.turn("pagehide", true);
  document.use();
  assert.match(document.heard.splice(1).join(), /^ksv-event {"gone":""},ksv-answer {"gone":/);
  document.turn("pageshow", true);
  document.use();
  assert.deepEqual([document.ports.length, document.ports[0].closed, document.heard[1]], [2, true, 'ksv-answer {"n":1}']);
});
