// Notes over time: a row for each, a bar for each time it held, on one axis of time.

import { clock, find, make, makeSvg, setAttribute, setText } from "./dom.js";

export class Notes {
    #rows = [];

    constructor(stream) {
        this.place = find("notes");
        this.none = make("p", { class: "hint", hidden: true }, "No notes: nothing has gone wrong.");
        this.list = make("ul", { class: "note-list" });
        this.place.append(this.none, this.list);
        stream.on("notes", (notes) => this.#show(notes));
    }

    #show(notes) {
        const length = (Date.parse(notes.to) - Date.parse(notes.from)) / 1000; // 0 at the first epoch
        const total = Math.max(1, length);
        const isNow = (row) => (row.intervals.at(-1)?.[1] ?? 0) >= length - 0.5;
        // What holds now first, and of that the alarms.
        const rows = notes.rows
            .map((row) => ({ ...row, isNow: isNow(row) }))
            .sort((a, b) => b.isNow - a.isNow || b.alarm - a.alarm || (b.intervals.at(-1)?.[1] ?? 0) - (a.intervals.at(-1)?.[1] ?? 0));
        this.none.hidden = rows.length > 0;
        setText(find("notes-span"), notes.from ? `${clock(notes.from)} – ${clock(notes.to)} UTC` : "");
        while (this.#rows.length > rows.length) this.#rows.pop().item.remove();
        while (this.#rows.length < rows.length) {
            const row = newRow();
            this.#rows.push(row);
            this.list.append(row.item);
        }
        rows.forEach((row, at) => {
            const { item, sign, text, bars } = this.#rows[at];
            setAttribute(item, "class", `${row.isNow ? "holds" : "past"}${row.alarm ? " alarm" : ""}`);
            setText(sign, row.alarm ? "▲" : "•");
            setText(text, row.text);
            setAttribute(item, "title", row.text);
            setAttribute(bars, "aria-label", describe(row, notes.from));
            const path = row.intervals
                .map(([from, to]) => [(1000 * from) / total, Math.max(2.5, (1000 * (to - from)) / total)])
                .map(([x, width]) => `M${Math.min(x, 1000 - width).toFixed(1)} 0h${width.toFixed(1)}v10h-${width.toFixed(1)}z`)
                .join("");
            setAttribute(bars.firstChild, "d", path);
        });
    }
}

function newRow() {
    const sign = make("span", { class: "sign", "aria-hidden": "true" });
    const text = make("span", { class: "what" });
    const bars = makeSvg(
        "svg",
        { viewBox: "0 0 1000 10", preserveAspectRatio: "none", role: "img", "aria-label": "" },
        makeSvg("path", {}),
    );
    return { item: make("li", {}, sign, text, bars), sign, text, bars };
}

function describe(row, from) {
    const last = row.intervals.at(-1);
    if (!last) return "";
    const since = new Date(Date.parse(from) + last[0] * 1000);
    const when = Number.isNaN(since.getTime()) ? "" : ` since ${clock(since.toISOString())}`;
    const times = row.intervals.length === 1 ? "once" : `${row.intervals.length} times`;
    return `${row.alarm ? "Alarm, " : ""}${row.isNow ? `holds${when}` : "over"}, ${times}`;
}
