// Usage: enter_pin.mjs BROWSER DIGITS CHALLENGE PICTURE. Opens kit/pages/display.html in a browser, enters six digits on the
// display's window over the page, and prints what the page says. PICTURE shows the screen when half of them are entered.
import { launch, root, serve, until } from "./browser.mjs";
import { enterPin, savePicture } from "./pin_pad.mjs";

const [, , name, digits, challenge, picture] = process.argv;
const browser = await launch({ browser: name, visible: true });
const lines = [];
try {
  const [tab] = await browser.pages();
  tab.on("console", message => {
    lines.push(message.text());
    console.log(message.text());
  });
  await tab.goto(`${await serve(root)}/kit/pages/display.html#${challenge}`);
  await enterPin(tab, digits, () => savePicture(picture));
  await until("the page's last word", () => lines.some(line => line.startsWith("sealed ")));
} catch (error) {
  console.error("enter_pin: " + error.message);
  process.exitCode = 1;
}
await browser.close();
process.exit();
