// What the stores hold, as the library's own views tell it, to look at and to copy.

import { find, make, memory, setAttribute, setText } from "./dom.js";
import { getJson } from "./stream.js";

const Kinds = [
    ["almanac", "Almanac"],
    ["ephemeris", "GPS ephemerides"],
    ["glonass", "GLONASS ephemerides"],
];

export class Stores {
    #kind = "almanac";
    #text = "";
    #shown = "";
    #asked = null; // the newest request, until it is answered

    constructor(stream) {
        this.stream = stream;
        this.place = find("store");
        this.said = find("store-said");
        const stored = memory.get("store", "almanac");
        if (Kinds.some(([kind]) => kind === stored)) this.#kind = stored;
        this.buttons = Kinds.map(([kind, name]) =>
            make("button", { type: "button", "data-store": kind, onclick: () => this.#choose(kind) }, name),
        );
        find("store-kind").append(...this.buttons);
        this.glonass = find("store-glonass");
        this.glonass.checked = memory.get("store-glonass", true) !== false;
        this.glonass.addEventListener("change", () => {
            memory.set("store-glonass", this.glonass.checked);
            this.#fetch();
        });
        this.record = find("store-record");
        this.record.replaceChildren(
            ...Array.from({ length: 10 }, (_, at) => make("option", { value: at }, at === 0 ? "Newest" : `${at} before`)),
        );
        this.record.addEventListener("change", () => this.#fetch());
        find("store-copy").addEventListener("click", () => this.#copy());
        this.#mark();
        stream.on("stores", () => this.#fetch());
        // Ages in the views move with the time of the data.
        stream.on("run", () => this.#fetch());
        stream.addEventListener("state", () => {
            if (stream.state === "lost") this.#shown = ""; // the next server may count its changes alike
        });
    }

    #choose(kind) {
        this.#kind = kind;
        memory.set("store", kind);
        this.#mark();
        this.#fetch();
    }

    #mark() {
        for (const button of this.buttons)
            setAttribute(button, "aria-pressed", String(button.dataset.store === this.#kind));
        // Only the almanac has both systems in one view.
        this.glonass.disabled = this.#kind !== "almanac";
        this.record.disabled = this.#kind === "almanac";
    }

    // Only while somebody looks.
    show() {
        this.#fetch();
    }

    async #fetch() {
        const stores = this.stream.latest("stores");
        if (find("stores").hidden || !stores) return;
        const choice = this.#kind === "almanac" ? `glonass=${this.glonass.checked ? 1 : 0}` : `record=${this.record.value}`;
        const address = `/api/store/${this.#kind}?${choice}`;
        const minute = String(this.stream.latest("run")?.now).slice(0, 16);
        const wanted = `${address}#${stores[this.#kind]?.changed} ${minute}`;
        // What has moved since it was asked for is fetched with the next text of the run.
        if (wanted === this.#shown || address === this.#asked?.address) return;
        const asked = { address };
        this.#asked = asked;
        this.#shown = wanted;
        try {
            const view = await getJson(address);
            if (asked === this.#asked) this.#draw(view);
        } catch (error) {
            if (asked === this.#asked) {
                this.#shown = "";
                setText(this.said, `Not fetched: ${error.message}`);
            }
        }
        if (asked === this.#asked) this.#asked = null;
    }

    #draw(view) {
        this.#text = view.text ?? "";
        setText(this.said, "");
        const tables = (view.tables ?? []).filter((table) => table.rows.length > 0);
        this.place.replaceChildren(
            ...(tables.length > 0 ? tables.map(newTable) : [make("p", { class: "hint" }, "Nothing in this store yet.")]),
        );
        find("store-copy").disabled = this.#text === "";
    }

    async #copy() {
        const isCopied = (await copyText(this.#text)) ? "Copied: paste it into a spreadsheet." : "This browser does not let the page copy.";
        setText(this.said, isCopied);
    }
}

// Places of cells that stand out or matter less are [row, column]; after a row with a rule comes another subject.
function newTable({ title, columns, rows, alerts = [], faint = [], rules = [] }) {
    const marks = new Map([
        ...faint.map((place) => [place.join(), "idle"]),
        ...alerts.map((place) => [place.join(), "bad"]),
    ]);
    const newCell = (cell, row, column) => {
        const attributes = column === 0 ? { scope: "row" } : { class: marks.get(`${row},${column}`) };
        return make(column === 0 ? "th" : "td", attributes, String(cell ?? ""));
    };
    const heads = columns.map((column) => make("th", { scope: "col" }, String(column)));
    const lines = rows.map((row, at) =>
        make("tr", { class: rules.includes(at) ? "rule" : null }, row.map((cell, column) => newCell(cell, at, column))),
    );
    return make("table", { class: "store" }, make("caption", {}, title ?? ""), make("thead", {}, make("tr", {}, heads)), make("tbody", {}, lines));
}

// The clipboard is for secure pages; plain HTTP from another machine has the old way.
export async function copyText(text) {
    if (navigator.clipboard && isSecureContext) {
        try {
            await navigator.clipboard.writeText(text);
            return true;
        } catch {
            // Forbidden: the old way may do.
        }
    }
    const area = make("textarea", { class: "unseen copied", readonly: true, "aria-hidden": "true" });
    area.value = text;
    const focused = document.activeElement;
    document.body.append(area);
    area.select();
    let isCopied = false;
    try {
        isCopied = document.execCommand("copy");
    } catch {
        // Neither way.
    }
    area.remove();
    focused?.focus();
    return isCopied;
}
