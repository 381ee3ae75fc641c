// Values through the probe and back, with the probe's own view of them.
var check = test.check, equal = test.equal, throwing = test.attempt;

check("values keep their kind and their value", function () {
  [undefined, null, true, false, 0, 7, -7, 2147483647, -2147483648, 2147483648, 0.5, 1e300, NaN, Infinity, "", "text",
    "a\u0000b", "\u00e4\u20ac\ud83d\ude00"].forEach(function (value) {
    equal(plugin.echo(value), value, typeof value);
  });
  equal(1 / plugin.echo(-0), -Infinity, "the sign of zero");
  equal(plugin.echo("\ud83d"), "\ufffd", "half a character");
});

check("objects, arrays and functions come back as themselves", function () {
  [{}, [1, 2], function () {}, new Date(), /x/, window, plugin].forEach(function (value) {
    var back = plugin.echo(value);
    equal(value === plugin ? typeof back.echo : back, value === plugin ? "function" : value, String(value));
  });
  equal(plugin.identity(plugin, plugin.echo(plugin)), true, "the plug-in's own object");
});

check("functions are called with every kind, and answer", function () {
  var got;
  function collect() { got = [].slice.call(arguments); return got; }
  equal(plugin.call(collect, 1, "x", null, undefined, collect, plugin) === got, true, "the answer");
  equal(got.length, 6, "the number of arguments");
  equal(got[4], collect, "a function");
  equal(plugin.call(function () { return plugin.call(function () { return "inner"; }); }), "inner", "a call in a call");
});

check("members are listed by name and by number", function () {
  equal(plugin.keys({a: 1, b: 2}), "a b ", "an object");
  equal(plugin.keys(["x", "y"]), "#0 #1 ", "an array");
  equal(plugin.keys({"7": 1, "07": 2, "-1": 3}), "#7 07 -1 ", "texts that look like numbers");
});

check("the plug-in's properties are set, read, listed and removed", function () {
  equal("value" in plugin, false, "before");
  plugin.value = "text";
  equal(plugin.value, "text", "a text");
  equal(Object.keys(plugin).join(), "value", "the keys");
  equal(delete plugin.value, true, "the removal");
  equal(plugin.value, undefined, "after");
  equal(/does not let other be set/.test(throwing(function () { plugin.other = 1; })), true, "a property that is none");
});

check("a refused call and an exception of the plug-in's throw", function () {
  equal(throwing(function () { plugin.refuse(); }), "the plug-in refused the call of refuse");
  equal(throwing(function () { plugin.raise("why"); }), "why");
  equal(throwing(function () { plugin.refuse(); }), "the plug-in refused the call of refuse", "the next one");
});

check("an object that inherits from the plug-in's takes no reference of its own", function () {
  var i;
  for (i = 0; i < 100; ++i) Object.create(plugin).own = i;
});

(function () {
  "use strict";
  var order = [], timer;
  clearTimeout(setTimeout(function () { order.push("never"); }, 5));
  setTimeout(function () { order.push("late"); }, 30);
  setTimeout(function (word) { order.push(word); }, 1, "early");
  timer = setInterval(function () {
    if (order.length < 2) return;
    clearInterval(timer);
    check("timers", function () { equal(order.join(), "early,late"); });
    test.finish();
  }, 10);
}());
