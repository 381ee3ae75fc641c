// In the page's own world, before its scripts: gives the plug-in's elements their methods. Sends each use as a message of
// bridge/PROTOCOL.md to content.js and waits for the answer. The built-in functions that write and read values are copied
// before the page's scripts run: a page that replaces them later does not change the values.
(() => {
  "use strict";

  const TYPES = ["application/x-vnd-norvo-webapi-ksv-5.0.9", "application/x-vnd-norvo-webapi-ksv-5.0.5"];
  const DESCRIPTION = "Norvo KSV WebApi plugin";
  const METHODS = [
    "getPlatformInfo", "isUpdaterPromptRequired", "zubInit", "zubDeInit", "zubStartProvisioning",
    "zubEndProvisioning", "zubEndProvisioningDomainBinding", "zubSendData", "zubReceiveData", "zubProcessSVPMessage",
    "zubGetSVPMessage", "zubSendAndReceiveData", "zubGetCapabilities", "zubGetVersion", "zubInstall", "zubUninstall",
    "zubDoFWUpdate", "zubGetOTP", "zubEnumerateTokensDomainBinding", "zubDeleteTokenDomainBinding",
    "zubRegisterEventCallback", "zubUnRegisterEventCallback", "zubStopInstance", "getInstanceID", "wysInit",
    "wysEstablishSession", "wysDeInit", "wysCloseSession", "wysCreateStdImage", "wysMouseDown", "wysMouseUp",
    "wysSubmitButton", "wysProcessSubmitAndGetResponse", "wysCancelButton", "wysClearButton", "wysSubmitFrame",
    "wysSendRecv", "wysRepaintImage", "wysGetVersion", "wysStatusToString", "setMouseDownCallback",
    "setMouseUpCallback", "setWindowEventCallback", "wysProcessRemoteWysMessage", "wysGetButtonUpCount",
    "setRepaintImageCallback", "setDisplayEventsCallback"
  ];
  const PROPERTIES = ["version"];
  const MAX_DEPTH = 64;
  const MAX_VALUES = 100000;
  const MAX_ARGUMENTS = 100;  // No method takes as many, or does more with more.
  const MAX_BYTES = 48 * 1024 * 1024;  // Of texts; the rest of the message needs room too.

  const { parse, stringify } = JSON;
  const { apply, ownKeys, getOwnPropertyDescriptor, get: getMember } = Reflect;
  const { defineProperty, create, freeze, is, setPrototypeOf } = Object;
  const PageError = Error;
  const PageMap = Map;
  const PageEvent = CustomEvent;
  const channel = performance;  // An event target that content.js has too, and that document.open() leaves its listeners.
  const { addEventListener, dispatchEvent } = EventTarget.prototype;
  const { getAttribute, getBoundingClientRect } = Element.prototype;
  const encoder = new TextEncoder();
  const { encode } = TextEncoder.prototype;
  const { getRootNode } = Node.prototype;
  const hostOf = getOwnPropertyDescriptor(ShadowRoot.prototype, "host").get;
  const isConnected = getOwnPropertyDescriptor(Node.prototype, "isConnected").get;
  const detailOf = getOwnPropertyDescriptor(CustomEvent.prototype, "detail").get;
  const consoleError = console.error.bind(console);
  const report = reportError.bind(window);
  const toWellFormed = String.prototype.toWellFormed || function () { return String(this); };
  const elementClasses = [HTMLObjectElement, HTMLEmbedElement];
  const isElement = elementClasses.map(type => {
    const tag = getOwnPropertyDescriptor(type.prototype, "type").get;
    return value => { try { apply(tag, value, []); return true; } catch { return false; } };
  });

  const text = value => stringify(apply(toWellFormed, value, []));
  // A message has no member that the page has given to all objects.
  const own = (object, key) => getOwnPropertyDescriptor(object, key)?.value;

  // --- Messages to and from content.js -----------------------------------------------------------------------------

  let answer = null;

  function listen(name, take) {
    apply(addEventListener, channel, [name, event => take(apply(detailOf, event, []))]);
  }

  function send(name, message) {
    apply(dispatchEvent, channel, [new PageEvent(name, { detail: message })]);
  }

  listen("ksv-answer", message => { answer = message; });

  // The answer to a request; null when there is no host to answer it.
  function ask(message) {
    answer = null;
    send("ksv-request", message);
    const given = answer && parse(answer);
    answer = null;
    if (given && own(given, "n") !== undefined) return given;
    if (given && own(given, "gone")) consoleError(own(given, "gone"));
    forgetHost();
    return null;
  }

  // --- Values ----------------------------------------------------------------------------------------------------

  let functions = new PageMap();
  let numbers = new WeakMap();
  let lastFunction = 0;

  function functionNumber(value) {
    let number = numbers.get(value);
    if (number === undefined) {
      number = ++lastFunction;
      numbers.set(value, number);
      functions.set(number, { run: value, seen: 0 });
    }
    ++functions.get(number).seen;
    return number;
  }

  function countOff(number, count) {
    const held = functions.get(number);
    if (!held || (held.seen -= count) > 0) return;
    functions.delete(number);
    numbers.delete(held.run);
  }

  // Writes the arguments of one call.
  class Writer {
    count = 0;
    bytes = 0;
    named = [];  // The numbers of functions, as often as they were written.

    // What can't be read, or goes beyond the bounds, fails in the module, as it does in a browser that reads it there.
    writeArgument(value) {
      const { count, bytes } = this;
      const named = this.named.length;
      try {
        return this.write(value, 1);
      } catch {
        this.count = count;  // The host does not count it either.
        this.bytes = bytes;
        this.takeBack(named);
        return '{"unreadable":true}';
      }
    }

    // The host will not hear of the functions that were named after the first ones.
    takeBack(first) {
      for (let i = first; i < this.named.length; ++i) countOff(this.named[i], 1);
      this.named.length = first;
    }

    write(value, depth) {
      if (++this.count > MAX_VALUES) throw new PageError("too many values");
      switch (typeof value) {
        case "string": return this.writeText(value);
        case "boolean": return value ? "true" : "false";
        case "number":
          if (value !== value || value === Infinity || value === -Infinity || is(value, -0)) {
            return '{"number":"' + (is(value, -0) ? "-0" : value) + '"}';
          }
          return "" + value;
        case "function": {
          const number = functionNumber(value);
          this.named[this.named.length] = number;
          return '{"function":' + number + "}";
        }
        case "object": return value === null ? "null" : this.writeObject(value, depth);
        default: return '{"undefined":true}';
      }
    }

    writeText(value) {
      const written = text(value);
      this.bytes += apply(encode, encoder, [written]).length;
      if (this.bytes > MAX_BYTES) throw new PageError("too much text");
      return written;
    }

    writeObject(value, depth) {
      if (isOurs(value)) return '{"plugin":' + instanceOf(value) + "}";
      if (depth > MAX_DEPTH) throw new PageError("too deep");
      let written = "";
      for (const key of ownKeys(value)) {
        if (typeof key !== "string" || !getOwnPropertyDescriptor(value, key)?.enumerable) continue;
        written += (written && ",") + "[" + this.writeText(key) + "," + this.write(getMember(value, key), depth + 1) + "]";
      }
      return '{"object":[' + written + "]}";
    }
  }

  function put(object, key, value) {
    defineProperty(object, key, setPrototypeOf({ value, writable: true, enumerable: true, configurable: true }, null));
  }

  function read(value) {
    if (value === null || typeof value !== "object") return value;
    const [members, elements, number] = [own(value, "object"), own(value, "array"), own(value, "number")];
    if (members) {
      const object = {};
      for (let i = 0; i < members.length; ++i) put(object, members[i][0], read(members[i][1]));
      return freeze(object);
    }
    if (elements) {
      const array = [];
      for (let i = 0; i < elements.length; ++i) put(array, i, read(elements[i]));
      return freeze(array);
    }
    if (number) return number === "NaN" ? NaN : number === "-0" ? -0 : number === "Infinity" ? Infinity : -Infinity;
    return undefined;
  }

  // --- Instances -------------------------------------------------------------------------------------------------

  let instances = new PageMap();  // Their elements, with their numbers.
  let lastInstance = 0;

  function forgetHost() {
    instances = new PageMap();
    functions = new PageMap();
    numbers = new WeakMap();
  }

  function isOurs(value) {
    if (!isElement.some(test => test(value)) || !apply(isConnected, value, [])) return false;
    const type = apply(getAttribute, value, ["type"]);
    return type !== null && TYPES.includes(type.trim().toLowerCase());
  }

  function endRemoved() {
    for (const [element, number] of [...instances]) {
      if (apply(isConnected, element, [])) {
        watchRemoval(element);  // It may be in another tree now.
        continue;
      }
      instances.delete(element);
      send("ksv-note", '{"on":' + number + ',"do":"destroy"}');
    }
  }

  const removals = new MutationObserver(endRemoved);

  // A MutationObserver does not report changes inside shadow trees, so each root on the way up is observed.
  function watchRemoval(node) {
    const root = apply(getRootNode, node, []);
    removals.observe(root, { childList: true, subtree: true });
    if (root !== apply(getRootNode, node, [{ composed: true }])) watchRemoval(apply(hostOf, root, []));
  }

  // The number of the element's instance, made on its first use; 0 when there is none to be had.
  function instanceOf(element) {
    const known = instances.get(element);
    if (known) return known;
    const { width, height } = apply(getBoundingClientRect, element, []);
    const size = length => Math.min(65535, Math.max(0, Math.round(length)));
    const number = ++lastInstance;
    const made = ask('{"on":' + number + ',"do":"create","width":' + size(width) + ',"height":' + size(height) + "}");
    if (!made) return 0;
    if (own(made, "error")) {
      consoleError(own(made, "error"));
      return 0;
    }
    instances.set(element, number);
    watchRemoval(element);
    return number;
  }

  // What a method gives when nobody is there to do it.
  const refused = () => ({ pluginRetCode: 13, fnRetCode: 0 });

  function use(element, message, writer) {
    const number = isOurs(element) ? instanceOf(element) : 0;
    if (!number) writer?.takeBack(0);
    const given = number && ask('{"on":' + number + "," + message + "}");
    if (!given) return undefined;
    if (own(given, "error")) throw new PageError(own(given, "error"));
    return { value: read(own(given, "value")) };
  }

  // During a session of the display content.js follows the element; only the host knows when there is an image. The event's
  // target names the element. Outside a closed shadow tree the target is the tree's host: so the event is sent to the
  // outermost host first, and content.js listens in each tree before the next event comes.
  function tellOfSession(node, name, number) {
    const root = apply(getRootNode, node, []);
    if (root !== apply(getRootNode, node, [{ composed: true }])) tellOfSession(apply(hostOf, root, []), name, number);
    if (number) apply(dispatchEvent, node, [new PageEvent(name, { detail: number, composed: true })]);
  }

  function methodOf(element, name) {
    return function (...given) {
      const writer = new Writer();
      let list = "";
      for (let i = 0; i < given.length && i < MAX_ARGUMENTS; ++i) list += (i ? "," : "") + writer.writeArgument(given[i]);
      const result = use(element, '"do":"call","name":' + text(name) + ',"arguments":[' + list + "]", writer);
      if (name === "wysEstablishSession") tellOfSession(element, "ksv-follow", instances.get(element));
      if (name === "wysCloseSession" && result?.value?.pluginRetCode === 0) tellOfSession(element, "ksv-unfollow", instances.get(element));
      return result ? result.value : refused();
    };
  }

  const methods = new WeakMap();  // So that a method is the same function each time it is read.

  function memberOf(element, name) {
    if (PROPERTIES.includes(name)) return use(element, '"do":"get","name":' + text(name))?.value;
    let known = methods.get(element);
    if (!known) methods.set(element, known = create(null));
    return known[name] ||= methodOf(element, name);
  }

  for (const name of [...METHODS, ...PROPERTIES]) {
    for (const type of elementClasses) {
      defineProperty(type.prototype, name, {
        configurable: true,
        enumerable: true,
        get() { return isOurs(this) ? memberOf(this, name) : undefined; },
        set(value) {
          if (isOurs(this)) throw new PageError("the plug-in refused " + name);
          put(this, name, value);
        }
      });
    }
  }

  // --- What pages look for: the plug-in among those of the browser ---------------------------------------------------

  // A list of the browser's with entries of ours behind its own.
  function extended(list, entries) {
    const own = list.length;
    const member = key => entries.find((entry, index) => key === entry.name || key === entry.type || key === String(own + index));
    const item = key => member(String(key >>> 0)) || list.item(key);
    const namedItem = key => member(key) || list.namedItem(key);
    return new Proxy(list, {
      get(target, key) {
        if (key === "length") return own + entries.length;
        if (key === "item") return item;
        if (key === "namedItem") return namedItem;
        if (key === Symbol.iterator) return function* () { yield* target; yield* entries; };
        const found = typeof key === "string" && member(key);
        const value = found || getMember(target, key, target);
        return typeof value === "function" ? value.bind(target) : value;
      },
      has: (target, key) => Boolean(typeof key === "string" && member(key)) || key in target
    });
  }

  const described = (type, members) => create(type.prototype, Object.fromEntries(
    Object.entries(members).map(([key, value]) => [key, { value, enumerable: true }])));

  function announce() {
    const plugin = described(Plugin, { name: DESCRIPTION, description: DESCRIPTION, filename: "", length: TYPES.length });
    const types = TYPES.map(type =>
      described(MimeType, { type, description: DESCRIPTION, suffixes: "", enabledPlugin: plugin }));
    types.forEach((type, index) => put(plugin, index, type));
    for (const [name, entries] of [["mimeTypes", types], ["plugins", [plugin]]]) {
      const { get } = getOwnPropertyDescriptor(Navigator.prototype, name);
      let list = null;
      defineProperty(Navigator.prototype, name, {
        configurable: true,
        enumerable: true,
        get() { return list ||= extended(apply(get, this, []), entries); }
      });
    }
  }

  announce();

  // --- What the module does to the page's functions -----------------------------------------------------------------

  listen("ksv-event", message => {
    const event = parse(message);
    const [run, forgotten, gone] = [own(event, "run"), own(event, "forget"), own(event, "gone")];
    if (run) {
      const ofHost = functions;
      const held = functions.get(run);
      try {
        if (held) apply(held.run, undefined, read({ array: own(event, "arguments") }));
      } catch (error) {
        report(error);
      }
      // A newer host has not asked for this answer.
      const awaited = own(event, "awaited");
      if (awaited && functions === ofHost) send("ksv-note", '{"ran":' + awaited + "}");
    } else if (forgotten) {
      for (let i = 0; i < forgotten.length; ++i) countOff(forgotten[i][0], forgotten[i][1]);
    } else {
      if (gone) consoleError(gone);
      forgetHost();
    }
  });
})();
