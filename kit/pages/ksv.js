// What a page needs around the plug-in object: calls that are logged, results that can be read, Base64.
// ES5 and without a document, so that it runs in every browser of this plug-in interface and in a page host.
var ksv = (function () {
  "use strict";

  // A result object can't be listed by script, so these are the keys of all methods, in the order of display.
  var KEYS = [
    "pluginRetCode", "fnRetCode", "sessionHandle", "version", "OTP", "b64OTP", "requiredOTPDataLen", "b64EncToken",
    "requiredEncTokenDataLen", "requiredEncTokenLen", "b64Data", "requiredDataLen", "tokenFileNames", "instanceID",
    "instanceId", "manufacturer", "model", "serialNumber", "promptRequired", "ImageId", "ClientInput", "b64WysData",
    "Length", "ButtonUpCount", "status"
  ];

  var MEANINGS = {
    10: "the library is not loaded: it has to be installed where the settings say",
    11: "the library is too old for this",
    12: "the page called with a wrong number of arguments, without a name or function, or with a value beyond a limit",
    13: "it could not be done here, or the page gave no text where text has to be",
    14: "memory ran out, or the page asked for too much of it",
    15: "the applet can't be written into the user's folder",
    16: "the display can't tell this page of its events",
    17: "the last update is too old: let the updater run",
    18: "a token of this file name is there already",
    19: "the domain's name is too long or no plain name",
    20: "there is no token of this file name",
    21: "the token can't be written into the user's folder",
    22: "the events are registered already, or can't be"
  };

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

  // QtWebKit asks no plug-in object for a whole number; a text that reads as one does reach it.
  function element(list, index) {
    return list[index] === undefined ? list["0" + index] : list[index];
  }

  // A plain object with what the result object holds; null and what else is no object comes back as it is.
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

  function succeeded(result) {
    return !!result && result.pluginRetCode === 0 && result.fnRetCode === 0;
  }

  function explain(result) {
    if (!result) return "the plug-in gave no result";
    if (result.pluginRetCode !== 0) {
      return "plug-in code " + result.pluginRetCode + ": " + (MEANINGS[result.pluginRetCode] || "unknown");
    }
    return "library status " + result.fnRetCode;
  }

  // call("zubSendData", name, …): makes the call, reports it to onCall, gives the result as a plain object.
  function call(name) {
    var args = Array.prototype.slice.call(arguments, 1);
    if (!ksv.plugin[name]) throw new Error("the plug-in has no method " + name);
    // Some browsers' plug-in methods have no apply of their own.
    var result = read(Function.prototype.apply.call(ksv.plugin[name], ksv.plugin, args));
    ksv.onCall(name, args.map(show).join(", "), result);
    return result;
  }

  // The same, but a call that did not go through throws an Error which says why.
  function must(name) {
    var result = call.apply(null, arguments);
    if (!succeeded(result)) throw new Error(name + " failed, " + explain(result));
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
    explain: explain,
    // Text to Base64 of its UTF-8 form, and back.
    toBase64: function (text) { return btoa(unescape(encodeURIComponent(text))); },
    fromBase64: function (base64) { return decodeURIComponent(escape(atob(base64.replace(/\s/g, "")))); }
  };
}());
