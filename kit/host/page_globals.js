// Defines the page's global names by the host's native functions. Returns the function that runs a timer which is due.
(function (window, native, address) {
  "use strict";
  var timers = {};

  function log() { native.print(Array.prototype.map.call(arguments, String).join(" ")); }

  function start(callback, delay, repeats, args) {
    if (typeof callback !== "function") throw new TypeError("a timer needs a function");
    var timer = native.startTimer(delay, repeats);
    timers[timer] = {callback: callback, repeats: repeats, args: args};
    return timer;
  }

  function stop(timer) {
    delete timers[timer];
    native.stopTimer(timer);
  }

  // Removed, because a page that uses the engine's extensions works in no browser.
  delete window.Duktape;

  window.window = window.self = window;
  window.location = Object.freeze({href: address, toString: function () { return address; }});
  window.console = {log: log, info: log, warn: log, error: log, debug: log};
  window.print = window.alert = log;
  window.setTimeout = function (callback, delay) { return start(callback, delay, false, [].slice.call(arguments, 2)); };
  window.setInterval = function (callback, delay) { return start(callback, delay, true, [].slice.call(arguments, 2)); };
  window.clearTimeout = window.clearInterval = stop;
  window.btoa = native.encodeBase64;
  window.atob = native.decodeBase64;
  window.ksvBrowser = {finish: native.finish};
  window.host = {click: native.click, read: native.read};

  return function (timer) {
    var due = timers[timer];
    if (!due) return;
    if (!due.repeats) delete timers[timer];
    due.callback.apply(window, due.args);
  };
})
