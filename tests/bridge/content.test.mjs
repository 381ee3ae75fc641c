import assert from "node:assert/strict";
import { test } from "node:test";
import { load, port } from "./extension.mjs";

// A document whose background answers with `given`, one text after the other; with "" the request fails.
const makeDocument = (...given) => makeDocumentIn({}, ...given);

function makeDocumentIn(surroundings, ...given) {
  const [heard, ports, addresses, performance, page] = [[], [], [], new EventTarget(), { listeners: {} }];
  for (const name of ["ksv-answer", "ksv-event"]) performance.addEventListener(name, ({ detail }) => heard.push(name + " " + detail));
  class XMLHttpRequest {
    open(method, address) { addresses.push(address.split("/").slice(-2).join("/")); }
    send() {
      this.responseText = given.shift();
      if (!this.responseText) throw new Error("failed");
    }
  }
  load("content.js", {
    chrome: { runtime: { connect: ({ name }) => ports[ports.push(port(name)) - 1] } }, crypto, CustomEvent, XMLHttpRequest, performance,
    console: { debug() {} }, addEventListener(name, listener) { page.listeners[name] = listener; },
    removeEventListener(name) { delete page.listeners[name]; }, setInterval: look => { page.look = look; return 1; },
    clearInterval() { page.look = null; }, innerWidth: 800, innerHeight: 600, screenX: 5, screenY: 7, outerWidth: 800,
    outerHeight: 700, devicePixelRatio: 2, window: page, top: page, document: { visibilityState: "visible" },
    Element: Object, IntersectionObserver: class {
      constructor(tell) { page.see = (target, isIntersecting) => tell([{ target, isIntersecting }]); }
      observe() {}
      unobserve() {}
    },
    ...surroundings
  });
  const use = (name = "request", detail = '{"do":"get"}') => performance.dispatchEvent(new CustomEvent("ksv-" + name, { detail }));
  return { heard, ports, addresses, page, use };
}

test("requests are numbered, asked again until they are answered, and their parts joined", () => {
  const document = makeDocument("", "wait", 'm{"n":', "e1}", 'e{"n":3}');
  document.use();
  document.use("note");  // No end of an instance: a page's own, and no note.
  document.use("note", '{"on":1,"do":"destroy"}');
  document.use();
  assert.deepEqual(document.addresses, ["1/0", "1/0", "1/0", "1/1", "3/0"]);
  assert.deepEqual(document.ports[0].posted.map(message => message.text), ['{"n":1,"do":"get"}', '{"n":2,"on":1,"do":"destroy"}', '{"n":3,"do":"get"}']);
  assert.deepEqual(document.heard, ['ksv-answer {"n":1}', 'ksv-answer {"n":3}']);
});

test("what comes inside a request is told after it, and nothing of a port that was left", async () => {
  const document = makeDocument('e{"n":1}', "g", 'e{"n":1}');
  document.use();
  const [first] = document.ports;
  first.postMessage = () => first.onMessage.fire({ run: 1 });
  document.use();
  await Promise.resolve();
  document.use();
  first.onMessage.fire({ run: 2 });
  assert.deepEqual(document.addresses, ["1/0", "2/0", "1/0"]);
  assert.match(document.heard.join(), /^ksv-answer {"n":1},ksv-answer {"gone":".*reached.*"},ksv-event {"run":1},ksv-answer {"n":1}$/);
});

test("where the site answers in the background's place, its answer is not taken", () => {
  const sites = ["data:,", "https://a.example/__ksv__/"];
  class XMLHttpRequest {
    responseText = 'e{"n":"of the page\'s own request"}';
    responseURL = sites.shift();
    open() {}
    send() {}
  }
  const document = makeDocumentIn({ content: { XMLHttpRequest } }, 'e{"n":2}', 'e{"n":3}');
  for (let i = 0; i < 3; ++i) document.use();
  assert.deepEqual(document.heard.map(text => JSON.parse(text.slice(11)).n), ["of the page's own request", 2, 3]);
});

test("a page whose policy forbids the request is told so, and nothing is asked", () => {
  const featurePolicy = { features: () => ["sync-xhr"], allowsFeature: () => false };
  const document = makeDocumentIn({ document: { featurePolicy } });
  document.use();
  assert.match(document.heard.join(), /^ksv-answer {"gone":".*sync-xhr.*"}$/);
  assert.equal(document.ports.length, 0);
});

test("while the display has a session, it is told where the element is, whenever that changes", () => {
  const { ports, page, use } = makeDocument('e{"n":1}');
  const element = { isConnected: true, box: { x: 10, y: 20, width: 100, height: 50 }, getBoundingClientRect() { return this.box; } };
  use();
  const [port] = ports;
  port.posted.length = 0;
  const tell = (name, detail) => page.listeners[name]({ detail, composedPath: () => [element] });
  tell("ksv-follow", "1");  // A page's own event.
  tell("ksv-follow", 3);
  page.see(element, true);
  page.look();
  const told = { on: 3, box: [10, 20, 100, 50], ratio: 2, isTop: true, pointer: null, visible: true, origin: null };
  assert.deepEqual(port.posted.splice(0, 1), [{ place: { ...told, visible: false } }]);
  tell("ksv-follow", 3);  // Another session.
  assert.deepEqual(port.posted, [{ place: told }]);
  page.listeners.mousemove({ isTrusted: false, screenX: 1, screenY: 1, clientX: 1, clientY: 1 });
  page.look();
  page.listeners.mousemove({ isTrusted: true, screenX: 105, screenY: 207, clientX: 40, clientY: 50 });
  element.box = { x: 10, y: 601, width: 100, height: 50 };
  page.listeners.scroll();
  assert.deepEqual(port.posted.slice(1), [{ place: { ...told, box: [10, 601, 100, 50], pointer: [100, 200, 40, 50], visible: false } }]);
  use("note", '{"ran":4}');
  use("note", '{"place":{}}');
  assert.deepEqual(port.posted.slice(2), [{ text: '{"ran":4}' }]);
  tell("ksv-unfollow", 3);
  page.look();
  assert.deepEqual(port.posted.slice(3), [{ place: { on: 3, gone: true } }]);
  assert.deepEqual([page.look, page.listeners.scroll], [null, undefined]);
});

test("a frame's window is not larger than the frame, and is gone when the page around it hides the frame", () => {
  const { ports, page, use } = makeDocumentIn({ top: {} }, 'e{"n":1}');
  const element = { isConnected: true, getBoundingClientRect: () => ({ x: -10, y: 20, width: 3000, height: 3000 }) };
  const event = target => ({ detail: 3, composedPath: () => [target] });
  const hostOf = inner => ({ openOrClosedShadowRoot: { addEventListener: (name, listener) => listener(event(inner)) } });
  use();
  page.listeners["ksv-follow"](event(hostOf(hostOf(element))));  // In a closed tree, which is in another one.
  for (const isSeen of [true, false]) page.see(element, isSeen);
  const places = ports[0].posted.filter(message => message.place).map(({ place }) => [place.visible, ...place.box]);
  assert.deepEqual(places, [[false, 0, 20, 800, 580], [true, 0, 20, 800, 580], [false, 0, 20, 800, 580]]);
});
