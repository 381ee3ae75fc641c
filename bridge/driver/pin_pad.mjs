// The user's hand on the display's window over a page, from outside of browser and host: for ./run and the tests. Needs
// xdotool, and a display that tells where its keys are (KSV_DISPLAY_LAYOUT).
import { execFileSync } from "node:child_process";
import { readFileSync } from "node:fs";
import { until } from "./browser.mjs";

const PAD = { width: 320, height: 420 };  // Of kit/pages/display.html, at a ratio of 1.

function run(program, ...given) {
  try {
    return execFileSync(program, given, { encoding: "utf8", stdio: ["ignore", "pipe", "ignore"] });
  } catch {
    return "";  // Nothing was found.
  }
}

// The visible window that has the caption, with its place on the screen; null when there is none.
export function findWindow(caption) {
  // A host may have left out the beginning of a long one.
  const pattern = caption.slice(-8).replaceAll(/[.^$*+?()[\]{}|\\]/g, "\\$&") + "$";
  const [id] = run("xdotool", "search", "--onlyvisible", "--name", pattern).split("\n");
  const lines = id && run("xdotool", "getwindowgeometry", "--shell", id);
  if (!lines) return null;
  const { X, Y, WIDTH, HEIGHT } = Object.fromEntries(lines.split("\n").map(line => line.split("=")));
  return { id, x: Number(X), y: Number(Y), width: Number(WIDTH), height: Number(HEIGHT) };
}

// Where the image is on the screen: the system draws the same border at both sides and below it, and the caption above.
export function imageIn(window) {
  const border = (window.width - PAD.width) / 2;
  return { x: window.x + border, y: window.y + window.height - border - PAD.height };
}

// Under Wine the variable has a path of its drive.
const layoutFile = process.env.KSV_DISPLAY_LAYOUT.replace(/^Z:/, "").replaceAll("\\", "/");

function layout() {
  try {
    return readFileSync(layoutFile, "utf8");
  } catch {
    return "";  // Nothing has been painted yet.
  }
}

// Clicks a key of the pad, and waits until the pad has its new order.
export async function clickKey(window, label) {
  const before = layout();
  const key = before.split("\n").map(line => line.split(" ")).find(([name]) => name === label);
  const [x, y, width, height] = key.slice(1).map(Number);
  const image = imageIn(window);
  run("xdotool", "mousemove", String(Math.round(image.x + x + width / 2)), String(Math.round(image.y + y + height / 2)), "click", "1");
  await until("a new order of the keys", () => layout() !== before);
}

// Has kit/pages/display.html ask for a PIN of 6 digits, and enters it. `onHalf` is called in the midst of it. Gives the
// window.
export async function enterPin(tab, digits, onHalf = async () => {}) {
  const caption = await tab.evaluate(() => location.origin);
  await tab.click("#pin");
  const window = await until("the display's window", () => findWindow(caption));
  await until("the image", () => layout().includes("\n"));
  for (const [index, digit] of [...digits].entries()) {
    if (index === 3) await onHalf(window);
    await clickKey(window, digit);
  }
  return window;
}

// Everything on the screen, once it stands still: what is painted reaches the screen a little later.
export async function savePicture(file) {
  let before = "";
  await until("a screen that stands still", async () => {
    run("import", "-window", "root", file);
    const now = readFileSync(file, "base64");
    if (now === before) return true;
    before = now;
    await new Promise(done => setTimeout(done, 300));
    return false;
  });
}
