import assert from "node:assert/strict";
import { test } from "node:test";
import { load, signal } from "./extension.mjs";

// The extension's places, in a browser with one window and one tab in it; bars of 100 pixels are above its page.
function start(os = "win") {
  const tab = { width: 1000, height: 700, active: true, windowId: 5 };
  const window = { id: 5, left: 50, top: 20, width: 1000, height: 800, state: "normal" };
  const browser = { tab, window, zoom: 1, focus: signal(), sent: [] };
  const getTab = async () => {
    const asked = { ...tab };
    await browser.delay;
    return asked;
  };
  const tabs = { get: getTab, getZoom: async () => browser.zoom, onActivated: signal(), onAttached: signal(), onZoomChange: signal() };
  const windows = { get: async () => window, onFocusChanged: browser.focus, WINDOW_ID_NONE: -1 };
  const globals = { chrome: { tabs, windows, runtime: { getPlatformInfo: async () => ({ os }) } } };
  const Places = load("places.js", globals, "Places");
  browser.places = new Places(1, message => browser.sent.push(JSON.parse(JSON.stringify(message))));
  browser.told = changed => ({ on: 1, box: [30, 60, 320, 420], ratio: 1, isTop: true, pointer: null, origin: null, visible: true, ...changed });
  browser.tell = async changed => {
    browser.places.take(browser.told(changed));
    await new Promise(setImmediate);
    return browser.sent.at(-1);
  };
  return browser;
}

test("a window stands over its element, by the best that tells, and in the middle where nothing does", async () => {
  const rows = [
    [{}, [80, 180]], [{ pointer: [8, 110, 0, 4] }, [88, 186]], [{ isTop: false }, [390, 260]],
    [{ isTop: false, pointer: [208, 304, 0, 4] }, [288, 380]], [{ origin: [70.4, 130.2] }, [100, 190]]
  ];
  for (const [changed, at] of rows) {
    assert.deepEqual(await start().tell(changed), { on: 1, place: [...at, 320, 420], within: [50, 120, 1000, 700], shown: true });
  }
  const zoomed = start();
  zoomed.zoom = 2;  // On a screen with a ratio of 1.5.
  assert.deepEqual((await zoomed.tell({ ratio: 3 })).place, [165, 180, 960, 1050]);
  assert.deepEqual((await zoomed.tell({ ratio: 3, box: [30, 60, 100, 50], pointer: [100, 300, 50, 10] })).place, [165, 630, 300, 150]);
});

test("no window leaves what the browser shows of pages, whatever is told", async () => {
  const rows = [
    [[-500, -500, 320, 420], [50, 120, 320, 420]], [[5000, 5000, 320, 420], [730, 400, 320, 420]], [[0, 0, 1e9, 1e9], [50, 120, 1000, 700]],
    [[NaN, -Infinity, -5, NaN], [50, 120, 0, 0]], [[null, "x", {}, []], [50, 120, 0, 0]]
  ];
  for (const [box, place] of rows) assert.deepEqual((await start().tell({ box })).place, place, JSON.stringify(box));
  assert.deepEqual((await start().tell({ origin: [1e300, -1e300], ratio: 1e300 })).within, [500, 1200, 10000, 7000]);
});

test("a window is shown with its tab and its browser's window alone, and told of once", async () => {
  for (const [os, states] of [["win", [false, true, false, true, false, true, false]], ["linux", [false, true, false, true, true, true, false]]]) {
    await followStates(start(os), states);
  }
});

test("an answer of the browser's that comes late does not undo what has changed since", async () => {
  const browser = start();
  await browser.tell({});
  let answer;
  browser.delay = new Promise(resolve => { answer = resolve; });
  for (const active of [false, true]) {
    browser.tab.active = active;
    browser.places.update();
    browser.delay = null;
  }
  answer();
  await new Promise(setImmediate);
  assert.equal(browser.sent.at(-1).shown, true);
});

async function followStates(browser, expected) {
  const states = [];
  const note = async change => {
    change();
    browser.places.update();
    await new Promise(setImmediate);
    states.push(browser.sent.at(-1).shown);
  };
  await browser.tell({});
  await note(() => { browser.tab.active = false; });
  await note(() => Object.assign(browser.tab, { active: true, width: 1000 }));
  await note(() => { browser.window.state = "minimized"; });
  await note(() => { browser.window.state = "normal"; });
  for (const window of [-1, 5, 6]) await note(() => browser.focus.fire(window));
  assert.deepEqual(states, expected);
  const told = browser.sent.length;
  await browser.tell({});
  assert.equal(browser.sent.length, told);
}
