// Pictures of the console: the replay of a real day, put to a time and stopped there, in three sizes.

import path from "node:path";
import { parseArgs } from "node:util";
import { chromium } from "playwright-core";
import { Log, program } from "./program.mjs";

const Pictures = [
    ["console.png", 1280, 800, "dark"],
    ["console-wide.png", 1920, 1080, "light"],
    ["console-phone.png", 390, 844, "light"],
];
// A satellite is rejected: every panel has something to tell.
const Time = "2020-06-25 12:03:42";
const { values } = parseArgs({ options: { to: { type: "string", default: "." }, view: { type: "string", default: "overview" } } });
const folder = path.join(process.env.GNSS_TEST_DATA ?? "", "data");
const replay = await program(["replay", ...Log, "--speed", "60"], folder);
const browser = await chromium.launch({
    executablePath: process.env.CHROMIUM ?? "/usr/bin/chromium",
    args: process.getuid() === 0 ? ["--no-sandbox"] : [],
});
try {
    for (const [name, width, height, colorScheme] of Pictures) {
        const page = await browser.newPage({ viewport: { width, height }, colorScheme });
        await page.goto(`${replay.url}/#${values.view}`);
        await page.waitForFunction(() => /[✓✕?]/.test(document.querySelector("#tile-test .figure").textContent));
        await page.locator("#replay-play", { hasText: /Pause|Play/ }).waitFor();
        if (/Pause/.test(await page.locator("#replay-play").innerText())) await page.click("#replay-play");
        await page.locator("#tile-age", { hasText: "Paused" }).waitFor();
        await page.fill("#replay-time", Time);
        await page.keyboard.press("Enter");
        await page.locator("#tile-age", { hasText: Time.slice(-8) }).waitFor();
        await page.evaluate(() => document.activeElement.blur());
        await page.waitForTimeout(2000); // the sky is fetched at most once a second
        await page.screenshot({ path: path.join(values.to, name) });
    }
} finally {
    await browser.close();
    await replay.close();
}
