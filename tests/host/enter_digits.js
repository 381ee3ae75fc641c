// Enters DIGITS by the host's own mouse: run after a page that shows a pad, with LAYOUT naming where the display tells
// its keys.
host.read(LAYOUT).split("\n").reduce(function (keys, line) {
  "use strict";
  var parts = line.split(" ");
  keys[parts[0]] = {x: Number(parts[1]) + Math.floor(parts[3] / 2), y: Number(parts[2]) + Math.floor(parts[4] / 2)};
  if (line !== "") return keys;
  DIGITS.split("").forEach(function (digit, index) {
    setTimeout(function () { host.click(keys[digit].x, keys[digit].y); }, index * 20);
  });
  return keys;
}, {});
