import assert from "node:assert/strict";
import { test } from "node:test";
import { load, source } from "./extension.mjs";

// A document of one element of the type, whose host answers with `value`, in JSON.
function makePage(type) {
  class Node { get isConnected() { return true; } }
  class Element extends Node {
    getAttribute() { return type; }
    getBoundingClientRect() { return { width: 100.4, height: 70000 }; }
  }
  class HTMLObjectElement extends Element { #own = ""; get type() { return this.#own; } }
  class HTMLEmbedElement extends HTMLObjectElement { get type() { return super.type; } }
  class Navigator { get mimeTypes() { return []; } get plugins() { return []; } }
  const globals = {
    Node, Element, HTMLObjectElement, HTMLEmbedElement, Navigator, EventTarget, CustomEvent, document: {}, performance: new EventTarget(),
    Plugin: class {}, MimeType: class {}, MutationObserver: class { observe() {} }, console: { error() {} }, reportError() {}, TextEncoder
  };
  const tell = (name, detail) => globals.performance.dispatchEvent(new CustomEvent(name, { detail }));
  const page = {
    element: new HTMLObjectElement(), navigator: new Navigator(), asked: [], value: "null", event: message => tell("ksv-event", JSON.stringify(message))
  };
  page.notes = [];
  globals.performance.addEventListener("ksv-note", ({ detail }) => page.notes.push(detail));
  globals.performance.addEventListener("ksv-request", ({ detail }) => {
    page.asked.push(JSON.parse(detail));
    tell("ksv-answer", `{"n":1,"value":${page.value}}`);
  });
  load("page.js", Object.assign(globals, { window: globals }));
  return page;
}

const product = name => source("src/base/product_texts.h").match(new RegExp(`^#define KSV_${name} "(.*)"$`, "m"))[1];
const types = ["FILE_VERSION", "VERSION"].map(name => product("MIME_TYPE_STEM") + product("SHORT_NAME") + "-" + product(name));

test("methods, types and description are the module's", () => {
  const { element, navigator } = makePage(types[1]);
  const methods = Array.from(source("src/api/method_table.h").matchAll(/\{\.name = "(\w+)"/g), match => match[1]);
  assert.deepEqual(Object.keys(Object.getPrototypeOf(element)), [...methods, "version"]);
  assert.deepEqual(Array.from(navigator.mimeTypes, entry => entry.type), types);
  assert.equal(navigator.plugins[0].name, product("DESCRIPTION"));
});

test("values are written and read as the messages have them", () => {
  const page = makePage(types[0]);
  const nested = (levels, wrap) => Array.from({ length: levels }).reduce(wrap, null);
  const deep = levels => nested(levels, inner => [inner]);
  const rows = [
    [NaN, { number: "NaN" }], [-Infinity, { number: "-Infinity" }], [-0, { number: "-0" }], [10n, { undefined: true }], ["\uD800\0", "\uFFFD\0"],
    [Object.defineProperty({ [Symbol("s")]: 1, 2: [true] }, "unseen", { value: 1 }), { object: [["2", { object: [["0", true]] }]] }],
    [deep(64), nested(64, inner => ({ object: [["0", inner]] }))], [deep(65), { unreadable: true }],
    [Array(100000).fill(0), { unreadable: true }], [page.element, { plugin: 1 }], [() => 1, { function: 1 }]
  ];
  page.value = '{"object":[["__proto__",1],["a",{"array":[{"number":"-0"},{"undefined":true}]}]]}';
  const [first, [, list]] = Object.entries(page.element.zubSendData(...rows.map(row => row[0])));
  assert.deepEqual(page.asked[0], { on: 1, do: "create", width: 100, height: 65535 });
  assert.deepEqual(page.asked[1].arguments, rows.map(row => row[1]));
  assert.deepEqual([...first, Object.is(list[0], -0), list.length, list[1]], ["__proto__", 1, true, 2, undefined]);
});

test("a function is held until each message that named it is counted off", () => {
  const page = makePage(types[0]);
  const seen = [];
  const hear = (...given) => seen.push(given.length);
  const unreadable = { hear, get next() { throw new Error("unreadable"); } };  // Does not name the function to the host.
  for (let i = 0; i < 3; ++i) page.element.zubRegisterEventCallback(unreadable, hear);
  for (const count of [2, 1]) {
    page.event({ forget: 1, seen: count });
    page.event({ run: 1, arguments: ["x", 2] });
  }
  assert.deepEqual(seen, [2]);
});

test("the host is told when a function that it waits for has run, unless it is another host by then", () => {
  const page = makePage(types[0]);
  const acts = [() => {}, () => { throw new Error("thrown"); }, () => page.event({ gone: "" })];
  for (const act of acts) page.element.setMouseDownCallback(act);
  for (const run of [1, 2, 3]) page.event({ run, arguments: [], awaited: run });
  assert.deepEqual(page.notes, ['{"ran":1}', '{"ran":2}']);
});
