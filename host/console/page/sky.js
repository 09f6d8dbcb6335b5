// The sky plot, drawn by the server, and the choices of how it looks.
//
// It is shown as an image: nothing in it can run or load anything.

import { find, make, memory, setText } from "./dom.js";
import { AnswerMS } from "./stream.js";

const AlternateMS = 4000;
// Drawn larger than shown: symbols cover each other less, and their numbers are still read at arm's length.
const SymbolShare = 1.2;
const Modes = [
    ["both", "GPS + GLONASS"],
    ["gps", "GPS"],
    ["glonass", "GLONASS"],
    ["turns", "In turn"],
];
// Names of the server's parameters, what they do and how they are at first.
const Switches = [
    ["circles", "Symbol behind each number", true],
    ["squares", "Squares for GLONASS", true],
    ["elevations", "Ring labels", true],
    ["diagonals", "Diagonals", false],
    ["norvi", "Ring 7° about the zenith", false],
    ["border", "Border", false],
];
const Azimuths = [
    ["letters", "N E S W"],
    ["upright", "Degrees, upright"],
    ["turned1", "Degrees, along the ring"],
    ["turned2", "Degrees, east and west alike"],
    ["none", "None"],
];

export class Sky {
    #style = {};
    #turn = 0; // counts the changes of what is on top, or of the system shown
    #changed = -1;
    #image = null;
    #shown = ""; // address of what is shown or being fetched
    #isBusy = false;

    constructor(stream) {
        this.place = find("sky-plot");
        this.#readStyle();
        this.#addControls();
        this.said = make("p", { class: "sky-system hint" });
        this.place.append(this.said);
        stream.on("sky", (sky) => {
            this.#changed = sky.changed;
            this.#show();
        });
        stream.addEventListener("state", () => {
            if (stream.state === "lost") this.#shown = ""; // the next server may count its changes alike
        });
        document.addEventListener("themechange", () => this.#show());
        new ResizeObserver(() => this.#show()).observe(this.place);
        setInterval(() => {
            ++this.#turn;
            this.#show();
        }, AlternateMS);
    }

    #readStyle() {
        const stored = memory.get("sky", {});
        const one = (choices, value) => (choices.some(([name]) => name === value) ? value : choices[0][0]);
        this.#style = { mode: one(Modes, stored.mode), azimuths: one(Azimuths, stored.azimuths) };
        for (const [name, , atFirst] of Switches)
            this.#style[name] = typeof stored[name] === "boolean" ? stored[name] : atFirst;
    }

    #set(name, value) {
        this.#style[name] = value;
        memory.set("sky", this.#style);
        this.#show();
    }

    #addControls() {
        const select = (element, choices, name) => {
            element.replaceChildren(...choices.map(([value, text]) => make("option", { value }, text)));
            element.value = this.#style[name];
            element.addEventListener("change", () => this.#set(name, element.value));
            return element;
        };
        select(find("sky-mode"), Modes, "mode");
        find("sky-options").replaceChildren(
            ...Switches.map(([name, text]) => {
                const box = make("input", { type: "checkbox", name, checked: this.#style[name] });
                box.addEventListener("change", () => this.#set(name, box.checked));
                return make("label", {}, box, ` ${text}`);
            }),
            make("label", {}, "Azimuths ", select(make("select", { name: "azimuths" }), Azimuths, "azimuths")),
        );
        const details = find("sky-style");
        details.addEventListener("keydown", (event) => {
            if (event.key !== "Escape" || !details.open) return;
            details.open = false;
            details.querySelector("summary").focus();
        });
        document.addEventListener("click", (event) => {
            if (!details.contains(event.target)) details.open = false;
        });
    }

    // One at a time; what has changed meanwhile is fetched next.
    async #show() {
        const side = Math.min(this.place.clientWidth, this.place.clientHeight);
        if (this.#changed < 0 || side < 50) return;
        const system = this.#turn % 2 === 0 ? "gps" : "glonass";
        // Both at once take turns on top, where they cover each other.
        const mode = { both: "alternate", turns: system }[this.#style.mode] ?? this.#style.mode;
        const wanted = new URLSearchParams({
            mode,
            turn: mode === "alternate" ? String(this.#turn % 2) : "0",
            ...Object.fromEntries(Switches.map(([name]) => [name, this.#style[name] ? "1" : "0"])),
            azimuths: this.#style.azimuths,
            palette: document.documentElement.dataset.theme,
            // In steps, so that viewers with windows of nearly the same size share a drawing.
            size: String(Math.min(1000, Math.max(200, Math.round((SymbolShare * side) / 40) * 40))),
            changed: String(this.#changed),
        });
        const address = `/api/sky.svg?${wanted}`;
        if (address === this.#shown || this.#isBusy) return;
        this.#isBusy = true;
        this.#shown = address;
        const image = new Image();
        image.alt = "Sky plot: the satellites by azimuth and elevation; the constellation table has the same in figures";
        image.src = address;
        try {
            await Promise.race([image.decode(), new Promise((_, fail) => setTimeout(fail, AnswerMS))]);
            if (this.#image) this.#image.replaceWith(image);
            else this.place.prepend(image);
            this.#image = image;
            setText(this.said, this.#style.mode === "turns" ? mode.toUpperCase() : "");
        } catch {
            image.removeAttribute("src");
            this.#shown = ""; // with the next change again
            setTimeout(() => this.#show(), 2000);
        }
        this.#isBusy = false;
        if (this.#shown !== "") this.#show();
    }
}
