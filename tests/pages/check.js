// The pages' small test frame: one console line a check, and an end that tells the browser window how it went.
var test = (function () {
  "use strict";
  var TYPE = "application/x-vnd-norvo-webapi-ksv-5.0.9";
  var APPLET = "8D67D9DD2AF54717AFF2FF7EF19DFADB";
  var URI = "otpauth://totp/Test:dave?secret=GEZDGNBVGY3TQOJQGEZDGNBVGY3TQOJQ";
  var failures = 0, checks = 0;

  function equal(actual, expected, what) {
    if (actual !== expected && !(actual !== actual && expected !== expected)) {
      throw new Error((what ? what + " is " : "") + ksv.show(actual) + ", expected " + ksv.show(expected));
    }
  }

  // A new object element at the end of the page.
  function embed(owner, attributes) {
    var element = (owner || document).createElement("object"), name;
    element.type = TYPE;
    element.width = element.height = 1;
    for (name in attributes) element.setAttribute(name, attributes[name]);
    (owner || document).body.appendChild(element);
    return element;
  }

  // Provisions a token of URI, or of what is given, and ends with the result of the call that ends the session.
  function store(fileName, bind, secondDomain, uri) {
    var session = ksv.must("zubStartProvisioning", APPLET).sessionHandle;
    ksv.must("zubSendData", APPLET, session, 0, ksv.toBase64(uri || URI));
    return ksv.call("zubEndProvisioningDomainBinding", APPLET, session, 4096, fileName, bind, secondDomain);
  }

  return {
    APPLET: APPLET,
    store: store,
    password: function (token, fileName) { return ksv.call("zubGetOTP", APPLET, 0, token, "", 64, 4096, fileName); },
    tokenNames: function () { return ksv.must("zubEnumerateTokensDomainBinding").tokenFileNames.sort().join(" "); },
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
    // What the deed throws, if anything.
    attempt: function (deed) {
      try {
        deed();
      } catch (error) {
        return error.message;
      }
      return "nothing was thrown";
    },
    // An object with one member, whose reading runs the function.
    reading: function (get) { return Object.defineProperty({}, "x", {enumerable: true, get: get}); },
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
