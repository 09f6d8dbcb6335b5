// Pictures of the console at CONSOLE_URL, a replay: put to a time (--time) and stopped there, in three sizes.

import path from "node:path";
import { parseArgs } from "node:util";
import { chromium } from "playwright-core";

const Pictures = [
    ["console.png", 1280, 800, "dark"],
    ["console-wide.png", 1920, 1080, "light"],
    ["console-phone.png", 390, 844, "light"],
];
const { values } = parseArgs({
    options: { to: { type: "string", default: "." }, time: { type: "string" }, view: { type: "string", default: "overview" } },
});
const browser = await chromium.launch({
    executablePath: process.env.CHROMIUM ?? "/usr/bin/chromium",
    args: process.getuid() === 0 ? ["--no-sandbox"] : [],
});
try {
    for (const [name, width, height, colorScheme] of Pictures) {
        const page = await browser.newPage({ viewport: { width, height }, colorScheme });
        await page.goto(`${process.env.CONSOLE_URL}/#${values.view}`);
        await page.waitForFunction(() => /[✓✕?]/.test(document.querySelector("#tile-test .figure").textContent));
        if (values.time) {
            await page.locator("#replay-play", { hasText: "Pause" }).click({ timeout: 2000 }).catch(() => {});
            await page.locator("#tile-age", { hasText: "Paused" }).waitFor();
            await page.fill("#replay-time", values.time);
            await page.keyboard.press("Enter");
            await page.locator("#tile-age", { hasText: values.time.slice(-8) }).waitFor();
            await page.evaluate(() => document.activeElement.blur());
        }
        await page.waitForTimeout(2000); // the sky is fetched at most once a second
        await page.screenshot({ path: path.join(values.to, name) });
    }
} finally {
    await browser.close();
}
