// Brings an image of the display into STATE as a user and a page would, with LAYOUT naming where the display tells its
// keys, and tells what the page gets to know. Needs ksv.js and display.js.
(function () {
  "use strict";
  var GERMAN = {language: "de", dark: true}, FOUR = {least: 4, greatest: 4};
  // What is asked for, then keys and what the page says of the input.
  var STATES = {
    entry: [{}, "1", "2"],
    missing: [{}, "1", "2", "OK"],
    ready: [GERMAN, "1", "2", "3", "4"],
    deleted: [FOUR, "9", "Delete", "8", "9", "Clear", "1", "2", "5", "Delete", "3", "4"],
    wrong: [FOUR, "1", "2", "3", "4", {error: true, attemptsLeft: 2}],
    again: [FOUR, "1", "2", "3", "4", {error: true}, "4", "3", "2", "1"],
    blocked: [FOUR, "1", "2", "3", "4", {error: true, attemptsLeft: 0}],
    closed: [FOUR, "1", "2", "3", "4"],
    cancelled: [GERMAN, "1", "Cancel"],
    confirmation: [{type: display.CONFIRMATION}],
    confirmed: [{type: display.CONFIRMATION}, "OK"],
    text: [{type: display.TEXT, language: "de"}]
  };
  var OUTCOMES = {deleted: "sealed", again: "sealed", closed: "sealed", confirmed: "sealed", cancelled: "cancelled"};
  var steps = STATES[STATE].slice(1), image = STATES[STATE][0], quiet = null, outcome = "nothing";

  function end() {
    print(outcome);
    ksvBrowser.finish(true);
  }

  function note(result) {
    outcome = result.sealed ? "sealed " + result.sealed : result.cancelled ? "cancelled" : result.failed;
    if (steps.length === 0 && OUTCOMES[STATE]) setTimeout(end, 100);
  }

  function press(label) {
    host.read(LAYOUT).split("\n").forEach(function (line) {
      var parts = line.split(" ");
      if (parts[0] !== label) return;
      host.click(Number(parts[1]) + Math.floor(parts[3] / 2), Number(parts[2]) + Math.floor(parts[4] / 2));
    });
  }

  function step() {
    var next = steps.shift();
    if (typeof next === "string") press(next);
    else if (next) display.tell(next, image, note);
    else if (!OUTCOMES[STATE]) end();
  }

  // The next step is taken when the display has nothing more to paint.
  ksv.onCall = function (name) {
    if (name !== "wysRepaintImage") return;
    clearTimeout(quiet);
    quiet = setTimeout(step, 50);
  };

  image.language = image.language || "en";
  image.reference = "EUR 12.50 to Norvo Books";
  image.challenge = String(location.href).split("#")[1];
  ksv.plugin = plugin;
  display.open("Example Bank");
  display.ask(image, note);
}());
