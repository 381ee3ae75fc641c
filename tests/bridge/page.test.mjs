import assert from "node:assert/strict";
import { test } from "node:test";
import { load, source } from "./extension.mjs";

// A document of one element, whose host gives the text of `answer`.
function makePage(type) {
  class Node { get isConnected() { return true; } }
  class Element extends Node {
    getAttribute() { return type; }
    getBoundingClientRect() { return { width: 100.4, height: 70000 }; }
  }
  class HTMLObjectElement extends Element { #own = ""; get type() { return this.#own; } }
  class HTMLEmbedElement extends Element { #own = ""; get type() { return this.#own; } }
  class Navigator { get mimeTypes() { return []; } get plugins() { return []; } }
  const page = {
    element: new HTMLObjectElement(), navigator: new Navigator(), performance: new EventTarget(), asked: [], errors: [],
    answer: message => `{"n":1,"value":${message.do === "create" ? null : '"done"'}}`,
    event: message => page.performance.dispatchEvent(new CustomEvent("ksv-event", { detail: JSON.stringify(message) }))
  };
  page.performance.addEventListener("ksv-request", ({ detail }) => {
    page.asked.push(JSON.parse(detail));
    page.performance.dispatchEvent(new CustomEvent("ksv-answer", { detail: page.answer(page.asked.at(-1)) }));
  });
  const globals = {
    Node, Element, HTMLObjectElement, HTMLEmbedElement, Navigator, EventTarget, CustomEvent, document: {}, performance: page.performance,
    navigator: page.navigator, Plugin: class {}, MimeType: class {}, MutationObserver: class { observe() {} },
    console: { error: line => page.errors.push(line) }, reportError: error => page.errors.push(error)
  };
  globals.window = globals;
  load("page.js", globals);
  return page;
}

const texts = source("src/base/product_texts.h");
const product = name => texts.match(new RegExp(`^#define KSV_${name} "(.*)"$`, "m"))[1];
const types = ["FILE_VERSION", "VERSION"].map(name => product("MIME_TYPE_STEM") + product("SHORT_NAME") + "-" + product(name));

test("methods, types and description are the module's", () => {
  const { element, navigator } = makePage(types[1]);
  const methods = Array.from(source("src/api/method_table.h").matchAll(/\{\.name = "(\w+)"/g), match => match[1]);
  assert.deepEqual(Object.keys(Object.getPrototypeOf(element)), [...methods, "version"]);
  assert.deepEqual(Array.from(navigator.mimeTypes, entry => entry.type), types);
  assert.equal(navigator.plugins[0].name, product("DESCRIPTION"));
  assert.equal(makePage("text/html").element.zubInit, undefined);
});

test("values are written as the messages have them", () => {
  const { element, asked } = makePage(types[0]);
  const deep = Array.from({ length: 64 }).reduce(inner => [inner], null);
  const big = Array.from({ length: 100000 }).fill(0);
  const hidden = Object.defineProperty({ [Symbol("s")]: 1, 2: "b", a: [true] }, "unseen", { value: 1 });
  const rows = [
    [NaN, { number: "NaN" }], [-Infinity, { number: "-Infinity" }], [-0, { number: "-0" }], [1e21, 1e21], [undefined, { undefined: true }],
    ["\uD800\0\"", "\uFFFD\0\""], [hidden, { object: [["2", "b"], ["a", { object: [["0", true]] }]] }],
    [{ get broken() { throw 1; } }, { unreadable: true }], [deep, { unreadable: true }], [big, { unreadable: true }],
    [element, { plugin: 1 }], [() => 1, { function: 1 }], [10n, { undefined: true }]
  ];
  element.zubSendData(...rows.map(row => row[0]));
  assert.deepEqual(asked[0], { on: 1, do: "create", width: 100, height: 65535 });
  assert.deepEqual(asked[1], { on: 1, do: "call", name: "zubSendData", arguments: rows.map(row => row[1]) });
});

test("values are read as the messages have them, and a refusal throws", () => {
  const page = makePage(types[0]);
  const answered = text => {
    page.answer = message => message.do === "create" ? '{"n":1,"value":null}' : `{"n":2,${text}}`;
    return page.element.version;
  };
  const object = answered('"value":{"object":[["__proto__",1],["a",{"array":[{"number":"-0"},{"undefined":true}]}]]}');
  assert.deepEqual(Object.entries(object), [["__proto__", 1], ["a", object.a]]);
  assert.ok(Object.is(object.a[0], -0) && object.a[1] === undefined && object.a.length === 2 && Object.isFrozen(object.a));
  assert.throws(() => answered('"error":"no"'), { message: "no" });
  page.answer = () => '{"gone":"why"}';
  assert.equal(page.element.zubInit().pluginRetCode, 13);
  assert.deepEqual(page.errors, ["why"]);
});

test("a function is held until each message that named it is counted off", () => {
  const page = makePage(types[0]);
  const seen = [];
  const hear = (...given) => seen.push(given.length);
  for (let i = 0; i < 3; ++i) page.element.zubRegisterEventCallback("a", hear);
  page.event({ forget: 1, seen: 2 });
  page.event({ run: 1, arguments: ["x", 2] });
  page.event({ forget: 1, seen: 1 });
  page.event({ run: 1, arguments: [] });
  assert.deepEqual(seen, [2]);
});
