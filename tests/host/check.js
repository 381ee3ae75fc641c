// The host's pages report as all checks do: a line each, and how it went at the end.
var failures = 0;

function check(name, body) {
  "use strict";
  try {
    body();
    print("ok " + name);
  } catch (error) {
    failures += 1;
    print("not ok " + name + ": " + error.message);
  }
}

function equal(actual, expected, what) {
  "use strict";
  if (actual !== expected && !(actual !== actual && expected !== expected)) {
    throw new Error((what || "it") + " is " + String(actual) + ", expected " + String(expected));
  }
}

function throwing(body) {
  "use strict";
  try {
    body();
  } catch (error) {
    return error.message;
  }
  return "nothing was thrown";
}
