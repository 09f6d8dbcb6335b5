// Plots over time. All of them share one window of time: the newest minutes, or what has been zoomed to.

import uPlot from "/page/uPlot.esm.js";
import { fixed, make, makeSvg, memory, setAttribute, setText, whole } from "./dom.js";
import { MostRows } from "./series.js";

// Lines of a plot: [column, name, style], where the dashes tell lines apart that colours may not.
export const Kinds = {
    position: {
        name: "Position",
        title: "Position, m from reference",
        lines: [
            ["east", "East", "one"],
            ["north", "North", "two"],
            ["up", "Up", "three"],
        ],
        decimals: 2,
        unit: "m",
    },
    dop: {
        name: "DOP",
        title: "DOP",
        lines: [
            ["hdop", "HDOP", "one"],
            ["pdop", "PDOP", "two"],
        ],
        decimals: 2,
        fromZero: true,
    },
    f: {
        name: "F-test",
        title: "F-test against its limit",
        lines: [
            ["f", "F", "one"],
            ["f_limit", "Limit", "limit"],
        ],
        decimals: 2,
        fromZero: true,
    },
    w: {
        name: "w-test",
        title: "Largest w against its limit",
        lines: [
            ["max_w", "Largest |w|", "one"],
            ["w_limit", "Limit", "limit"],
        ],
        decimals: 2,
        fromZero: true,
    },
    reliability: {
        name: "Reliability",
        title: "External reliability, m",
        lines: [
            ["ext2d", "Horizontal", "one"],
            ["ext_h", "Height", "two"],
        ],
        decimals: 1,
        unit: "m",
        fromZero: true,
    },
    satellites: {
        name: "Satellites",
        title: "Satellites used",
        lines: [
            ["used_gps", "GPS", "one"],
            ["used_glonass", "GLONASS", "two"],
            ["rejected", "Rejected", "limit"],
        ],
        decimals: 0,
        fromZero: true,
        isStepped: true,
    },
};

const Dashes = { one: [], two: [7, 3], three: [2, 3], limit: [10, 3, 2, 3] };
const Spans = [
    [300, "5 min"],
    [1800, "30 min"],
    [14400, "4 h"],
    [0, "All"],
];

// What part of the time axis is shown: the last `span` seconds, or from..to once somebody has zoomed.
class Window extends EventTarget {
    #span = memory.get("span", null);
    zoom = null;

    constructor(series) {
        super();
        this.series = series;
        // Nothing is left to be seen of the part zoomed to: a replay was put back, or the history begins later now.
        series.addEventListener("change", () => {
            const [first, latest] = [series.get("t")[0], series.latest("t")];
            if (this.zoom && latest !== null && (latest < this.zoom[0] || first > this.zoom[1])) this.follow();
        });
        series.addEventListener("reset", () => {
            if (this.zoom) this.follow();
        });
    }

    // Until somebody chooses: a few hundred epochs.
    get span() {
        if (Spans.some(([seconds]) => seconds === this.#span)) return this.#span;
        return this.series.interval >= 5 ? 14400 : 300;
    }

    get range() {
        if (this.zoom) return this.zoom;
        const to = this.series.latest("t") ?? Date.now() / 1000;
        const first = this.series.get("t")[0] ?? to - 300;
        return [this.span === 0 ? Math.min(first, to - 60) : to - this.span, to];
    }

    follow(span) {
        if (span !== undefined) {
            this.#span = span;
            memory.set("span", span);
        }
        this.zoom = null;
        this.dispatchEvent(new Event("change"));
    }

    zoomTo(from, to) {
        if (!(to - from >= 2 * this.series.interval)) return;
        this.zoom = [from, to];
        this.dispatchEvent(new Event("change"));
    }

    // About its middle, or to a side by a share of its width.
    scale(factor, shift = 0) {
        const [from, to] = this.range;
        const middle = (from + to) / 2 + shift * (to - from);
        this.zoomTo(middle - ((to - from) * factor) / 2, middle + ((to - from) * factor) / 2);
    }
}

export class Plots {
    #plots = [];
    #due = false;

    constructor(series) {
        this.series = series;
        this.window = new Window(series);
        series.addEventListener("change", () => this.#draw());
        this.window.addEventListener("change", () => this.#draw());
        document.addEventListener("themechange", () => {
            for (const plot of this.#plots) plot.make();
        });
        for (const place of document.querySelectorAll("[data-spans]")) this.#addButtons(place);
    }

    add(place, kind) {
        const plot = new Plot(place, kind, this.series, this.window);
        this.#plots.push(plot);
        return plot;
    }

    // Once a frame is enough.
    #draw() {
        if (this.#due) return;
        this.#due = true;
        requestAnimationFrame(() => {
            this.#due = false;
            for (const plot of this.#plots) plot.draw();
        });
    }

    #addButtons(place) {
        const button = (text, label, act) =>
            make("button", { type: "button", class: "quiet", "aria-label": label, title: label, onclick: act }, text);
        const spans = Spans.map(([span, text]) => {
            const one = button(text, span ? `Show the last ${text}` : `Show all that is kept, at most ${MostRows} epochs`, () => this.window.follow(span));
            const mark = () =>
                setAttribute(one, "aria-pressed", String(!this.window.zoom && this.window.span === span));
            this.window.addEventListener("change", mark);
            this.series.addEventListener("change", mark);
            mark();
            return one;
        });
        place.append(
            ...spans,
            button("◂", "Earlier", () => this.window.scale(1, -0.5)),
            button("▸", "Later", () => this.window.scale(1, 0.5)),
            button("+", "Zoom in", () => this.window.scale(0.5)),
            button("−", "Zoom out", () => this.window.scale(2)),
        );
    }
}

class Plot {
    #plot = null;

    constructor(place, kind, series, window) {
        this.place = place;
        this.series = series;
        this.window = window;
        this.legend = make("ul", { class: "legend" });
        this.box = make("div", { class: "plot-box", role: "img" });
        place.replaceChildren(this.legend, this.box);
        this.show(kind);
        new ResizeObserver(() => this.#resize()).observe(this.box);
    }

    show(kind) {
        this.kind = Kinds[kind] ?? Kinds.position;
        this.make();
    }

    // Anew, with the colours of the page as they are now.
    make() {
        this.#plot?.destroy();
        const colours = getComputedStyle(document.documentElement);
        const colour = (name) => colours.getPropertyValue(`--${name}`).trim();
        const axis = {
            stroke: colour("muted"),
            grid: { stroke: colour("grid"), width: 1 },
            ticks: { stroke: colour("grid"), width: 1, size: 4 },
            font: "12px Inter, system-ui, sans-serif",
        };
        this.#plot = new uPlot(
            {
                width: 300,
                height: 150,
                padding: [8, 20, 0, 0], // half of a time at the right end
                legend: { show: false },
                tzDate: (t) => uPlot.tzDate(new Date(t * 1000), "Etc/UTC"),
                cursor: {
                    sync: { key: "console" },
                    drag: { x: true, y: false, setScale: false },
                    points: { size: 7 },
                    bind: { dblclick: () => () => this.window.follow() },
                },
                scales: { x: { time: true }, y: { range: (_, low, high) => this.#room(low, high) } },
                axes: [
                    { ...axis, size: 26, gap: 3, space: 60, values: (_, times, __, ___, step) => times.map((t) => clockOf(t, step)) },
                    { ...axis, size: 46, gap: 4, values: (_, values) => values.map((v) => axisText(v)) },
                ],
                series: [
                    {},
                    ...this.kind.lines.map(([, name, style]) => ({
                        label: name,
                        stroke: colour(`line-${style}`),
                        width: 1.6,
                        dash: Dashes[style],
                        points: { show: false },
                        paths: this.kind.isStepped ? uPlot.paths.stepped({ align: 1 }) : undefined,
                    })),
                ],
                hooks: {
                    setSelect: [
                        (plot) => {
                            const { left, width } = plot.select;
                            if (width < 4) return;
                            this.window.zoomTo(plot.posToVal(left, "x"), plot.posToVal(left + width, "x"));
                            plot.setSelect({ left: 0, top: 0, width: 0, height: 0 }, false);
                        },
                    ],
                    setCursor: [() => this.#tell()],
                },
            },
            [[]],
            this.box,
        );
        this.values = this.kind.lines.map(([, name, style]) => {
            const value = make("b", { class: "digits" });
            const sample = makeSvg(
                "svg",
                { width: 26, height: 10, "aria-hidden": "true", class: `sample line-${style}` },
                makeSvg("line", { x1: 0, x2: 26, y1: 5, y2: 5, "stroke-dasharray": Dashes[style].join(" ") }),
            );
            return { item: make("li", {}, sample, `${name} `, value), value };
        });
        this.time = make("li", { class: "digits" });
        this.legend.replaceChildren(...this.values.map(({ item }) => item), this.time);
        this.#resize();
    }

    draw() {
        if (!this.#plot || this.box.offsetWidth === 0) return;
        const [from, to] = this.window.range;
        this.data = this.series.cut(this.kind.lines.map(([name]) => name), from, to);
        this.#plot.batch(() => {
            this.#plot.setData(this.data, false);
            this.#plot.setScale("x", { min: from, max: to });
        });
        this.#tell();
    }

    // Under the cursor, else the newest.
    #tell() {
        if (!this.data) return;
        const at = this.#plot.cursor.idx;
        const isPointed = typeof at === "number" && this.data[0][at] !== undefined;
        const suffix = this.kind.unit ? ` ${this.kind.unit}` : "";
        const spoken = this.kind.lines.map(([column, name], line) => {
            const value = isPointed ? this.data[line + 1][at] : this.series.latest(column);
            const text = `${fixed(value, this.kind.decimals)}${suffix}`;
            setText(this.values[line].value, text);
            return `${name} ${text}`;
        });
        setText(this.time, isPointed ? clockOf(this.data[0][at], 1) : this.window.zoom ? "Zoomed" : "");
        this.box.setAttribute("aria-label", `${this.kind.title}: ${spoken.join(", ")}`);
    }

    #resize() {
        const width = this.box.clientWidth;
        const height = this.box.clientHeight;
        if (!this.#plot || width === 0 || height === 0) return;
        this.#plot.setSize({ width, height });
        this.draw();
    }

    // A little air about the lines; a line that does not move is not blown up to fill the plot.
    #room(low, high) {
        if (low === null || high === null) return [0, 1];
        const least = this.kind.fromZero ? Math.min(0, low) : low;
        const air = Math.max((high - least) * 0.08, this.kind.decimals === 0 ? 0.5 : 0.02);
        return [this.kind.fromZero ? least : low - air, high + air];
    }
}

function clockOf(seconds, step) {
    const text = new Date(seconds * 1000).toISOString();
    if (step >= 86400) return text.slice(5, 10);
    return text.slice(11, step >= 60 ? 16 : 19);
}

function axisText(value) {
    return Number.isInteger(value) ? whole(value) : fixed(value, 3).replace(/0+$/, "");
}
