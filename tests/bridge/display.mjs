// The display's window over a page, with the user's hand on it. Usage: display.mjs BROWSER NAME DIGITS CHALLENGE TRANSCRIPT: enters
// six digits, and leaves what the page says in TRANSCRIPT. Prints a line a check, with NAME before it; exit status: 0 none failed,
// 1 some did.
import { writeFileSync } from "node:fs";
import { launch, root, serve, until } from "../../bridge/driver/browser.mjs";
import { clickKey, enterPin, findWindow, imageIn } from "../../bridge/driver/pin_pad.mjs";
import { hosts, processOf, signal } from "./processes.mjs";
import { report } from "./report.mjs";

const [, , browserName, name, digits, challenge, transcript] = process.argv;
const browser = await launch({ browser: browserName, visible: true });
const lines = [];
let failed = 0;

async function check(what, body) {
  if (!await report(`${name}/${what}`, body)) failed = 1;
}

const address = await serve(root);
const [tab] = await browser.pages();
tab.on("console", message => lines.push(message.text()));
await tab.goto(`${address}/kit/pages/display.html#${challenge}`);
const seen = () => findWindow(address);

// Where the element is on the screen, as the page finds it. The browsers' bars are above pages, and nothing is at the sides.
const element = () => tab.evaluate(() => {
  const { x, y } = document.getElementById("plugin").getBoundingClientRect();
  return { x: screenX + (outerWidth - innerWidth) / 2 + x, y: screenY + outerHeight - innerHeight + y };
});
const isOverElement = async () => {
  const [image, wanted] = [seen() && imageIn(seen()), await element()];
  return image?.x === wanted.x && image.y === wanted.y;
};

await check("clicks enter a PIN on the display over the page", async () => {
  await enterPin(tab, digits, () => until("a window over the element", isOverElement));
  await until("the sealed input", () => lines.some(line => line.startsWith("sealed ")));
});
writeFileSync(transcript, lines.join("\n") + "\n");

await check("the display's window follows its element and hides with it", async () => {
  await tab.evaluate(() => { document.body.style.paddingBottom = "2000px"; scrollTo(0, 20); });
  await until("a window that has followed", isOverElement);
  await tab.evaluate(() => { scrollTo(0, 1500); });
  await until("a hidden window", () => !seen());
  await tab.evaluate(() => { scrollTo(0, 0); });
  await until("a window that is back", isOverElement);
});

await check("the display's window hides with its tab, and ends with its document", async () => {
  const other = await browser.newPage();
  await until("a hidden window", () => !seen());
  await tab.bringToFront();
  await until("a window that is back", isOverElement);
  await other.close();
  await tab.goto(address + "/none.html");
  await until("the window's end", () => !seen());
});

await check("a page whose process is killed in a function that its host waits for leaves neither host nor window", async () => {
  await tab.goto(`${address}/kit/pages/display.html#${challenge}`);
  const page = await processOf(tab);
  await tab.click("#pin");
  await until("a window over the element", isOverElement);
  await until("the host", () => hosts().length > 0);
  await tab.evaluate('ksv.plugin.setMouseDownCallback(function () { console.log("inside"); for (;;); })');
  clickKey(seen(), digits[0]).catch(() => {});  // It waits for keys in a new order, which do not come.
  await until("the page's function", () => lines.includes("inside"));
  signal(page, "SIGKILL");
  await until("the window's end", () => !seen());
  await until("the host's end", () => hosts().length === 0);
});

await browser.close();
process.exit(failed);
