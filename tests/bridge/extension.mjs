// Loads files of the extension into a context of its own, with stand-ins for what a browser gives them. Gives what they call
// `wanted`.
import { readFileSync } from "node:fs";
import { createContext, runInContext } from "node:vm";

export const source = path => readFileSync(new URL("../../" + path, import.meta.url), "utf8");
export const load = (files, globals, wanted = "") =>
  runInContext([...files.split(" ").map(file => source("bridge/extension/" + file)), wanted].join("\n"), createContext(globals));

// What a browser calls an event; fire() tells its listeners.
export function signal() {
  const listeners = [];
  return { addListener: listener => listeners.push(listener), fire: (...given) => listeners.map(listener => listener(...given)) };
}

// An end of a connection, with the messages posted on it.
export function port(name, sender) {
  return {
    name, sender, posted: [], closed: false, onMessage: signal(), onDisconnect: signal(),
    postMessage(message) { this.posted.push(JSON.parse(JSON.stringify(message))); },
    disconnect() { this.closed = true; }
  };
}
