// A PIN entered on the display: its pad stands in the plug-in's window, the page passes the clicks on and never sees a
// digit. What the user entered comes back sealed. Needs ksv.js, with ksv.plugin set, and no document.
var display = (function () {
  "use strict";

  var PIN_PAD = 1;           // the image's input type
  var NOT_COMPLETE = 220;    // fnRetCode: there are digits to come
  var REQUEST = 2;           // the message about the next image
  var SIZE = {width: 320, height: 420};

  function point(x, y) { return "{" + x + "," + y + "}"; }

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

  // Asks for a PIN of so many digits under a caption. The reference, in ASCII here, tells the user what for; the challenge
  // comes from whoever opens the input. onProgress(clicks) is called as they grow, onDone(sealed) once at the end; sealed
  // is null when the plug-in failed on the way.
  function askPin(caption, digits, reference, challenge, onProgress, onDone) {
    var logo = makeLogo(32), told = 0, done = false;

    function answer(method) {
      return function (event) { ksv.call(method, point(event.XCode, event.YCode)); };
    }

    function end(sealed) {
      done = true;
      // Not from inside the event: the display waits for its callback before it lets the session go.
      setTimeout(function () {
        ksv.call("wysCloseSession");
        ksv.call("wysDeInit");
        onDone(sealed);
      }, 0);
    }

    // The display tells that something changed, not what: with enough clicks the page asks whether that was all.
    function onDisplayEvent() {
      var clicks, asked;
      if (done) return;
      ksv.call("wysRepaintImage");
      clicks = ksv.call("wysGetButtonUpCount").ButtonUpCount;
      if (clicks !== told) {
        told = clicks;
        onProgress(clicks);
      }
      if (clicks < digits) return;
      asked = ksv.call("wysProcessSubmitAndGetResponse");
      if (ksv.succeeded(asked)) {
        end(asked.ClientInput.replace(/\s/g, ""));
      } else if (asked.fnRetCode !== NOT_COMPLETE) {
        end(null);
      }
    }

    ksv.must("wysInit", 0, caption);
    ksv.must("wysEstablishSession");
    ksv.plugin.setMouseDownCallback(answer("wysMouseDown"));
    ksv.plugin.setMouseUpCallback(answer("wysMouseUp"));
    ksv.plugin.setDisplayEventsCallback(onDisplayEvent);
    ksv.must("wysSendRecv", REQUEST, btoa(JSON.stringify({reference: reference, challenge: challenge})), 0, 0);
    ksv.must("wysCreateStdImage", PIN_PAD, 0, point(0, 0), point(SIZE.width, SIZE.height), digits, point(0, 0), digits, 0,
             0, 0, logo.size, logo.pixels, 0, 0);
  }

  return {SIZE: SIZE, askPin: askPin};
}());
