// The pages' small test frame: one console line a check, and an end that tells the browser window how it went.
var test = (function () {
  "use strict";
  var TYPE = "application/x-vnd-norvo-webapi-ksv-5.0.9";
  var failures = 0, checks = 0;

  function equal(actual, expected, what) {
    if (actual !== expected) {
      throw new Error((what ? what + " is " : "") + ksv.show(actual) + ", expected " + ksv.show(expected));
    }
  }

  // A new object element at the end of the page.
  function embed(owner) {
    var element = (owner || document).createElement("object");
    element.type = TYPE;
    element.width = element.height = 1;
    (owner || document).body.appendChild(element);
    return element;
  }

  return {
    check: function (name, body) {
      checks += 1;
      try {
        body();
        console.log("ok " + name);
      } catch (error) {
        failures += 1;
        console.log("not ok " + name + ": " + (error && error.message || error));
      }
    },
    equal: equal,
    // The two codes of a result, and that nothing else stands in it unless more is expected.
    codes: function (result, pluginRetCode, fnRetCode, what) {
      equal(result && result.pluginRetCode, pluginRetCode, (what || "") + " pluginRetCode");
      equal(result && result.fnRetCode, fnRetCode, (what || "") + " fnRetCode");
    },
    keys: function (result, expected, what) { equal(Object.keys(result).join(" "), expected, (what || "") + " keys"); },
    embed: embed,
    remove: function (element) { element.parentNode.removeChild(element); },
    start: function () {
      ksv.plugin = embed();
      ksv.onCall = function () {};
      return ksv.plugin;
    },
    finish: function () { ksvBrowser.finish(failures === 0 && checks > 0); }
  };
}());
