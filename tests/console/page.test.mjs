// The console's page in a browser: against the mock, or the program at CONSOLE_URL (a live run that may be steered).

import assert from "node:assert/strict";
import { after, afterEach, before, beforeEach, test } from "node:test";
import * as browser from "./browser.mjs";
import { expectFit, expectHarmless, expectRestyled, Hostile, isLive, picture, text, until, Views } from "./browser.mjs";
import { serve } from "./mock.mjs";
import { program } from "./program.mjs";
import { proxy } from "./proxy.mjs";

const Given = process.env.CONSOLE_URL || null;
// Between them the mock and the program have each size in light and dark.
const Looks = Given
    ? [[1280, 800, "dark"], [390, 844, "light"], [1920, 1080, "dark"]]
    : [[1280, 800, "light"], [390, 844, "dark"], [1920, 1080, "light"]];
// What the real program has as well is tested with it, in program.test.mjs.
const testOfMock = Given ? () => {} : test;

let mock, line;

let target = Given;
let simulator;
before(async () => {
    if (Given === "simulator") target = (simulator = await program(["run", "--simulator-speed", "4"])).url;
    await browser.launch();
});
after(async () => {
    await browser.quit();
    await simulator?.close();
});
beforeEach(() => start());
afterEach(async () => {
    try {
        await browser.end();
    } finally {
        line.close();
        mock?.close();
    }
});

async function start(options) {
    line?.close();
    mock?.close();
    mock = Given ? null : await serve(options);
    line = await proxy(target ?? mock.url);
    browser.begin();
}

const open = (view, options) => browser.open(line.url, view, options);

// Pressed at the first of some shares of an element's width, let go at the last.
async function drag(page, selector, shares) {
    const { x, y, width, height } = await page.locator(selector).first().boundingBox();
    for (const share of shares) {
        await page.mouse.move(x + width * share, y + height / 2, { steps: 5 });
        if (share === shares[0]) await page.mouse.down();
    }
    await page.mouse.up();
}

testOfMock("the sky is drawn as chosen", async () => {
    await start({ kind: "replay" });
    mock.world.state = "paused";
    const page = await open();
    await page.waitForSelector("#sky-plot img");
    await expectRestyled(page);
});

test("the plot moves, and so do the figures and the sky", async () => {
    const page = await open();
    await isLive(page);
    await page.waitForSelector("#sky-plot img");
    const [utc, plot] = [await text(page, "#tile-age .sub"), await picture(page)];
    assert.notEqual(plot, 0);
    await until(page, (old) => document.querySelector("#tile-age .sub").innerText !== old, utc);
    await page.waitForTimeout(1500);
    assert.notEqual(await picture(page), plot);
    assert.ok((await page.locator("#sky-plot img").evaluate((image) => image.naturalWidth)) > 0);
});

test("a zoomed plot stays where it is, by keyboard too", async () => {
    const page = await open("quality");
    await isLive(page);
    await page.waitForTimeout(500);
    await drag(page, "#plots .u-over", [0.7, 0.9]);
    assert.match(await text(page, "#window"), /Zoomed/);
    await page.locator("#quality .spans button").first().focus();
    await page.keyboard.press("Enter");
    assert.doesNotMatch(await text(page, "#window"), /Zoomed/);
});

test("a satellite that is switched off is posted and leaves the fix within two epochs", async () => {
    const page = await open("satellites");
    await isLive(page);
    const name = await page.locator("#constellation tr", { hasText: "used" }).first().locator("th").innerText();
    const button = page.locator(`#health button[aria-label^="${name}"]`);
    await button.focus();
    await page.keyboard.press("Space");
    const epochs = await page.evaluate(
        (one) =>
            new Promise((done) => {
                const seen = new Set();
                setInterval(() => {
                    seen.add(document.querySelector("#tile-age .sub").textContent);
                    const row = [...document.querySelectorAll("#constellation tr")].find((tr) => tr.cells[0].textContent === one);
                    if (row.cells[1].textContent.includes("disabled")) done(seen.size);
                }, 20);
            }),
        name,
    );
    assert.ok(epochs <= 3, `in the fix of the click and in ${epochs - 1} more`);
    await until(page, ([one]) => document.querySelector(`#health button[aria-label^="${one}"]`).ariaChecked === "false", [name]);
    assert.deepEqual(line.posts.map(([path, body, status]) => [path, JSON.parse(body), status]), [
        ["/api/health", { satellite: name, enabled: false }, 202],
    ]);
    await button.click();
    await page.locator("#constellation tr", { hasText: name }).getByText("used").waitFor();
});

testOfMock("who may only look cannot steer, and is told why", async () => {
    await start({ right: "view" });
    const page = await open("satellites");
    await page.waitForSelector("#health button");
    assert.ok(await page.locator("#health button").evaluateAll((buttons) => buttons.every((button) => button.disabled)));
    assert.match(await text(page, "#health-hint"), /not steer/);
});

testOfMock("a token lets in, a wrong one does not", async () => {
    await start({ token: "open sesame" });
    const page = await open();
    for (const [token, isIn] of [
        ["wrong", false],
        ["open sesame", true],
    ]) {
        await page.fill("#token", token);
        await page.keyboard.press("Enter");
        if (isIn) await isLive(page);
        else await page.getByText("not known here").waitFor();
    }
    await page.click("#logout");
    await page.waitForSelector("#token:visible");
});

test("after a reload all is there again, and so are the choices", async () => {
    const page = await open();
    await isLive(page);
    await page.selectOption("#series-kind", "dop");
    await page.selectOption("#sky-mode", "gps");
    await page.click("#theme");
    await page.reload();
    await isLive(page);
    await page.waitForSelector("#sky-plot img[src*='mode=gps']");
    assert.equal(await page.inputValue("#series-kind"), "dop");
    assert.equal(await page.evaluate(() => document.documentElement.dataset.theme), "light");
    await until(page, () => document.querySelectorAll("#series-plot .legend b")[0].innerText > "0");
});

test("a cut line is unmistakable and mends by itself; so is silence", async () => {
    const page = await open();
    await isLive(page);
    line.cut();
    await page.getByRole("alert").getByText("Connection lost").waitFor();
    await until(page, () => document.body.classList.contains("lost") && document.title.includes("lost"));
    await page.waitForTimeout(2500);
    line.mend();
    await until(page, () => !document.body.classList.contains("lost") && document.getElementById("lost").hidden);
    line.isSilent = true;
    await until(page, () => document.body.classList.contains("lost"));
    line.isSilent = false;
    await until(page, () => !document.body.classList.contains("lost"));
    await isLive(page);
});

testOfMock("of a server that has begun anew nothing old is left", async () => {
    const page = await open();
    await isLive(page);
    line.cut();
    await until(page, () => document.title.includes("lost"));
    mock.close();
    mock = await serve({ port: Number(new URL(mock.url).port), isWaiting: true });
    line.mend();
    await page.locator(".position .age").getByText("no data yet").waitFor();
    await until(page, () => document.getElementById("lost").hidden && !document.title.includes("lost"));
    const selectors = ["#tile-test .figure", "#place dd", "#events tbody", "#series-plot .legend b"];
    const left = await page.evaluate((all) => all.map((one) => document.querySelector(one).textContent), selectors);
    assert.deepEqual(left, ["", "", "", "– m"]);
});

test("old data is grey, and fresh data is not", async () => {
    const page = await open();
    await isLive(page);
    const stale = () => page.locator(".panel.stale[data-panel='fix']:visible").count();
    await page.waitForTimeout(2000);
    assert.equal(await stale(), 0);
    line.change = (block) => (/^(event: (run|sources)$|:)/m.test(block) ? block : null);
    await until(page, () => document.querySelector(".position.stale .age")?.innerText.includes("old"));
    assert.match(await text(page, "#link"), /Connected/);
    line.change = null;
    await until(page, () => !document.querySelector(".position.stale"));
});

test("two browsers agree", async () => {
    const [one, two] = [await open(), await open("overview", { viewport: { width: 390, height: 844 } })];
    const read = (page) =>
        page.evaluate(
            () =>
                new Promise((done) => {
                    const seen = {};
                    setInterval(() => {
                        const figures = ["#tile-age .sub", "#tile-error .figure", "#tile-satellites .figure", "#place", "#dop tbody"];
                        const [utc, ...rest] = figures.map((one) => document.querySelector(one).textContent);
                        if (/\d/.test(utc)) seen[utc] = rest.join("|");
                        if (Object.keys(seen).length >= 5) done(seen);
                    }, 100);
                }),
        );
    const [a, b] = await Promise.all([read(one), read(two)]);
    const both = Object.keys(a).filter((utc) => utc in b);
    assert.ok(both.length >= 2, `epochs in common: ${both}`);
    for (const utc of both) assert.equal(a[utc], b[utc]);
});

test("text from outside shows as text", async () => {
    const page = await open("sources");
    for (const hostile of Hostile) {
        line.replacePanel("sources", (panel) => ({ ...panel, rows: [{ ...panel.rows[0], name: hostile, format: hostile, failure: hostile }] }));
        await page.locator("#source-table th", { hasText: hostile }).waitFor();
        line.replacePanel("notes", (panel) => ({ ...panel, rows: [{ text: hostile, alarm: true, satellite: hostile, intervals: [[0, 1]] }] }));
        await page.locator("#notes .what").getByText(hostile, { exact: true }).waitFor({ state: "attached" });
        line.replacePanel("satellites", (panel) => ({ ...panel, rows: [{ ...panel.rows[0], satellite: hostile, use: hostile, w_test: hostile }] }));
        await page.locator("#constellation th", { hasText: hostile }).waitFor({ state: "attached" });
        line.replacePanel("run", (panel) => ({ ...panel, kind: hostile, reference: hostile, settings: [[hostile, hostile]] }));
        await page.locator("#run th", { hasText: hostile }).waitFor();
    }
    if (mock) {
        mock.world.hostile = Hostile[0];
        line.change = null;
        mock.world.say(Hostile[1], Hostile[0]);
        await page.locator("#events td").getByText(Hostile[0], { exact: true }).waitFor();
        await page.click("#tab-stores");
        await page.locator("#store th", { hasText: Hostile[0] }).first().waitFor();
    }
    await expectHarmless(page);
});

test("store views are copied", async () => {
    const page = await open("stores");
    await page.context().grantPermissions(["clipboard-read", "clipboard-write"]);
    await page.waitForSelector("#store table");
    const copied = async () => {
        await page.evaluate(() => navigator.clipboard.writeText(""));
        await page.click("#store-copy");
        await page.getByText("Copied").waitFor();
        return page.evaluate(() => navigator.clipboard.readText());
    };
    const first = await copied();
    assert.match(first, /\t.*\n/);
    // As from another machine without TLS, where pages have no clipboard of their own.
    await page.evaluate(() => Object.defineProperty(window, "isSecureContext", { value: false }));
    assert.equal(await copied(), first);
    const both = (await text(page, "#store")).length;
    await page.uncheck("#store-glonass");
    await until(page, (length) => document.querySelector("#store").innerText.length < length, both);
});

testOfMock("ages in a store move with the data", async () => {
    await start({ kind: "replay" });
    const page = await open("stores");
    const age = page.locator("#store tr", { hasText: "Age since reference time" }).locator("td").first();
    const before = await age.innerText();
    await until(page, (old) => ![...document.querySelectorAll("#store td")].some((cell) => cell.innerText === old), before);
});

testOfMock("a replay is paused, sped up and put elsewhere", async () => {
    await start({ kind: "replay" });
    const page = await open();
    await isLive(page);
    await page.click("#replay-play");
    await page.getByText("▶ Play").waitFor();
    mock.world.t = mock.world.from + 43200; // the middle of the slider, where it is dragged from
    await page.waitForTimeout(6500);
    assert.equal(await page.locator(".panel.stale").count(), 0, "paused is not stale");
    await page.selectOption("#replay-speed", "10");
    await page.focus("#replay-speed");
    mock.world.speed = 0; // by another browser
    await until(page, () => document.querySelector("#replay-speed").selectedOptions[0].text === "max");
    await drag(page, "#replay-seek", [0.5, 0.6, 0.5]);
    await drag(page, "#series-plot .u-over", [0.7, 0.9]);
    await page.mouse.move(0, 0); // off the plot, which told the time under it
    await page.locator("#series-plot .legend").getByText("Zoomed").waitFor();
    await page.fill("#replay-time", "06:30");
    await page.keyboard.press("Enter");
    await page.getByText("of 06:30:00 UTC").waitFor();
    assert.match(await text(page, "#replay-at"), /06:30:00/, "the slider was let go");
    assert.doesNotMatch(await text(page, "#series-plot .legend"), /Zoomed/, "what was zoomed to is to come");
    await page.locator("#replay-seek").focus();
    await page.keyboard.press("End");
    await page.getByText("of 23:59:30 UTC").waitFor();
    assert.deepEqual(
        mock.posts.map(([, body]) => body),
        [
            { action: "pause" },
            { action: "speed", speed: 10 },
            { action: "seek", time: "2020-06-25T06:30Z" },
            { action: "seek", time: "2020-06-25T23:59:30.000Z" },
        ],
    );
});

test("all controls are reached by keyboard, and show it", async () => {
    const page = await open();
    await isLive(page);
    for (const view of Views) {
        await page.locator(`#tab-${view}`).click();
        await page.waitForTimeout(300);
        const wanted = await page.evaluate(() => {
            const all = [...document.querySelectorAll("button, select, input, summary, .scroll")];
            return all.filter((one) => one.checkVisibility() && !one.disabled && one.tabIndex >= 0).length;
        });
        await page.evaluate(() => document.activeElement.blur());
        const reached = new Set();
        let faint = null;
        for (let i = 0; i < wanted + 4; ++i) {
            await page.keyboard.press("Tab");
            const at = await page.evaluate(() => {
                const one = document.activeElement;
                const isShown = one === document.body || parseFloat(getComputedStyle(one).outlineWidth) >= 2;
                window.order ??= new WeakMap();
                if (!window.order.has(one)) window.order.set(one, (window.count = (window.count ?? 0) + 1));
                return { id: window.order.get(one), isControl: one.matches("button, select, input, summary, .scroll"), isShown, html: one.outerHTML.slice(0, 80) };
            });
            if (at.isControl) reached.add(at.id);
            if (!at.isShown) faint ??= at.html;
        }
        assert.equal(faint, null, "focus that does not show");
        assert.equal(reached.size, wanted, `controls reached in ${view}`);
    }
});

for (const [width, height, colorScheme] of Looks)
    test(`${width}x${height} ${colorScheme}: nothing is cut off, and axe finds nothing serious`, async () => {
        const page = await open("overview", { viewport: { width, height }, colorScheme });
        await isLive(page);
        await expectFit(page, { width, height });
    });
