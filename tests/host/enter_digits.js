// Enters DIGITS by the host's own mouse: run after a page that shows a pad, with LAYOUT naming where the display tells
// its keys. They have a new order after each digit, so the next is clicked when the page has told of the last.
(function () {
  "use strict";
  var print = console.log, next = 0;

  function clickNext() {
    var digit = DIGITS.charAt(next++);
    host.read(LAYOUT).split("\n").forEach(function (line) {
      var parts = line.split(" ").map(Number);
      if (digit !== "" && parts[0] === Number(digit)) host.click(parts[1] + Math.floor(parts[3] / 2), parts[2] + Math.floor(parts[4] / 2));
    });
  }

  console.log = function (text) {
    print(text);
    if (/^\d of /.test(text)) clickNext();
  };
  setTimeout(clickNext, 0);
}());
