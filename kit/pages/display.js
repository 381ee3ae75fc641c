// What a user enters on the display: its images stand in the plug-in's window, the page passes the clicks on and never
// sees a digit. What was entered comes back sealed. Needs ksv.js, with ksv.plugin set, and no document.
var display = (function () {
  "use strict";

  var PIN = 1, CONFIRMATION = 2, TEXT = 3;                       // what an image asks for
  var NO_KEYBOARD = 256, LANGUAGES = {en: 512, de: 1024};        // options of an image
  var NOT_COMPLETE = 220, CANCELLED = 226;                       // fnRetCode
  var REQUEST = 2, VERDICT = 3;                                  // message types: what for, and what became of it
  var SIZES = {1: {width: 320, height: 420}, 2: {width: 320, height: 240}, 3: {width: 320, height: 240}};

  var asked = null;  // what the image that stands was asked for with, until there is an answer

  function point(x, y) { return "{" + Math.round(x) + "," + Math.round(y) + "}"; }

  // Three bytes a pixel, rows from the top: a ring on a blue ground.
  function makeLogo(size) {
    var pixels = "", x, y, fromCentre;
    for (y = 0; y < size; ++y) {
      for (x = 0; x < size; ++x) {
        fromCentre = Math.sqrt(Math.pow(x - size / 2 + 0.5, 2) + Math.pow(y - size / 2 + 0.5, 2)) / size;
        pixels += fromCentre > 0.22 && fromCentre < 0.36 ? "\xff\xff\xff" : "\x0b\x5c\xad";
      }
    }
    return {size: point(size, size), pixels: btoa(pixels)};
  }

  // Not from inside an event: the display waits for its callback before it lets a session go.
  function answer(outcome) {
    var done = asked.done;
    asked = null;
    setTimeout(function () { done(outcome); }, 0);
  }

  // The display tells that something changed, not what.
  function onEvent() {
    var clicks, result;
    ksv.call("wysRepaintImage");
    if (!asked) return;
    clicks = ksv.call("wysGetButtonUpCount").ButtonUpCount - asked.clicksBefore;
    if (clicks !== asked.clicks && asked.onClicks) asked.onClicks(clicks);
    asked.clicks = clicks;
    result = ksv.read(ksv.plugin.wysProcessSubmitAndGetResponse());
    if (result.fnRetCode === NOT_COMPLETE) return;
    ksv.onCall("wysProcessSubmitAndGetResponse", "", result);
    if (ksv.succeeded(result)) {
      answer({sealed: result.ClientInput.replace(/\s/g, "")});
    } else if (result.fnRetCode === CANCELLED) {
      answer({cancelled: true});
    } else {
      answer({failed: ksv.explain(result)});
    }
  }

  function pass(method) {
    return function (event) { ksv.call(method, point(event.XCode, event.YCode)); };
  }

  // Opens the display under a caption, which stands in all its images.
  function open(caption) {
    ksv.must("wysInit", 0, caption);
    ksv.must("wysEstablishSession");
    ksv.plugin.setMouseDownCallback(pass("wysMouseDown"));
    ksv.plugin.setMouseUpCallback(pass("wysMouseUp"));
    ksv.plugin.setDisplayEventsCallback(onEvent);
  }

  function wait(image, done) {
    asked = {done: done, onClicks: image.onClicks, clicks: 0,
             clicksBefore: ksv.call("wysGetButtonUpCount").ButtonUpCount};
  }

  // Shows an image and calls done once, with {sealed}, {cancelled} or {failed}. All members of image are optional: type
  // (PIN), least and greatest number of digits, reference (tells the user what for), challenge (from whoever opens the
  // input, a new one for each), language ("en", "de"; else the user's), dark, keyboard (false: none), ratio (pixels of the
  // window for one of the page), onClicks(clicks).
  function ask(image, done) {
    var logo = makeLogo(64), type = image.type || PIN, ratio = image.ratio || 1;
    var options = (LANGUAGES[image.language] || 0) + (image.keyboard === false ? NO_KEYBOARD : 0);
    var request = {reference: image.reference, challenge: image.challenge};
    asked = null;
    ksv.must("wysSendRecv", REQUEST, ksv.toBase64(JSON.stringify(request)), 0, 0);
    ksv.must("wysCreateStdImage", type, 0, point(0, 0), point(SIZES[type].width * ratio, SIZES[type].height * ratio),
             image.least || 0, point(0, 0), image.greatest || 0, 0, options, image.dark ? 1 : 0, logo.size, logo.pixels,
             0, 0);
    wait(image, done);
  }

  // Says on the image what became of the last input, such as {error: true, attemptsLeft: 2, challenge: "..."}. With done
  // the user may try again, as after ask; the challenge is a new one for that.
  function tell(verdict, image, done) {
    ksv.must("wysSendRecv", VERDICT, ksv.toBase64(JSON.stringify(verdict)), 0, 0);
    asked = null;
    if (done) wait(image, done);
  }

  function close() {
    asked = null;
    ksv.call("wysCloseSession");
    ksv.call("wysDeInit");
  }

  return {PIN: PIN, CONFIRMATION: CONFIRMATION, TEXT: TEXT, open: open, ask: ask, tell: tell, close: close};
}());
