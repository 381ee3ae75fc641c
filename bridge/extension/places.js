// Tells a host where the windows of its document's elements may stand: over the elements, as far as the browser tells, and
// never over anything but what the browser shows of pages. See bridge/PROTOCOL.md.
"use strict";

const api = globalThis.browser || globalThis.chrome;

const FARTHEST = 32767;  // What the host takes, in pixels.

// Keeps a value within bounds; what is no number becomes the least.
const fit = (wanted, least, most) => wanted > least ? Math.min(wanted, most) : least;
const whole = (value, least = 0) => fit(Math.round(value), least, FARTHEST);
const rectangle = ({ x, y, width, height }, scale) =>
  [whole(x * scale, -FARTHEST), whole(y * scale, -FARTHEST), whole(width * scale), whole(height * scale)];

// Where the document's view begins on the screen; null when nothing tells. Without an origin or a pointer, a top-level view
// is taken to fill `area`, which lies below the browser's bars.
function beginOfView({ origin, pointer, isTop }, area, window, zoom) {
  if (origin) return { x: origin[0] * zoom, y: origin[1] * zoom };
  if (pointer) {
    const [screenX, screenY, clientX, clientY] = pointer;
    return { x: window.left + screenX - clientX * zoom, y: window.top + screenY - clientY * zoom };
  }
  return isTop ? area : null;
}

// The host's message about an instance: what content.js has told of its element, in the tab that the browser names, with
// its window and its zoom. `focused` is the window that has the keyboard, undefined when no window has told.
function placeOf(told, tab, window, zoom, focused) {
  // The browser's address bar and what else is above a page must stay free. Where it has a frame or a bar at a side, this
  // is somewhat too wide.
  const bars = fit(window.height - tab.height, 0, window.height);
  const within = { x: window.left, y: window.top + bars, width: window.width, height: window.height - bars };
  const area = { ...within, x: window.left + (window.width - tab.width) / 2 };
  const [x, y, width, height] = told.box.map(length => length * zoom);
  const begin = beginOfView(told, area, window, zoom);
  const size = { width: fit(width, 0, within.width), height: fit(height, 0, within.height) };
  const at = begin ? { x: begin.x + x, y: begin.y + y }
    : { x: within.x + (within.width - size.width) / 2, y: within.y + (within.height - size.height) / 2 };
  const place = {
    x: fit(at.x, within.x, within.x + within.width - size.width), y: fit(at.y, within.y, within.y + within.height - size.height), ...size
  };
  const scale = fit(told.ratio / zoom, 0.1, 10);
  return {
    on: told.on, place: rectangle(place, scale), within: rectangle(within, scale),
    shown: told.visible && tab.active && window.state !== "minimized" && (focused === undefined || focused === window.id)
  };
}

const allPlaces = new Set();
let focusedWindow;

class Places {
  told = new Map();  // By instance.
  sent = new Map();
  isAtWork = false;
  hasNews = false;

  constructor(tab, send) {
    this.tab = tab;
    this.send = send;
  }

  // What content.js reports of one element.
  take(told) {
    if (told.gone) {
      this.told.delete(told.on);
      this.sent.delete(told.on);
      return;
    }
    allPlaces.add(this);
    this.told.set(told.on, told);
    this.update();
  }

  end() {
    allPlaces.delete(this);
  }

  // Asks the browser for tab, window and zoom, and sends changed places. Changes meanwhile cause one more run.
  async update() {
    this.hasNews = true;
    if (this.isAtWork) return;
    this.isAtWork = true;
    while (this.hasNews && allPlaces.has(this)) {
      this.hasNews = false;
      await this.tell().catch(() => {});  // The tab has gone: its document will.
    }
    this.isAtWork = false;
  }

  async tell() {
    const [tab, zoom] = await Promise.all([api.tabs.get(this.tab), api.tabs.getZoom(this.tab)]);
    const window = await api.windows.get(tab.windowId);
    for (const told of this.told.values()) {
      const message = placeOf(told, tab, window, zoom, focusedWindow);
      const text = JSON.stringify(message);
      if (this.sent.get(told.on) === text || !allPlaces.has(this)) continue;
      this.sent.set(told.on, text);
      this.send(message);
    }
  }
}

const updateAll = () => allPlaces.forEach(places => places.update());

for (const event of [api.tabs.onActivated, api.tabs.onAttached, api.tabs.onZoomChange, api.windows.onBoundsChanged]) event?.addListener(updateAll);

// On Linux a click gives a host's window the keyboard, and the browser tells only that it has lost it.
let isLostByClicks = false;
api.runtime.getPlatformInfo().then(({ os }) => { isLostByClicks = os === "linux"; });

api.windows.onFocusChanged.addListener(window => {
  focusedWindow = window === api.windows.WINDOW_ID_NONE && isLostByClicks ? undefined : window;
  updateAll();
});
