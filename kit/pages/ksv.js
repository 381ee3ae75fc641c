// What a page needs around the plug-in object: calls that are logged, results that can be read, Base64.
// ES5 and without a document, so that it runs in every browser of this plug-in interface and in a page host.
/** @type {KsvHelper} */
var ksv = (function () {
  "use strict";

  // A result object can't be listed by script, so these are the keys of all methods, in the order of display.
  var KEYS = [
    "pluginRetCode", "fnRetCode", "sessionHandle", "version", "OTP", "b64OTP", "requiredOTPDataLen", "b64EncToken",
    "requiredEncTokenDataLen", "requiredEncTokenLen", "b64Data", "requiredDataLen", "tokenFileNames", "instanceID",
    "instanceId", "manufacturer", "model", "serialNumber", "promptRequired", "ImageId", "ClientInput", "b64WysData",
    "Length", "ButtonUpCount", "status"
  ];

  // Of pluginRetCode.
  var MEANINGS = {
    10: "the library is not loaded: it has to be installed where the settings say",
    11: "the library is too old for this",
    12: "the page called with a wrong number of arguments, an empty name, or a value beyond a limit",
    13: "it could not be done here, or the page gave no text where text has to be",
    14: "memory ran out, or the page asked for too much of it",
    15: "the applet can't be written into the user's folder",
    16: "the display can't tell this page of its events",
    17: "the last update is too old: let the updater run",
    18: "a token of this file name is there already",
    19: "the page's origin or the second domain can't have token files: too long, or no plain name",
    20: "there is no token of this file name",
    21: "the token can't be written into the user's folder",
    22: "the events are registered already, are not registered, or can't be"
  };

  // What a code means for one method alone. Where the two generations of the agent library differ, both are told.
  var MEANINGS_BY_METHOD = {
    getPlatformInfo: {13: "the machine's serial number can't be read; on most Linux machines the administrator alone can"},
    zubRegisterEventCallback: {
      12: "two arguments are needed: a name that is not empty, and a function",
      22: "the name is registered already: by any page (first generation), or by this page, which may also have used " +
          "it in another call before (instance generation: register first); or the window can't be watched"
    },
    zubUnRegisterEventCallback: {
      12: "one name is needed that is not empty, and (first generation) that some page has registered",
      22: "this page has not registered the name (instance generation)"
    },
    wysCloseSession: {13: "the image is being painted: call again"},
    wysDeInit: {13: "other initialisations of the display remain, or this page has none to end"}
  };

  // Of fnRetCode: what the libraries' contracts say, and the reference libraries' own.
  var STATUSES = {
    10: "the library was not called",
    11: "the output is larger than the capacity that the page gave",
    34: "the library was not called: a point is malformed, the frame is empty, or there is no image",
    36: "the input is complete",
    42: "the window has a session already",

    101: "an argument is missing, empty or negative",
    102: "zubInit has not been called, or zubDeInit has",
    103: "the library's other generation has this, not the one in use",
    104: "no such applet is installed",
    105: "there is no such provisioning session, or it belongs to another applet",
    106: "there is no such instance",
    107: "all provisioning sessions are in use",
    108: "all instances are in use",
    109: "the data is too long for one session",
    110: "there is no data, but some is needed",
    111: "the data type is not known",
    112: "the selector is not known, or this kind of password has none such",
    113: "the extra data is not what the selector needs",
    120: "the provisioning text is no well-formed otpauth URI",
    121: "the provisioning text has a value that the agent or the applet does not support",
    122: "the token is damaged, or was made for another applet or user",
    123: "the token's last password has been used: provision a new one",
    130: "the applet file does not exist or can't be read",
    131: "the applet file is damaged, or has another applet's name",
    132: "no more applets can be installed",
    133: "this applet is not installed",
    140: "a function is registered for this name already",
    141: "no function is registered for this name",
    142: "the page's function has not returned yet: repeat the call after it has",
    150: "the agent's folder can't be used, or others can read its files",
    151: "the agent has no memory left",
    152: "an error inside the agent",

    201: "an argument is missing or out of its range",
    202: "wysInit has not been called, or wysDeInit has",
    203: "there is no such session of the display",
    204: "there is no such image",
    205: "the display is initialised too often",
    206: "all sessions of the display are in use",
    210: "the image's description is malformed",
    211: "the input type is not known",
    212: "the image is too small or too large",
    213: "the logo's size and its length do not match, or it is too large",
    214: "the least and the greatest length contradict each other or the input type",
    215: "an option or a choice of colours is not known",
    220: "the input is not complete",
    221: "the input is closed: clear it first",
    222: "the text is malformed, too short or too long, or does not fit into the image",
    223: "the image takes no text, or needs one",
    224: "the user has not clicked there: pass a click on inside the function that the plug-in calls with it",
    225: "the image must be visible as a whole in its window before clicks on it count",
    226: "the user has cancelled the input",
    230: "the frame is malformed",
    231: "the frame is not authentic",
    232: "the message that sets the channel up is malformed",
    233: "the message type is not known",
    234: "the message is malformed, or a text in it is too long or not visible",
    240: "no function is registered for this session",
    241: "the page's function has not returned yet: call after it has",
    250: "the window does not exist any more",
    251: "the image could not be painted",
    252: "no font was found",
    253: "the display's folder or its key can't be used",
    254: "the display has no memory left",
    255: "an error inside the display",
    260: "there is no such status"
  };

  var TOO_SMALL = 11;
  // They inform of what is so, and the call has gone through.
  var INFORMATIONAL = [0, 36, 42];

  var MAX_SHOWN = 40;

  function show(value) {
    var text;
    if (typeof value === "string") {
      text = value.replace(/\s+$/, "").replace(/\s+/g, " ");
      if (text.length > MAX_SHOWN) text = text.slice(0, MAX_SHOWN - 16) + "\u2026 (" + value.length + " characters)";
      return '"' + text + '"';
    }
    if (typeof value === "function") return "function";
    if (Array.isArray(value)) return "[" + value.map(show).join(", ") + "]";
    if (value && typeof value === "object") {
      return "{" + Object.keys(value).map(function (key) { return key + ": " + show(value[key]); }).join(", ") + "}";
    }
    return String(value);
  }

  // QtWebKit asks no plug-in object for a whole number; a text that it takes for none, such as "00", does reach it.
  function element(list, index) {
    return list[index] === undefined ? list["0" + index] : list[index];
  }

  // A plain object with what the result object holds, its list as an array; what is no object comes back as it is.
  function read(result) {
    var copy = {}, names = [], i;
    if (Object(result) !== result) return result;
    KEYS.forEach(function (key) {
      // QtWebKit remembers for all results that one of them had a key, so that `in` alone does not tell.
      if (key in result && result[key] !== undefined) copy[key] = result[key];
    });
    if (copy.tokenFileNames) {
      for (i = 0; i < copy.tokenFileNames.length; ++i) names.push(element(copy.tokenFileNames, i));
      copy.tokenFileNames = names;
    }
    return copy;
  }

  // A method of the display that asks no library has no fnRetCode; a method that sets a function gives nothing at all.
  /** @type {KsvHelper["succeeded"]} */
  function succeeded(result, name) {
    if (result === undefined) return /^set/.test(name || "");
    return result !== null && result.pluginRetCode === 0 &&
           (result.fnRetCode === undefined || INFORMATIONAL.indexOf(result.fnRetCode) >= 0);
  }

  // The page gave too small a capacity; the result has the lengths that are needed.
  /** @type {KsvHelper["tooSmall"]} */
  function tooSmall(result) {
    return !!result && result.pluginRetCode === 0 && result.fnRetCode === TOO_SMALL;
  }

  // What a result says, as a sentence. With the method's name it is more exact.
  /** @type {KsvHelper["explain"]} */
  function explain(result, name) {
    var code, needed;
    if (succeeded(result, name)) return "it went well";
    if (!result) return "the plug-in gave no result: the page has no origin, the element no window, or it was removed";
    code = result.pluginRetCode;
    if (code !== 0) {
      return "plug-in code " + code + ": " +
             ((MEANINGS_BY_METHOD[name || ""] || MEANINGS)[code] || MEANINGS[code] || "unknown");
    }
    code = "library status " + result.fnRetCode + ": " +
           (STATUSES[result.fnRetCode] || "the library's own, its documents tell what it means");
    needed = KEYS.filter(function (key) { return /^required/.test(key) && result[key] !== undefined; });
    if (!tooSmall(result) || !needed.length) return code;
    return code + "; ask again with " + needed.map(function (key) { return key + " " + result[key]; }).join(", ");
  }

  function method(name) {
    var plugin = ksv.plugin;
    if (!plugin) {
      throw new Error("ksv.plugin is not set: begin with ksv.plugin = document.getElementById(\"plugin\"), " +
                      "below the element in the page");
    }
    if (plugin.version === undefined) {
      throw new Error("The element holds no plug-in: it is not installed, not allowed on this page, or the element " +
                      "is hidden by display:none.");
    }
    if (!plugin[name]) throw new Error("the plug-in has no method " + name);
    return plugin[name];
  }

  // call("zubSendData", name, …): makes the call, reports it to onCall, gives the result as a plain object.
  function call(name) {
    var args = Array.prototype.slice.call(arguments, 1), result;
    // Some browsers' plug-in methods have no apply of their own.
    result = read(Function.prototype.apply.call(method(name), ksv.plugin, args));
    ksv.onCall(name, args.map(show).join(", "), result);
    return result;
  }

  // The same, but a call that did not succeed throws an Error which says why.
  function must(name) {
    var result = call.apply(null, arguments);
    if (!succeeded(result, name)) throw new Error(name + " failed, " + explain(result, name));
    return result;
  }

  return {
    plugin: null,  // the page sets it to its object element
    onCall: function (name, argsText, result) { console.log(name + "(" + argsText + ") \u2192 " + show(result)); },
    call: call,
    must: must,
    read: read,
    show: show,
    succeeded: succeeded,
    tooSmall: tooSmall,
    explain: explain,
    // Text to Base64 of its UTF-8 form, and back.
    toBase64: function (text) { return btoa(unescape(encodeURIComponent(text))); },
    fromBase64: function (base64) { return decodeURIComponent(escape(atob(base64.replace(/\s/g, "")))); }
  };
}());
