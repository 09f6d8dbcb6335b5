// A browser for the tests of a file, and what each of its pages is checked for.

import assert from "node:assert/strict";
import { readFile } from "node:fs/promises";
import { createRequire } from "node:module";
import { chromium } from "playwright-core";

const Axe = await readFile(createRequire(import.meta.url).resolve("axe-core/axe.min.js"), "utf8");
export const Patience = 25000; // ms; the machine may have other work
export const Views = ["overview", "quality", "satellites", "stores", "sources"];
export const Hostile = [`<img src=x onerror="window.isHit=1">`, `</script><script>window.isHit=1</script>`, `"'&amp;<b>bold</b>\u202e`];

let browser, contexts, complaints;

export async function launch() {
    browser = await chromium.launch({
        executablePath: process.env.CHROMIUM ?? "/usr/bin/chromium",
        args: process.getuid() === 0 ? ["--no-sandbox"] : [],
    });
}

export const quit = () => browser.close();

export function begin() {
    contexts = [];
    complaints = [];
}

// Neither an error of the page's own nor a refusal by the policy.
export async function end() {
    for (const context of contexts) await context.close();
    assert.deepEqual(complaints, []);
}

export async function open(url, view = "overview", options = {}) {
    const context = await browser.newContext({ viewport: { width: 1280, height: 800 }, colorScheme: "dark", ...options });
    const page = await context.newPage();
    page.on("pageerror", (error) => complaints.push(error.message));
    page.on("console", (message) => {
        if (/Content Security|^panel /.test(message.text())) complaints.push(message.text());
    });
    page.setDefaultTimeout(Patience);
    contexts.push(context);
    await page.goto(`${url}/#${view}`);
    return page;
}

export const text = (page, selector) => page.locator(selector).innerText();
export const until = (page, what, argument) => page.waitForFunction(what, argument, { timeout: Patience });
export const isLive = (page) => until(page, () => /[✓✕?]/.test(document.querySelector("#tile-test .figure").textContent));

// The pixels of the plot, as one number.
export const picture = (page) =>
    page.evaluate(() => {
        const canvas = document.querySelector("#series-plot canvas");
        const { data } = canvas.getContext("2d").getImageData(0, 0, canvas.width, canvas.height);
        return data.reduce((sum, byte, at) => (sum + byte * (at % 9973)) % 1e9, 0);
    });

// No text of theirs has become an element.
export async function expectHarmless(page) {
    const found = await page.evaluate(() => [window.isHit, document.querySelectorAll("main img[src=x], main b b, main script").length]);
    assert.deepEqual(found, [undefined, 0]);
}

// Each view without anything cut off, and axe without a serious finding.
export async function expectFit(page, { width, height }) {
    for (const view of Views) {
        await page.evaluate((to) => (location.hash = to), view);
        await page.waitForTimeout(700);
        const size = await page.evaluate(() => [document.documentElement.scrollWidth, document.documentElement.scrollHeight]);
        assert.ok(size[0] <= width, `${view} is ${size[0]} wide`);
        if (width >= 1280) assert.ok(size[1] <= height, `${view} is ${size[1]} high`);
        // Not by a script element: the policy holds for axe, too.
        await page.evaluate(Axe);
        const found = await page.evaluate(() => axe.run(document, { resultTypes: ["violations"] }));
        const serious = found.violations
            .filter((one) => ["serious", "critical"].includes(one.impact))
            .map((one) => `${view}: ${one.id}: ${one.nodes.slice(0, 3).map((node) => `${node.target} ${node.any[0]?.message ?? ""}`).join("; ")}`);
        assert.deepEqual(serious, []);
    }
}
