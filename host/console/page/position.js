// The position, its covariance and its error ellipse, and the tables of the figures behind it.

import { find, fixed, make, makeSvg, memory, setAttribute, setText, signed, Table, whole } from "./dom.js";

function degrees(value, places, positive, negative, inMinutes) {
    if (typeof value !== "number") return "–";
    const side = value < 0 ? negative : positive;
    const size = Math.abs(value);
    if (!inMinutes) return `${size.toFixed(7)}° ${side}`;
    // Rounded before it is split: no 60.00000'.
    const units = Math.round(size * 60 * 1e5);
    const minutes = (units % 6e6) / 1e5;
    const head = String(Math.floor(units / 6e6)).padStart(places, "0");
    return `${head}° ${minutes.toFixed(5).padStart(8, "0")}′ ${side}`;
}

// A table of figures: rows of [what, value, unit, by which satellite or against what].
class Figures {
    constructor(id, caption, rows) {
        this.rows = rows;
        this.table = new Table(find(id), caption, [
            { head: "Figure", of: ([name]) => name, isText: true },
            { head: "Value", of: ([, value, unit]) => (unit ? `${value} ${unit}` : value) },
            { head: "Of", of: ([, , , by]) => by ?? "", isText: true },
        ]);
        find(id).tHead.classList.add("unseen");
    }

    show(fix) {
        this.table.show(this.rows(fix));
    }
}

export class Position {
    #inMinutes = memory.get("minutes", true) !== false;

    constructor(stream) {
        this.stream = stream;
        const button = find("position-form");
        const name = () => {
            setText(button, this.#inMinutes ? "dd° mm′" : "dd.ddd°");
            setAttribute(button, "title", this.#inMinutes ? "Show decimal degrees" : "Show degrees and minutes");
        };
        button.addEventListener("click", () => {
            this.#inMinutes = !this.#inMinutes;
            memory.set("minutes", this.#inMinutes);
            name();
            const fix = stream.latest("fix");
            if (fix) this.#showPlace(fix);
        });
        name();
        this.fields = {};
        for (const [key, text] of [
            ["latitude", "Latitude"],
            ["longitude", "Longitude"],
            ["height", "Height above ellipsoid"],
            ["sd", "Standard deviation E, N, U"],
            ["speed", "Speed and course over ground"],
        ]) {
            this.fields[key] = make("dd", { class: ["sd", "speed"].includes(key) ? "small" : "big" });
            find("place").append(make("div", {}, make("dt", {}, text), this.fields[key]));
        }
        this.ellipse = new Ellipse(find("ellipse"));
        this.dop = new Table(
            find("dop"),
            "Dilution of precision",
            ["gdop", "pdop", "hdop", "vdop", "tdop", "edop", "ndop"].map((key) => ({
                head: key.toUpperCase(),
                of: (fix) => fixed(fix[key], 2),
            })),
        );
        this.covariance = new Table(find("covariance"), "Covariance of the position", [
            { head: "Covariance, m²", of: (row) => row[0], isText: true },
            ...["East", "North", "Up"].map((head, at) => ({ head, of: (row) => fixed(row[at + 1], 4) })),
            { head: "SD", unit: "m", of: (row) => fixed(row[4], 3) },
        ]);
        this.tests = new Figures("figures", "Tests and reliability", testRows);
        this.velocity = new Figures("velocity", "Velocity and clocks", velocityRows);
        stream.on("fix", (fix) => this.#show(fix));
    }

    #showPlace(fix) {
        setText(this.fields.latitude, degrees(fix.latitude_deg, 2, "N", "S", this.#inMinutes));
        setText(this.fields.longitude, degrees(fix.longitude_deg, 3, "E", "W", this.#inMinutes));
    }

    #show(fix) {
        this.#showPlace(fix);
        setText(this.fields.height, `${fixed(fix.height_m, 2)} m`);
        setText(this.fields.sd, `${fixed(fix.sd_east_m, 2)}, ${fixed(fix.sd_north_m, 2)}, ${fixed(fix.sd_up_m, 2)} m`);
        setText(this.fields.speed, `${fixed(fix.sog_m_s, 2)} m/s, ${fixed(fix.cmg_deg, 0)}°`);
        this.ellipse.show(fix);
        this.dop.show([fix]);
        const square = (sd) => (typeof sd === "number" ? sd * sd : null);
        this.covariance.show([
            ["East", square(fix.sd_east_m), fix.cov_east_north_m2, fix.cov_east_up_m2, fix.sd_east_m],
            ["North", fix.cov_east_north_m2, square(fix.sd_north_m), fix.cov_north_up_m2, fix.sd_north_m],
            ["Up", fix.cov_east_up_m2, fix.cov_north_up_m2, square(fix.sd_up_m), fix.sd_up_m],
        ]);
        this.tests.show(fix);
        this.velocity.show(fix);
    }
}

function testRows(fix) {
    return [
        ["F-test", fixed(fix.unit_variance, 3), "", `limit ${fixed(fix.f_limit, 3)}, ${fix.f_test ?? "–"}`],
        ["w-test, largest", fixed(fix.max_w, 2), "", `${fix.max_w_satellite || "–"}, limit ${fixed(fix.w_limit, 2)}`],
        ["Redundancy", whole(fix.redundancy), "", `${whole(fix.unchecked)} unchecked`],
        ["RMS of residuals", fixed(fix.residual_rms_m, 2), "m"],
        ["Marginally detectable", fixed(fix.mdb_m, 2), "m", fix.mdb_satellite],
        [
            "External rel. 2D",
            fixed(fix.ext_rel_2d_m, 2),
            "m",
            `${fix.ext_rel_2d_satellite || "–"}, ${fixed(fix.ext_rel_2d_bearing_deg, 0)}°`,
        ],
        ["External rel. height", fixed(fix.ext_rel_height_m, 2), "m", fix.ext_rel_height_satellite],
        ["External rel. 3D", fixed(fix.ext_rel_3d_m, 2), "m", fix.ext_rel_3d_satellite],
        [
            "Ellipse 95 %",
            `${fixed(fix.ellipse95_major_m, 2)} × ${fixed(fix.ellipse95_minor_m, 2)}`,
            "m",
            `${fixed(fix.ellipse95_bearing_deg, 0)}°`,
        ],
        ["Height 95 %", fixed(fix.height95_m, 2), "m"],
    ];
}

function velocityRows(fix) {
    return [
        ["East", signed(fix.v_east_m_s, 3), "m/s", `± ${fixed(fix.sd_v_east_m_s, 3)}`],
        ["North", signed(fix.v_north_m_s, 3), "m/s", `± ${fixed(fix.sd_v_north_m_s, 3)}`],
        ["Up", signed(fix.v_up_m_s, 3), "m/s", `± ${fixed(fix.sd_v_up_m_s, 3)}`],
        ["Speed over ground", fixed(fix.sog_m_s, 3), "m/s"],
        ["Course made good", fixed(fix.cmg_deg, 1), "°"],
        ["Range rates used", whole(fix.rates_used), "", `${whole(fix.rates_rejected)} rejected`],
        ["Clock GPS", signed(fix.clock_gps_m, 1), "m"],
        ["Clock GLONASS", signed(fix.clock_glonass_m, 1), "m"],
        ["Clock drift", signed(fix.clock_drift_m_s, 3), "m/s"],
        ["X", fixed(fix.x_m, 3), "m"],
        ["Y", fixed(fix.y_m, 3), "m"],
        ["Z", fixed(fix.z_m, 3), "m"],
    ];
}

// To scale, north up, with a ring of a round number of metres.
class Ellipse {
    constructor(place) {
        this.ring = makeSvg("circle", { r: 80, class: "ring" });
        this.half = makeSvg("circle", { r: 40, class: "ring" });
        this.scale = makeSvg("text", { x: 4, y: -83, class: "label" });
        this.shape = makeSvg("ellipse", { class: "shape" });
        this.deviations = makeSvg("path", { class: "deviations" });
        this.reach = makeSvg("line", { x1: 0, y1: 0, class: "reach" });
        this.svg = makeSvg(
            "svg",
            { viewBox: "-100 -100 200 200", role: "img" },
            this.ring,
            this.half,
            makeSvg("path", { d: "M-96 0H96M0-96V96", class: "cross" }),
            this.scale,
            makeSvg("text", { x: -4, y: -89, class: "label end" }, "N"),
            this.shape,
            this.deviations,
            this.reach,
            makeSvg("circle", { r: 2.5, class: "point" }),
        );
        this.said = make("p", { class: "hint" });
        this.reliability = make("span", {});
        const sample = makeSvg(
            "svg",
            { width: 26, height: 10, viewBox: "0 0 26 10", "aria-hidden": "true", class: "sample" },
            makeSvg("line", { x1: 0, x2: 26, y1: 5, y2: 5, class: "reach" }),
        );
        place.append(this.svg, this.said, make("p", { class: "hint" }, sample, this.reliability));
    }

    show(fix) {
        const major = fix.ellipse95_major_m;
        const minor = fix.ellipse95_minor_m;
        const isKnown = typeof major === "number" && typeof minor === "number";
        for (const part of [this.shape, this.deviations, this.reach, this.scale])
            part.classList.toggle("unseen", !isKnown);
        if (!isKnown) {
            setText(this.said, "No ellipse");
            return setAttribute(this.svg, "aria-label", "No error ellipse");
        }
        const reach = fix.ext_rel_2d_m ?? 0;
        const radius = roundUp(Math.max(major, reach) * 1.05); // m of the ring
        const scale = 80 / radius;
        setText(this.scale, `${radius} m`);
        setAttribute(this.shape, "rx", (major * scale).toFixed(2));
        setAttribute(this.shape, "ry", (minor * scale).toFixed(2));
        setAttribute(this.shape, "transform", `rotate(${(fix.ellipse95_bearing_deg - 90).toFixed(1)})`);
        const [east, north] = [fix.sd_east_m * scale, fix.sd_north_m * scale].map((one) => one.toFixed(2));
        setAttribute(this.deviations, "d", `M-${east} 0H${east}M0-${north}V${north}`);
        const bearing = ((fix.ext_rel_2d_bearing_deg ?? 0) * Math.PI) / 180;
        setAttribute(this.reach, "x2", (reach * scale * Math.sin(bearing)).toFixed(2));
        setAttribute(this.reach, "y2", (-reach * scale * Math.cos(bearing)).toFixed(2));
        const text = `${fixed(major, 2)} × ${fixed(minor, 2)} m, ${fixed(fix.ellipse95_bearing_deg, 0)}°`;
        setText(this.said, `95 %: ${text}`);
        setText(this.reliability, `external reliability ${fixed(reach, 1)} m`);
        setAttribute(
            this.svg,
            "aria-label",
            `Error ellipse of 95 %: ${text}; external reliability ${fixed(reach, 2)} m; ring of ${radius} m`,
        );
    }
}

// A round number that is not less.
function roundUp(value) {
    const power = 10 ** Math.floor(Math.log10(Math.max(value, 1e-3)));
    const step = [1, 1.5, 2, 3, 4, 5, 6, 8, 10].find((one) => one * power >= value) ?? 10;
    return Number((step * power).toPrecision(2));
}
