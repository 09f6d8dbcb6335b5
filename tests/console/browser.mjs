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

// Each choice of the sky's style asks for another drawing and shows it; the sky itself is to stand still.
export async function expectRestyled(page) {
    const seen = new Set();
    for (const [control, value, parameter] of [
        ["#sky-mode", "gps", "mode=gps"],
        ["#sky-mode", "glonass", "mode=glonass"],
        ["[name=circles]", false, "circles=0"],
        ["[name=circles]", true, "circles=1"],
        ["[name=squares]", false, "squares=0"],
        ["[name=elevations]", false, "elevations=0"],
        ["[name=diagonals]", true, "diagonals=1"],
        ["[name=norvi]", true, "norvi=1"],
        ["[name=border]", true, "border=1"],
        ["[name=azimuths]", "none", "azimuths=none"],
    ]) {
        if (value === true || value === false) await page.setChecked(control, value);
        else await page.selectOption(control, value);
        await page.waitForSelector(`#sky-plot img[src*="${parameter}"]`);
        const drawing = await page.evaluate(async () => (await fetch(document.querySelector("#sky-plot img").src)).text());
        // Behind the numbers again: as it was.
        assert.equal(seen.has(drawing), parameter === "circles=1", parameter);
        seen.add(drawing);
        if (parameter === "mode=glonass") await page.click("#sky-style summary");
    }
    await page.selectOption("#sky-mode", "turns");
    for (const system of ["gps", "glonass", "gps"]) {
        await page.waitForSelector(`#sky-plot img[src*="mode=${system}"]`);
        await page.locator("#sky-plot .sky-system").getByText(system.toUpperCase(), { exact: true }).waitFor();
    }
}

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
