// In the isolated world of each document: takes the requests of page.js, and waits for the answer by a blocking
// request, which the extension's background answers. While a display has a session, it also tells the background where its
// element is. See bridge/PROTOCOL.md.
(() => {
  "use strict";

  const api = globalThis.browser || globalThis.chrome;
  // In Firefox the page's own request to its own origin is held up best: the page's timers rest meanwhile. Where the page's
  // policy or a sandbox forbids it, the extension's own request does it.
  const PageRequest = typeof content === "object" && content && content.XMLHttpRequest;
  const ADDRESS = PageRequest ? "https://ksv.invalid/" : "https://ksv.invalid:1/";
  const GONE = "The plug-in's host could not be reached. Reload the page; if that does not help, the extension's button tells what is missing.";
  const FORBIDDEN = "This page's Permissions-Policy forbids sync-xhr, which the plug-in needs: the site has to allow it.";
  const START_TIME = 5000;   // What a background may take to be there, in milliseconds.
  const WAIT_LIMIT = 60000;  // How long an answer may be asked for again and again.
  const PROBE_TIME = 2000;   // Then the background is asked whether it still has the request: it may have been restarted.
  const MAX_TEXT = 64 * 1024 * 1024;
  const END = /^\{"on":\d{1,10},"do":"destroy"\}$/;
  const RAN = /^\{"ran":\d{1,16}\}$/;
  const LOOK_TIME = 100;  // How often a moved element or window is looked for in a session of the display, in milliseconds.
  const channel = performance;  // An event target that both worlds have, and that document.open() leaves its listeners.
  const policy = document.featurePolicy;  // Firefox has none, and forbids no such request.

  let port = null;
  let nonce = "";
  let number = 0;
  let hidden = false;  // In the back-forward cache, or on the way there.
  let asking = 0;      // In Firefox another window's script may ask while a request waits.
  let leaving = false; // The page is being left: Chromium refuses its requests then.
  let events = [];     // What came inside a request: the page hears it afterwards.
  let asksOwnOrigin = Boolean(PageRequest);

  function tell(name, message) {
    channel.dispatchEvent(new CustomEvent(name, { detail: message }));
  }

  function tellEvents() {
    while (events.length && !asking) tell("ksv-event", JSON.stringify(events.shift()));
  }

  function open() {
    nonce = Array.from(crypto.getRandomValues(new Uint8Array(16)), byte => byte.toString(16).padStart(2, "0")).join("");
    number = 0;
    const opened = api.runtime.connect({ name: nonce });
    opened.onMessage.addListener(event => {
      if (opened !== port) return;
      events.push(event);
      if (event.gone) close();
      tellEvents();
    });
    opened.onDisconnect.addListener(() => {
      if (opened !== port) return;
      close();
      events.push({ gone: "" });
      tellEvents();
    });
    port = opened;
  }

  function fetchPart(path) {
    if (asksOwnOrigin) {
      try {
        const request = new PageRequest();
        const got = send(request, "/__ksv__/" + path);
        if (request.responseURL.startsWith("data:")) return got;  // Else the site has answered, or a worker of its.
      } catch {
        // Forbidden.
      }
      asksOwnOrigin = false;
    }
    return send(new XMLHttpRequest(), ADDRESS + path);
  }

  function send(request, address) {
    request.open("GET", address, false);
    request.send();
    return request.responseText;
  }

  // The next use opens another.
  function close() {
    port?.disconnect();
    port = null;
    followed.clear();
  }

  // Gives the milliseconds that have passed since it was made; while the machine slept, none did.
  function makeClock() {
    let [last, passed] = [Date.now(), 0];
    return () => {
      const now = Date.now();
      passed += Math.min(now - last, 1000);
      last = now;
      return passed;
    };
  }

  // The text that the background gives for a request, in its parts; empty when there is none to be had.
  function fetchAnswer(path) {
    const clock = makeClock();
    let probed = 0;
    let answer = "";
    for (let part = 0; ; ) {
      let got = "";
      try {
        got = fetchPart(path + part);
      } catch {
        // A background that is just being started answers nothing yet.
        if (leaving || clock() > START_TIME) return "";
        continue;
      }
      // Not yet: without the browser's policy nothing holds a request up, and nothing tells that the background has ended.
      const waited = clock();
      if (got[0] === "w" && waited < WAIT_LIMIT) {
        if (waited - probed < PROBE_TIME) continue;
        probed = waited;
        api.runtime.sendMessage({ waits: nonce }).catch(() => {});
        continue;
      }
      if (got[0] !== "m" && got[0] !== "e") return "";
      answer += got.slice(1);
      leaving = false;
      if (got[0] === "e") return answer;
      ++part;
    }
  }

  // Sends the request and returns the address of its answer. The page could have dispatched anything, so it is checked.
  function post(body) {
    if (typeof body !== "string" || body.length > MAX_TEXT) throw new Error("no request");
    if (!port) open();
    port.postMessage({ n: ++number, text: '{"n":' + number + "," + body.slice(1) });
    return nonce + "/" + number + "/";
  }

  channel.addEventListener("ksv-request", event => {
    const isForbidden = policy?.features().includes("sync-xhr") && !policy.allowsFeature("sync-xhr");
    let answer = isForbidden ? JSON.stringify({ gone: FORBIDDEN }) : "";
    watchCache();
    if (!hidden && !isForbidden) {
      ++asking;
      try {
        answer = fetchAnswer(post(event.detail));
      } catch (error) {
        console.debug(error);
      }
      --asking;
    }
    if (!answer) {
      close();
      answer = JSON.stringify({ gone: GONE });
    }
    tell("ksv-answer", answer);
    Promise.resolve().then(tellEvents);
  });

  channel.addEventListener("ksv-note", event => {
    if (!port || typeof event.detail !== "string") return;
    if (END.test(event.detail)) post(event.detail);
    if (RAN.test(event.detail)) port.postMessage({ text: event.detail });
  });

  // A page in the back-forward cache has no plug-in: its instances have ended when it comes back.
  function leave(event) {
    leaving = true;
    if (!event.persisted) return;
    hidden = true;
    close();
    events = [];
    tell("ksv-event", JSON.stringify({ gone: "" }));
  }

  function comeBack() {
    hidden = leaving = false;
  }

  function prepareToLeave() {
    leaving = true;
  }

  // document.open() takes the window's listeners away; those that are there are not added again.
  function watchCache() {
    addEventListener("beforeunload", prepareToLeave, true);
    addEventListener("pagehide", leave, true);
    addEventListener("pageshow", comeBack, true);
    addEventListener("ksv-follow", follow, true);
    addEventListener("ksv-unfollow", unfollow, true);
  }

  // --- Where elements are, while their displays have sessions --------------------------------------------------------

  const followed = new Map();  // Elements by instance, with what was told of each last.
  let pointer = null;          // Where the mouse was last: on the screen from the browser's window's corner, and in the view.
  let looking = 0;

  // What of a rectangle lies in the document's view. A frame's window must not be larger than the frame.
  function clipped({ x, y, width, height }) {
    const [left, upper] = [Math.max(0, x), Math.max(0, y)];
    return [left, upper, Math.max(0, Math.min(innerWidth, x + width) - left), Math.max(0, Math.min(innerHeight, y + height) - upper)];
  }

  // Tells when an element is out of sight also because the page around its frame hides it.
  const sight = new IntersectionObserver(changes => {
    for (const { target, isIntersecting } of changes) {
      for (const entry of followed.values()) if (entry.element === target) entry.isSeen = isIntersecting;
    }
    tellPlaces();
  });

  function forget(on) {
    const entry = followed.get(on);
    if (!entry) return;
    followed.delete(on);
    sight.unobserve(entry.element);
    port?.postMessage({ place: { on, gone: true } });
  }

  function tellPlaces() {
    for (const [on, entry] of followed) {
      if (!entry.element.isConnected) {
        forget(on);
        continue;
      }
      const box = entry.element.getBoundingClientRect();
      const inView = clipped(box);
      const isSeen = entry.isSeen && inView[2] > 0 && inView[3] > 0 && document.visibilityState === "visible";
      const isTop = window === top;
      const place = {
        on, box: isTop ? [box.x, box.y, box.width, box.height] : inView, ratio: devicePixelRatio, isTop, pointer, visible: isSeen,
        origin: typeof mozInnerScreenX === "number" ? [mozInnerScreenX, mozInnerScreenY] : null
      };
      // The browser's window may have moved or changed too, of which the background is told nothing.
      const told = JSON.stringify([place, screenX, screenY, outerWidth, outerHeight, innerWidth, innerHeight]);
      if (told === entry.told) continue;
      entry.told = told;
      port?.postMessage({ place });
    }
    if (followed.size) return;
    clearInterval(looking);
    looking = 0;
    for (const [name, listener] of LOOKED_FOR) removeEventListener(name, listener, true);
  }

  // A frame moves with the page around it, of which it is told nothing.
  function notePointer(event) {
    if (!event.isTrusted || (pointer && window === top)) return;
    pointer = [event.screenX - screenX, event.screenY - screenY, event.clientX, event.clientY];
  }

  function forgetPointer() {
    pointer = null;
    tellPlaces();
  }

  const LOOKED_FOR = [
    ["scroll", tellPlaces], ["visibilitychange", tellPlaces], ["resize", forgetPointer], ["mousemove", notePointer], ["mousedown", notePointer]
  ];

  // The shadow tree of an element, also a closed one: outside it, an event's target is only the tree's host.
  const treeOf = element => element.openOrClosedShadowRoot || api.dom?.openOrClosedShadowRoot(element);

  function follow(event) {
    const [element] = event.composedPath();
    if (!port || !Number.isInteger(event.detail) || !(element instanceof Element)) return;
    const tree = treeOf(element);
    if (tree) {
      tree.addEventListener("ksv-follow", follow, true);  // page.js sends the next event inside this tree.
      return;
    }
    if (followed.get(event.detail)?.element === element) return;  // A later session of the same element: its window stays.
    forget(event.detail);
    followed.set(event.detail, { element, told: "", isSeen: false });
    sight.unobserve(element);  // Only a new observation reports at once; another session's may be left.
    sight.observe(element);
    looking ||= setInterval(tellPlaces, LOOK_TIME);
    for (const [name, listener] of LOOKED_FOR) addEventListener(name, listener, { capture: true, passive: true });
    tellPlaces();
  }

  function unfollow(event) {
    forget(event.detail);
  }

  watchCache();
})();
