// The strip that answers at a glance: is the position good?

import { clock, find, fixed, setAttribute, setText, span, whole } from "./dom.js";

// Sign and grade of what the tests say; the words and the sign say it without the colour.
const Tests = {
    passed: ["✓", "good", "Passed"],
    failed: ["✕", "bad", "Failed"],
    "not testable": ["?", "warn", "Not testable"],
    "not identifiable": ["?", "warn", "Not identifiable"],
    "no fix": ["✕", "bad", "No position"],
};

function show(id, figure, sub, grade = "") {
    const tile = find(`tile-${id}`);
    setText(tile.querySelector(".figure"), figure);
    setText(tile.querySelector(".sub"), sub);
    setAttribute(tile, "data-grade", grade);
}

export class Verdict {
    #lastSpoken = "";
    #title = document.title;

    constructor(stream) {
        this.stream = stream;
        stream.on("fix", (fix) => {
            this.#show(fix);
            this.tick();
        });
    }

    #show(fix) {
        const test = fix.fix ? fix.test : "no fix";
        const [sign, grade, word] = Tests[test] ?? ["?", "warn", String(test ?? "Unknown")];
        const ratio =
            typeof fix.f_limit === "number"
                ? `F ${fixed(fix.unit_variance, 2)}, limit ${fixed(fix.f_limit, 2)}`
                : "no redundancy";
        show("test", `${sign} ${word}`, fix.fix ? ratio : (fix.failure ?? ""), grade);

        const rejected = (fix.rejected_gps ?? 0) + (fix.rejected_glonass ?? 0);
        setText(find("tile-satellites").querySelector("h2"), `Satellites used${rejected ? `, ${rejected} rejected` : ""}`);
        show(
            "satellites",
            whole(fix.used),
            `${whole(fix.used_gps)} GPS + ${whole(fix.used_glonass)} GLONASS`,
            rejected ? "warn" : "",
        );
        show("error", `${fixed(fix.ellipse95_major_m, 2)} m`, `height ${fixed(fix.height95_m, 2)} m`);
        show("dop", fixed(fix.hdop, 2), `PDOP ${fixed(fix.pdop, 2)}`);
        show(
            "reliability",
            `${fixed(fix.ext_rel_2d_m, 1)} m`,
            `by ${fix.ext_rel_2d_satellite || "–"}, height ${fixed(fix.ext_rel_height_m, 1)} m`,
        );
        const notes = Array.isArray(fix.notes_text) ? fix.notes_text : [];
        const alarms = notes.filter((note) => note.alarm).length;
        show(
            "notes",
            alarms > 0 ? `▲ ${notes.length}` : String(notes.length),
            alarms > 0 ? `${alarms} ${alarms === 1 ? "alarm" : "alarms"}` : notes.length > 0 ? "no alarm" : "nothing to say",
            alarms > 0 ? "warn" : "",
        );
        this.#title = `${sign} ${word} · ${whole(fix.used)} sat · gnss`;
        this.#speak(fix.fix ? `Test ${word.toLowerCase()}` : "No position");
    }

    // Changes of the verdict only, for those who listen.
    #speak(text) {
        if (text === this.#lastSpoken) return;
        if (this.#lastSpoken !== "") setText(find("spoken"), text);
        this.#lastSpoken = text;
    }

    // Each half second.
    tick() {
        const age = this.stream.age("fix");
        const fix = this.stream.latest("fix");
        const run = this.stream.latest("run");
        const isResting = this.stream.isResting();
        const isStale = this.stream.isStale("fix");
        show(
            "age",
            isResting ? (run.state === "paused" ? "Paused" : "Ended") : age === null ? "–" : span(age),
            fix?.utc ? `of ${clock(fix.utc)} UTC` : "no epoch yet",
            isStale ? "bad" : "",
        );
        document.querySelector(".verdict").classList.toggle("stale", isStale && this.stream.state === "open");
        document.title = isStale && age !== null ? "… no new data · gnss" : this.#title;
    }
}
