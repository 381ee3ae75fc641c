import assert from "node:assert/strict";
import { test } from "node:test";
import { load, port } from "./extension.mjs";

const settled = () => new Promise(setImmediate);

// The toolbar's page, whose host answers each message by `answer`. Gives its elements by id, and `pass` for the time.
async function open(answer, lastError, installType = "admin") {
  const [elements, timers] = [{}, []];
  const element = () => ({ textContent: "", hidden: true, children: [], appendChild(child) { this.children.push(child); return child; } });
  const host = port("com.norvo.ksv");
  const { postMessage } = host;
  host.postMessage = message => {
    postMessage.call(host, message);
    setImmediate(() => {
      const given = answer(message);
      if (given === "ends") host.onDisconnect.fire();
      else if (given) host.onMessage.fire(given);
    });
  };
  const api = {
    runtime: { connectNative: () => host, lastError: lastError && { message: lastError }, getManifest: () => ({ version: "5.0.9" }) },
    tabs: { query: async () => [] },
    management: { getSelf: async () => ({ installType }) }
  };
  load("popup.js", {
    chrome: api, URL: { parse: () => null }, setTimeout: (run, _, sentence) => timers.push(() => run(sentence)),
    document: { getElementById: id => (elements[id] ||= element()), createElement: element }
  });
  for (let round = 0; round < 20; ++round) await settled();
  return { elements, host, pass: () => timers.forEach(run => run()) };
}

// A host that is well, but for the answers given.
const hostWith = (changed, host = "5.0.9") => ({ hello, n, name, do: action }) => {
  if (hello) return "hello" in changed ? changed.hello : { hello: 1, host };
  const key = name || action;
  const values = { version: "5.0.5", zubInit: { object: [["pluginRetCode", 0]] }, wysInit: { object: [["pluginRetCode", 0]] } };
  return key in changed ? changed[key] : { n, value: values[key] ?? null };
};

test("the toolbar's page says what is broken on this computer, and the versions", async () => {
  const rows = [
    [hostWith({}), "", /^Everything that a page needs is there\.$/, "good", ["5.0.9", "5.0.5"]],
    [hostWith({ zubInit: { n: 3, value: { object: [["pluginRetCode", 10]] } } }), "", /agent library is missing/, "bad", ["5.0.9", "5.0.5"]],
    [hostWith({ wysInit: { n: 5, value: { object: [["pluginRetCode", 10]] } } }), "", /can't show images.*code 10\.$/, "bad", ["5.0.9", "5.0.5"]],
    [hostWith({}, "5.0.4"), "", /of different versions: install/, "bad", ["5.0.4", "5.0.5"]],
    [hostWith({ hello: { end: "of different versions" } }), "", /^of different versions$/, "bad", ["unknown", "unknown"]],
    [hostWith({ hello: "ends" }), "Specified native messaging host not found.", /^The plug-in is not installed/, "bad", ["unknown", "unknown"]],
    [hostWith({ hello: "ends" }), "Native host has exited.", /can't be started: Native host has exited\.$/, "bad", ["unknown", "unknown"]],
    [hostWith({ create: { n: 1, error: "x.so: no such file" } }), "", /^x\.so: no such file$/, "bad", ["5.0.9", "unknown"]],
    [hostWith({ create: "ends" }), "Native host has exited.", /module ends the program/, "bad", ["5.0.9", "unknown"]],
    [hostWith({ create: null }), "", /^The plug-in does not answer/, "bad", ["5.0.9", "unknown"]]
  ];
  for (const [answer, lastError, sentence, className, [host, module]] of rows) {
    const page = await open(answer, lastError);
    page.pass();
    await settled();
    assert.match(page.elements.verdict.textContent, sentence);
    assert.equal(page.elements.verdict.className, className);
    assert.deepEqual(page.elements.versions.children.map(child => child.textContent), ["Extension", "5.0.9", "Host", host, "Plug-in", module, "Installed", "by a policy"]);
    assert.equal(page.host.closed, true);
  }
  const byHand = await open(hostWith({}), "", "normal");
  assert.equal(byHand.elements.versions.children.at(-1).textContent, "without a policy");
});
