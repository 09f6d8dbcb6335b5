// The w-test by satellite: bars against the limit, and residuals as a table.

import { find, fixed, makeSvg, setAttribute, setText, signed, Table } from "./dom.js";

// What a satellite's test came to: its class and sign.
function gradeOf(row) {
    if (row.use === "rejected") return ["rejected", "✕"];
    if (String(row.w_test ?? "").startsWith("failed")) return ["failed", "▲"];
    return [row.satellite?.startsWith("R") ? "glonass" : "gps", ""];
}

function wOf(row) {
    return row.use === "rejected" ? row.rejected_w : row.w;
}

export class Residuals {
    constructor(stream) {
        this.stream = stream;
        this.place = find("bars");
        this.svg = makeSvg("svg", { role: "img", "aria-label": "w-test by satellite" });
        this.place.append(this.svg);
        this.table = new Table(find("residuals"), "Residuals and w-test by satellite", [
            { head: "Sat", of: (row) => row.satellite ?? "" },
            { head: "Residual", unit: "m", of: (row) => signed(row.residual_m, 2) },
            { head: "SD", unit: "m", of: (row) => fixed(row.sd_m, 2) },
            { head: "w", of: (row) => signed(wOf(row), 2), classOf: (row) => `w-${gradeOf(row)[0]}` },
            { head: "w-test", of: (row) => row.w_test || "–", isText: true, classOf: (row) => `w-${gradeOf(row)[0]}` },
            { head: "Red.", title: "Redundancy number", of: (row) => fixed(row.redundancy, 2) },
            { head: "MDE", unit: "m", title: "Marginally detectable error", of: (row) => fixed(row.mde_m, 1) },
            { head: "East", unit: "m", title: "Effect of the MDE to the east", of: (row) => signed(row.effect_east_m, 1) },
            { head: "North", unit: "m", title: "Effect of the MDE to the north", of: (row) => signed(row.effect_north_m, 1) },
            { head: "Up", unit: "m", title: "Effect of the MDE upwards", of: (row) => signed(row.effect_up_m, 1) },
        ]);
        stream.on("satellites", () => this.#show());
        new ResizeObserver(() => this.#show()).observe(this.place);
    }

    #show() {
        const satellites = this.stream.latest("satellites");
        if (!satellites) return;
        const rows = satellites.rows
            .filter((row) => typeof row.residual_m === "number" || row.use === "rejected")
            .sort((a, b) => (String(a.satellite) < String(b.satellite) ? -1 : 1));
        this.table.show(rows);
        const limit = this.stream.latest("fix")?.w_limit;
        setText(find("residuals-limit"), typeof limit === "number" ? `limit ±${fixed(limit, 2)}` : "not testable");
        this.#draw(rows.filter((row) => typeof wOf(row) === "number"), limit ?? 3);
    }

    #draw(rows, limit) {
        const width = this.place.clientWidth;
        const height = this.place.clientHeight;
        if (width === 0 || height === 0) return;
        // Far beyond the limit all is the same, and the others stay readable.
        const most = Math.min(2.5 * limit, Math.max(1.35 * limit, ...rows.map((row) => Math.abs(wOf(row)) * 1.05)));
        const [left, foot, head] = [34, 36, 8];
        const middle = head + (height - head - foot) / 2;
        const scale = (height - head - foot) / 2 / most;
        const step = (width - left - 4) / Math.max(rows.length, 1);
        const thick = Math.min(26, step * 0.66);
        const y = (w) => middle - Math.max(-most, Math.min(most, w)) * scale;
        const parts = [];
        for (const [value, name] of [
            [limit, "limit"],
            [0, "zero"],
            [-limit, "limit"],
        ]) {
            parts.push(makeSvg("line", { x1: left, x2: width - 4, y1: y(value), y2: y(value), class: name }));
            parts.push(makeSvg("text", { x: left - 5, y: y(value) + 4, class: "label end" }, value === 0 ? "0" : signed(value, 1)));
        }
        // The number under each bar, and the system under its own: short enough to be large.
        for (const [letter, system] of [
            ["G", "GPS"],
            ["R", "GLONASS"],
        ]) {
            const first = rows.findIndex((row) => row.satellite.startsWith(letter));
            const number = rows.filter((row) => row.satellite.startsWith(letter)).length;
            if (number === 0) continue;
            const [from, to] = [left + step * first + 3, left + step * (first + number) - 3];
            parts.push(makeSvg("line", { x1: from, x2: to, y1: height - 17, y2: height - 17, class: "zero" }));
            parts.push(makeSvg("text", { x: (from + to) / 2, y: height - 4, class: "name system" }, number > 2 ? system : letter));
        }
        rows.forEach((row, at) => {
            const w = wOf(row);
            const [grade, sign] = gradeOf(row);
            const x = left + step * (at + 0.5);
            const top = Math.min(y(w), middle);
            parts.push(
                makeSvg(
                    "rect",
                    { x: x - thick / 2, y: top, width: thick, height: Math.max(1.5, Math.abs(y(w) - middle)), rx: 2, class: grade },
                    makeSvg("title", {}, `${row.satellite}: w ${signed(w, 2)}, residual ${signed(row.residual_m, 2)} m, ${row.w_test}`),
                ),
            );
            if (sign) parts.push(makeSvg("text", { x, y: w < 0 ? y(w) + 12 : y(w) - 3, class: `sign ${grade}` }, sign));
            if (step > 13 || at % 2 === 0)
                parts.push(makeSvg("text", { x, y: height - 22, class: "name" }, row.satellite.slice(1)));
        });
        setAttribute(this.svg, "viewBox", `0 0 ${width} ${height}`);
        this.svg.replaceChildren(...parts);
        const failed = rows.filter((row) => gradeOf(row)[1] !== "").map((row) => row.satellite);
        setAttribute(
            this.svg,
            "aria-label",
            `w-test of ${rows.length} satellites, limit ${fixed(limit, 2)}: ${failed.length ? `beyond: ${failed.join(", ")}` : "all within"}`,
        );
    }
}
