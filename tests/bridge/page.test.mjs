import assert from "node:assert/strict";
import { test } from "node:test";
import { load, source } from "./extension.mjs";

// A document of one element of the type, whose host answers with `value`, in JSON.
function makePage(type) {
  class Node extends EventTarget {
    get isConnected() { return true; }
    getRootNode() { return globals.document; }
  }
  class ShadowRoot { get host() { return null; } }
  class Element extends Node {
    getAttribute() { return type; }
    getBoundingClientRect() { return { width: 100.4, height: 70000 }; }
  }
  class HTMLObjectElement extends Element { #own = ""; get type() { return this.#own; } }
  class HTMLEmbedElement extends HTMLObjectElement { get type() { return super.type; } }
  class Navigator { get mimeTypes() { return []; } get plugins() { return []; } }
  const globals = {
    Node, Element, ShadowRoot, HTMLObjectElement, HTMLEmbedElement, Navigator, EventTarget, CustomEvent, document: {}, performance: new EventTarget(),
    Plugin: class {}, MimeType: class {}, MutationObserver: class { observe() {} }, console: { error() {} }, reportError() {}, TextEncoder
  };
  const tell = (name, detail) => globals.performance.dispatchEvent(new CustomEvent(name, { detail }));
  const page = {
    element: new HTMLObjectElement(), navigator: new Navigator(), asked: [], value: "null", event: message => tell("ksv-event", JSON.stringify(message))
  };
  page.notes = [];
  globals.performance.addEventListener("ksv-note", ({ detail }) => page.notes.push(detail));
  globals.performance.addEventListener("ksv-request", ({ detail }) => {
    if (page.isAlone) return;  // No host, so no answer.
    page.asked.push(JSON.parse(detail));
    tell("ksv-answer", `{"n":1,"value":${page.value}}`);
  });
  load("page.js", Object.assign(globals, { window: globals }));
  return page;
}

const product = name => source("src/base/product_texts.h").match(new RegExp(`^#define KSV_${name} "(.*)"$`, "m"))[1];
const types = ["MIME_VERSION", "VERSION"].map(name => product("MIME_TYPE_STEM") + product("SHORT_NAME") + "-" + product(name));

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

test("a call has 100,000 values at most, and what lies beyond them is unreadable", () => {
  const page = makePage(types[0]);
  page.element.zubInit(Array(99999).fill(0), 0);
  assert.deepEqual(page.asked.at(-1).arguments.slice(1), [{ unreadable: true }]);
  page.element.zubInit(...Array(1000).fill(0));
  assert.equal(page.asked.at(-1).arguments.length, 100);
});

test("a function is held until each message that named it is counted off", () => {
  const page = makePage(types[0]);
  const seen = [];
  const hear = (...given) => seen.push(given.length);
  // Does not name the functions to the host.
  const unreadable = { hear, lost: () => seen.push("lost"), get next() { throw new Error("unreadable"); } };
  for (let i = 0; i < 3; ++i) page.element.zubRegisterEventCallback(unreadable, hear);
  const named = page.asked.at(-1).arguments[1].function;
  for (const count of [2, 1]) {
    page.event({ forget: [[named + 1, 1], [named, count]] });
    for (let run = 1; run < 9; ++run) page.event({ run, arguments: ["x", 2] });
  }
  assert.deepEqual(seen, [2]);
});

test("another host is told of the element and of its functions anew", () => {
  const page = makePage(types[0]);
  let heard = 0;
  const hear = () => ++heard;
  page.element.zubRegisterEventCallback("app", hear);
  page.isAlone = true;
  assert.equal(page.element.zubInit().pluginRetCode, 13);
  page.isAlone = false;
  page.asked.length = 0;
  page.element.zubRegisterEventCallback("app", hear);
  assert.deepEqual(page.asked.map(message => message.do), ["create", "call"]);
  page.event({ run: page.asked[1].arguments[1].function, arguments: [] });
  assert.equal(heard, 1);
});

test("the host is told when a function that it waits for has run, unless it is another host by then", () => {
  const page = makePage(types[0]);
  const acts = [() => {}, () => { throw new Error("thrown"); }, () => page.event({ gone: "" })];
  for (const act of acts) page.element.setMouseDownCallback(act);
  for (const run of [1, 2, 3]) page.event({ run, arguments: [], awaited: run });
  assert.deepEqual(page.notes, ['{"ran":1}', '{"ran":2}']);
});

test("an element is named to content.js in a session of the display, whether or not it has an image", () => {
  const page = makePage(types[0]);
  const told = [];
  for (const name of ["ksv-follow", "ksv-unfollow"]) page.element.addEventListener(name, ({ type, detail }) => told.push(type + " " + detail));
  for (const codes of [[13], [0, 42], [0, 0]]) {
    page.value = JSON.stringify({ object: [["pluginRetCode", codes[0]], ["fnRetCode", codes[1]]] });
    for (const name of ["wysEstablishSession", "wysCreateStdImage", "wysCancelButton", "wysCloseSession"]) page.element[name]();
  }
  assert.deepEqual(told, ["follow", "follow", "unfollow", "follow", "unfollow"].map(name => `ksv-${name} 1`));
});
