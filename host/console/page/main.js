// The console: who may come in, the connection, the views, and the age of everything.

import { find, make, memory, setAttribute, setText, span } from "./dom.js";
import { Health } from "./health.js";
import { enter, leave } from "./login.js";
import { Notes } from "./notes.js";
import { Kinds, Plots } from "./plots.js";
import { Position } from "./position.js";
import { Replay } from "./replay.js";
import { Residuals } from "./residuals.js";
import { Series } from "./series.js";
import { Sky } from "./sky.js";
import { Stores } from "./stores.js";
import { secondsToTry, Stream } from "./stream.js";
import { showConstellation, showEvents, showRun, showSources } from "./tables.js";
import { Verdict } from "./verdict.js";

const Views = ["overview", "quality", "satellites", "stores", "sources"];

function showTheme() {
    const button = find("theme");
    const name = () => {
        const choice = window.consoleTheme.choice;
        const signs = { auto: "◐ Auto", light: "☀ Light", dark: "☾ Dark" };
        setText(button, signs[choice]);
        setAttribute(button, "title", "Colours: as the machine has them, light or dark");
    };
    button.addEventListener("click", () => {
        window.consoleTheme.next();
        name();
    });
    name();
}

// Tabs: arrow keys move, and the address remembers.
function showViews(onView) {
    const tabs = Views.map((view) => find(`tab-${view}`));
    const choose = (view) => {
        Views.forEach((one, at) => {
            find(one).hidden = one !== view;
            setAttribute(tabs[at], "aria-selected", String(one === view));
            tabs[at].tabIndex = one === view ? 0 : -1;
        });
        onView(view);
    };
    const current = () => (Views.includes(location.hash.slice(1)) ? location.hash.slice(1) : "overview");
    tabs.forEach((tab, at) => {
        tab.addEventListener("click", () => {
            history.replaceState(null, "", `#${Views[at]}`);
            choose(Views[at]);
        });
        tab.addEventListener("keydown", (event) => {
            const step = { ArrowRight: 1, ArrowLeft: -1 }[event.key];
            const to = event.key === "Home" ? 0 : event.key === "End" ? tabs.length - 1 : step ? at + step : null;
            if (to === null) return;
            event.preventDefault();
            const next = tabs[(to + tabs.length) % tabs.length];
            next.focus();
            next.click();
        });
    });
    addEventListener("hashchange", () => choose(current()));
    choose(current());
}

function showPlots(series) {
    const plots = new Plots(series);
    const select = find("series-kind");
    select.replaceChildren(...Object.entries(Kinds).map(([kind, { name }]) => make("option", { value: kind }, name)));
    const stored = memory.get("series", "position");
    select.value = stored in Kinds ? stored : "position";
    const main = plots.add(find("series-plot"), select.value);
    select.addEventListener("change", () => {
        memory.set("series", select.value);
        main.show(select.value);
    });
    for (const [kind, { title }] of Object.entries(Kinds)) {
        const place = make("div", { class: "plot" });
        const id = `plot-${kind}`;
        find("plots").append(
            make(
                "section",
                { class: "panel", "data-panel": "series", "aria-labelledby": id },
                make("header", {}, make("h2", { id }, title)),
                place,
            ),
        );
        plots.add(place, kind);
    }
    plots.window.addEventListener("change", () =>
        setText(find("window"), plots.window.zoom ? "Zoomed: choose a span to follow again" : "Drag across a plot to zoom"),
    );
    return plots;
}

// Age of each panel in its corner, and grey where it is too old.
function addAges(stream) {
    const panels = [...document.querySelectorAll("[data-panel]")].map((panel) => {
        const age = make("span", { class: "age" });
        panel.querySelector("header").append(age);
        return { panel, age, name: panel.dataset.panel };
    });
    return () => {
        for (const { panel, age, name } of panels) {
            const seconds = stream.age(name);
            const isStale = seconds !== null && stream.isStale(name);
            const resting = stream.isResting() && stream.state === "open" ? stream.latest("run").state : null;
            panel.classList.toggle("stale", isStale);
            panel.classList.toggle("empty", seconds === null);
            const shown = seconds === null ? "no data yet" : (resting ?? (seconds < 10 ? `${Math.floor(seconds)} s` : span(seconds)));
            setText(age, isStale ? `▲ ${shown} old` : seconds === null || resting ? shown : `${shown} ago`);
        }
    };
}

// The banner and the chip: nobody takes an old page for a live one.
function showLink(stream) {
    const isLost = stream.state === "lost" || stream.state === "refused";
    const wasOpen = stream.latest("run") !== null;
    document.body.classList.toggle("lost", isLost && wasOpen);
    const old = stream.lostAt === null ? "old" : `${span(Math.ceil((performance.now() - stream.lostAt) / 1000))} old`;
    const wait = Math.ceil(secondsToTry(stream));
    const banner = find("lost");
    banner.hidden = !isLost;
    const next = wait > 0 ? `next try in ${wait} s` : "trying now";
    if (isLost) setText(find("lost-text"), `${stream.reason}. What you see is ${old}; ${next}.`);
    const link = find("link");
    setText(link, { open: "● Connected", connecting: "… Connecting", lost: "✕ Lost", refused: "✕ Logged out" }[stream.state]);
    setAttribute(link, "data-grade", { open: "good", lost: "bad", refused: "bad" }[stream.state] ?? "");
    if (isLost) document.title = "✕ Connection lost · gnss";
}

async function main() {
    showTheme();
    const link = find("link");
    setText(link, "… Connecting");
    const me = await enter((text) => {
        setText(link, text === null ? "Not logged in" : "… Connecting");
        find("lost").hidden = text === null;
        setText(find("lost-text"), text ?? "");
    });
    find("lost").hidden = true;
    setText(link, "… Connecting");
    find("console").hidden = false;
    const maySteer = me.right === "steer";
    const right = find("right");
    right.hidden = maySteer;
    setText(right, "View only");
    find("logout").hidden = !me.login;
    find("logout").addEventListener("click", leave);

    const stream = new Stream();
    const series = new Series(stream);
    const verdict = new Verdict(stream);
    const plots = showPlots(series);
    new Position(stream);
    new Residuals(stream);
    new Sky(stream);
    new Notes(stream);
    const stores = new Stores(stream);
    new Health(stream, maySteer);
    new Replay(stream, maySteer);
    showConstellation(stream);
    showSources(stream);
    showEvents(stream);
    showRun(stream);
    showViews((view) => {
        if (view === "stores") stores.show();
    });
    plots.window.dispatchEvent(new Event("change"));

    const showAges = addAges(stream);
    const tick = () => {
        showAges();
        verdict.tick();
        showLink(stream);
    };
    stream.addEventListener("state", () => {
        // A session that has run out, or a server begun again: the form for the token.
        if (stream.state === "refused") location.reload();
        tick();
    });
    find("lost-try").addEventListener("click", () => stream.tryNow());
    setInterval(tick, 500);
    stream.start();
}

main();
