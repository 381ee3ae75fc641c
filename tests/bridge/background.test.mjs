import assert from "node:assert/strict";
import { test } from "node:test";
import { load, port, signal } from "./extension.mjs";

const textOf = address => decodeURIComponent(address.slice(address.indexOf(",") + 1));
const settled = () => new Promise(setImmediate);

// The extension's background, in a browser with these settings. Time passes when `pass` is called.
async function start({ sites, off, installed = "admin" } = {}) {
  const [timers, connect, held, told, changed] = [[], signal(), signal(), signal(), signal()];
  const background = {
    sites, changed, hosts: [], rules: [{ id: 7 }], pass: () => timers.forEach(run => run()), tell: message => told.fire(message, {})
  };
  const api = {
    runtime: {
      getPlatformInfo: async () => ({}), onConnect: connect, onMessage: told,
      connectNative: name => background.hosts[background.hosts.push(port(name)) - 1]
    },
    storage: { managed: { get: async () => ({ sites: background.sites }) }, local: { get: async () => ({ off }) }, onChanged: changed },
    management: { getSelf: async () => ({ installType: installed }) },
    tabs: {},
    windows: { onFocusChanged: signal() },
    webRequest: { onBeforeRequest: held },
    declarativeNetRequest: {
      updateEnabledRulesets: async () => {},
      getSessionRules: async () => background.rules,
      updateSessionRules: async ({ addRules = [], removeRuleIds }) => {
        background.rules = background.rules.filter(rule => !removeRuleIds.includes(rule.id)).concat(addRules);
      }
    }
  };
  load("places.js background.js", { chrome: api, URL, setTimeout: run => timers.push(run) });
  background.open = name => {
    const opened = port(name, { origin: "https://a.example", url: "https://a.example/p" });
    connect.fire(opened);
    return opened;
  };
  background.ask = async path => textOf((await held.fire({ url: "https://ksv.invalid:1/" + path })[0]).redirectUrl);
  await settled();
  return background;
}

test("a request before its port waits for it, and its answer is given as often as it is asked", async () => {
  const background = await start();
  const asked = background.ask("nonce/1/0");
  background.open("nonce").onMessage.fire({ n: 1, text: '{"n":1,"do":"create"}' });
  await settled();
  const [host] = background.hosts;
  assert.deepEqual(host.posted, [{ hello: 1, origin: "https://a.example", address: "https://a.example/p" }, { n: 1, do: "create" }]);
  const again = background.ask("nonce/1/0");
  await settled();
  host.onMessage.fire({ n: 1, value: 5 });
  for (const answer of [asked, again, background.ask("nonce/1/0")]) assert.equal(await answer, 'e{"n":1,"value":5}');
  const stranger = background.ask("other/1/0");
  background.pass();
  assert.equal(await stranger, "g");
});

test("pieces are joined, and a long answer has parts that split no character", async () => {
  const background = await start();
  background.open("nonce");
  await settled();
  const text = JSON.stringify({ n: 1, value: "a" + "\u{1F511}".repeat(500000) });
  const cut = 400001;
  background.hosts[0].onMessage.fire({ piece: 1, of: 2, text: text.slice(0, cut) });
  background.hosts[0].onMessage.fire({ piece: 2, of: 2, text: text.slice(cut) });
  const parts = [];
  while (parts.at(-1)?.[0] !== "e") parts.push(await background.ask("nonce/1/" + parts.length));
  assert.ok(parts.length > 1 && parts.every(part => encodeURIComponent(part).length < 2 * 1024 * 1024));
  assert.equal(parts.map(part => part.slice(1)).join(""), text);
});

test("where nothing holds requests up, rules give the last answer until the document ends", async () => {
  const background = await start({ installed: "development" });
  const document = background.open("nonce");
  for (const n of [1, 2]) {
    document.onMessage.fire({ n, text: `{"n":${n}}` });
    await settled();
    background.hosts[0].onMessage.fire({ n, value: n });
    await settled();
    assert.deepEqual(background.rules.map(({ condition, action }) => [condition.urlFilter, textOf(action.redirect.url)]),
      [[`|https://ksv.invalid:1/nonce/${n}/0|`, `e{"n":${n},"value":${n}}`]]);
  }
  document.onMessage.fire({ n: 2, text: '{"n":2}' });  // The document ends before its answer is published again.
  document.onDisconnect.fire();
  await settled();
  assert.equal(background.hosts[0].closed, true);
  assert.deepEqual(background.rules, []);
});

test("who may not use the plug-in, or sends what is no message, is told that it has gone", async () => {
  const rows = [
    [{ sites: ["https://b.example"] }, "{}", /administrator/, 0], [{ off: ["https://a.example"] }, "{}", /switched off/, 0],
    [{ sites: ["https://a.example"] }, '{"n":1,', /not a message/, 1],
    [{ sites: { 2032000001: "https://b.example" } }, "{}", /administrator/, 0],
    [{ sites: { 2032000001: "https://a.example" } }, '{"n":1,', /not a message/, 1],
    [{ sites: ["HTTPS://A.example:443"] }, '{"n":1,', /not a message/, 1],
    [{ sites: ["https://a.example/app", "https://u@a.example", "https://a.example:8443", "http://a.example", "blob:https://a.example/",
      ".example", "*", "https://*.example", 7, null] }, "{}", /administrator/, 0]
  ];
  for (const [settings, text, reason, hosts] of rows) {
    const background = await start(settings);
    const document = background.open("nonce");
    document.onMessage.fire({ n: 1, text });
    await settled();
    assert.match(JSON.parse((await background.ask("nonce/1/0")).slice(1)).gone, reason);
    assert.match(document.posted[0].gone, reason);
    assert.equal(background.hosts.length, hosts);
  }
});

test("an administrator's list that comes later ends the use by pages that it does not name", async () => {
  const background = await start();
  const document = background.open("nonce");
  await settled();
  background.sites = ["https://b.example"];
  background.changed.fire({}, "managed");
  await settled();
  assert.match(document.posted[0].gone, /administrator/);
  assert.equal(background.hosts[0].closed, true);
});

test("a document that waits for an answer of an earlier background is told that it has gone", async () => {
  const background = await start({ installed: "development" });
  const [known, unknown] = ["a", "b"].map(digit => digit.repeat(32));
  background.open(known);
  for (const waits of [known, unknown, "*"]) background.tell({ waits });
  await settled();
  assert.deepEqual(background.rules.map(({ condition, action }) => [condition.urlFilter, textOf(action.redirect.url)]),
    [[`|https://ksv.invalid:1/${unknown}/`, "g"]]);
  background.pass();
  await settled();
  assert.deepEqual(background.rules, []);
});
