// The real program (GNSS names it) in a browser: replays of a real log (GNSS_TEST_DATA names its folder), tokens, and
// sources that mean harm.

import assert from "node:assert/strict";
import { execFileSync } from "node:child_process";
import { chmodSync, mkdirSync, mkdtempSync, readdirSync, readFileSync, renameSync, rmSync, writeFileSync } from "node:fs";
import net from "node:net";
import { tmpdir } from "node:os";
import path from "node:path";
import { after, afterEach, before, beforeEach, test } from "node:test";
import * as browser from "./browser.mjs";
import { expectFit, expectHarmless, expectRestyled, Hostile, isLive, open, picture, text, until, Views } from "./browser.mjs";
import { Gnss, Log, program } from "./program.mjs";

const Data = process.env.GNSS_TEST_DATA ?? "";
const ofProgram = { skip: Gnss ? false : "GNSS does not say where the program is" };
const ofData = { skip: ofProgram.skip || (Data ? false : "no test data") };
const folder = mkdtempSync(path.join(tmpdir(), "console-"));
let started = [];

before(browser.launch);
after(async () => {
    await browser.quit();
    rmSync(folder, { recursive: true });
});
beforeEach(browser.begin);
afterEach(async () => {
    try {
        await browser.end();
    } finally {
        for (const one of started.splice(0)) await one.close();
    }
});

async function start(args, where = folder) {
    const one = await program(args, where);
    started.push(one);
    return one.url;
}

const replay = (...options) => start(["replay", ...Log, ...options], path.join(Data, "data"));
const epochShown = (page, time) => page.locator("#tile-age .sub", { hasText: `of ${time} UTC` }).waitFor();

async function goTo(page, time) {
    await page.fill("#replay-time", time);
    await page.keyboard.press("Enter");
    await epochShown(page, time.slice(-8));
}

test("the page of the program is that of the files", ofProgram, async () => {
    const url = await start(["run", "simulator"]);
    const source = new URL("../../host/console/page/", import.meta.url);
    const files = readdirSync(source).filter((name) => /\.(js|css|svg)$/.test(name));
    assert.ok(files.length > 10);
    for (const name of [...files, "uPlot.esm.js", "uPlot.min.css", ""]) {
        const from = name === "" ? "index.html" : name.startsWith("uPlot") ? `node_modules/uplot/dist/${name}` : name;
        const answer = await fetch(name === "" ? url : `${url}/page/${name}`);
        assert.equal(await answer.text(), readFileSync(new URL(from, source), "utf8"), name);
    }
});

test("a replay of a real day obeys, and a way back shows what a way there does", ofData, async () => {
    const url = await replay("--speed", "60");
    const page = await open(url);
    await isLive(page);
    await until(page, () => document.querySelector("#place").innerText.includes("55°"));
    await page.getByText("❚❚ Pause").click();
    await page.getByText("▶ Play").waitFor();
    const before = await text(page, "#tile-age .sub");
    await page.waitForTimeout(6500);
    assert.equal(await text(page, "#tile-age .sub"), before, "paused");
    assert.equal(await page.locator(".panel.stale").count(), 0, "paused is not stale");

    // What a page shows of the run, text by text and the plot by its pixels.
    const shown = async (one) => {
        await one.waitForTimeout(1500);
        const texts = ["#tile-test", "#tile-satellites", "#tile-notes", "#place", "#dop", "#notes-span", "#notes", "#events", "#constellation", "#series-plot .legend"];
        const read = (selectors) => selectors.map((selector) => document.querySelector(selector).textContent);
        const bars = await one.locator("#notes path").evaluateAll((paths) => paths.map((bar) => bar.getAttribute("d")));
        return [...(await one.evaluate(read, texts)), ...bars, await picture(one)];
    };
    await goTo(page, "2020-06-25 06:00:12");
    const first = await shown(page);
    await goTo(page, "2020-06-25 12:03:42");
    assert.match(await text(page, "#tile-satellites"), /16[^]*9 GPS \+ 7 GLONASS/);
    assert.match(await text(page, "#notes"), /R19: rejected by the w-test/);
    await goTo(page, "06:00:12");
    const fresh = await open(url);
    await isLive(fresh);
    await epochShown(fresh, "06:00:12");
    assert.deepEqual(await shown(page), first, "there, on, and back");
    assert.deepEqual(await shown(fresh), first, "another browser");
    await expectFit(page, { width: 1280, height: 800 });
    await page.evaluate(() => (location.hash = "overview"));
    await expectRestyled(page);

    // On and to the end, and from there again; by keyboard.
    await page.selectOption("#replay-speed", "300");
    await page.locator("#replay-play").press("Enter");
    await until(page, () => document.querySelector("#replay-at").textContent > "2020-06-25 06:05:00");
    assert.equal(await text(page, "#series-plot .legend b >> nth=0") === "–", false);
    await page.locator("#replay-seek").press("End");
    await page.getByText("▶ Again").waitFor();
    await epochShown(page, "23:59:12");
    await page.locator("#replay-play").press("Enter");
    await page.getByText("❚❚ Pause").waitFor();
    await until(page, () => /2020-06-2[45] (23:59|00:)/.test(document.querySelector("#replay-at").textContent));
    await until(page, () => /^(23:59|00:)/.test(document.querySelector("#notes-span").textContent));
    await page.locator("#replay-seek").press("Home");
    await until(page, () => /2020-06-2[45] (23:59|00:)/.test(document.querySelector("#replay-at").textContent));
});

test("a phone steers a replay of a real day", ofData, async () => {
    const viewport = { width: 390, height: 844 };
    const page = await open(await replay("--speed", "300"), "overview", { viewport, hasTouch: true, isMobile: true, colorScheme: "light" });
    await isLive(page);
    await page.locator("#replay-play").tap();
    await goTo(page, "2020-06-25 12:03:42");
    await page.locator("#tab-quality").tap();
    await page.locator("#plots canvas").first().waitFor();
    await expectFit(page, viewport);
});

test("tokens: none and a wrong one stay out, one looks, one steers", ofProgram, async () => {
    for (const right of ["view", "steer"]) {
        writeFileSync(path.join(folder, right), `${right}-0123456789abcdef0123456789\n`);
        chmodSync(path.join(folder, right), 0o600);
    }
    writeFileSync(path.join(folder, "tokens.toml"), '[console]\ntoken_always = true\nview_token_file = "view"\nsteer_token_file = "steer"\n');
    const url = await start(["run", "simulator", "--config", "tokens.toml"]);
    assert.equal((await fetch(`${url}/api/panel/fix`)).status, 401);
    const page = await open(url, "satellites");
    const enter = async (token) => {
        await page.fill("#token", token);
        await page.keyboard.press("Enter");
    };
    const switchOff = () =>
        page.evaluate(async () => {
            const headers = { "Content-Type": "application/json" };
            return (await fetch("/api/health", { method: "POST", headers, body: '{"satellite":"G05","enabled":false}' })).status;
        });
    await enter("wrong");
    await page.getByText("not known here").waitFor();
    await page.waitForTimeout(1500); // a failure may be tried again in a second
    await enter("view-0123456789abcdef0123456789");
    await page.waitForSelector("#health button");
    assert.ok(await page.locator("#health button").evaluateAll((buttons) => buttons.every((button) => button.disabled)));
    assert.match(await text(page, "#health-hint"), /not steer/);
    assert.match(await text(page, "#right"), /View only/);
    assert.equal(await switchOff(), 403);
    const [cookie] = await page.context().cookies();
    assert.deepEqual([cookie.httpOnly, cookie.sameSite], [true, "Strict"]);
    assert.doesNotMatch(cookie.value, /0123456789/);

    await page.click("#logout");
    await enter("steer-0123456789abcdef0123456789");
    await page.click("#tab-satellites");
    await page.locator("#health button[aria-label^=G05]:enabled").waitFor();
    assert.equal(await switchOff(), 202);
    await until(page, () => document.querySelector("#health button[aria-label^=G05]").ariaChecked === "false");
    assert.doesNotMatch(await page.content(), /0123456789/);
});

test("a log, its names and a caster that mean harm show as text", ofProgram, async () => {
    // As a name "</script>" is a folder and a file in it; all of it stands in the name of the source.
    const name = `${Hostile[0]}${Hostile[2].replace("</b>", "")}<\u0007\u001b[31m/script><script>window.isHit=1<`;
    const to = path.join(folder, name);
    mkdirSync(path.dirname(to), { recursive: true });
    execFileSync(Gnss, ["simulate", "--duration", "5min", "--warm-up", "30", "--output", path.join(folder, "plain")], { stdio: "ignore" });
    renameSync(path.join(folder, "plain"), to);
    const line = (what, label) => `${what.padEnd(60)}${label}\n`;
    const rinex =
        line("     3.05           OBSERVATION DATA    M (MIXED)", "RINEX VERSION / TYPE") +
        line(Hostile[0], "MARKER NAME") + line(Hostile[1], "REC # / TYPE / VERS") + line(Hostile[2], "COMMENT") +
        line("G    1 C1C", "SYS / # / OBS TYPES") + line(Hostile[0], "TIME OF FIRST OBS") + line("", "END OF HEADER") +
        `> 2025 06 04 12 00 00.0000000  0  2\n${Hostile[0]}\n${Hostile[1]}\n\u0000\u001b[2J\u202e`;
    writeFileSync(path.join(folder, "harm.rnx"), rinex);
    const refuse = (socket) => {
        socket.on("error", () => {});
        socket.once("data", () => socket.end(`HTTP/1.1 403 ${Hostile[0]}${Hostile[1]}\r\nServer: ${Hostile[1]}\r\n\r\n${Hostile[0]}`));
    };
    const caster = net.createServer(refuse).listen(0, "127.0.0.1");
    await new Promise((up) => caster.on("listening", up));
    try {
        const url = await start(["replay", name, "harm.rnx", "--speed", "10"]);
        const page = await open(url, "sources");
        await page.locator("#source-table th", { hasText: Hostile[0] }).waitFor();
        await page.locator("#source-table th", { hasText: "/script><script>window.isHit=1<" }).waitFor();
        await page.locator("#source-table th", { hasText: "&amp;" }).waitFor();
        await isLive(page);
        for (const view of Views) {
            await page.click(`#tab-${view}`);
            await page.waitForTimeout(300);
            await expectHarmless(page);
        }
        const live = await open(await start(["run", "simulator", `ntrip://127.0.0.1:${caster.address().port}/<b>bold&amp;`]), "sources");
        await live.locator("#events td", { hasText: `the caster says "HTTP/1.1 403 ${Hostile[0]}${Hostile[1]}` }).waitFor();
        await live.locator("#source-table td", { hasText: `the caster says "HTTP/1.1 403 ${Hostile[0]}${Hostile[1]}` }).waitFor();
        await isLive(live);
        await expectHarmless(live);
    } finally {
        caster.close();
    }
});
