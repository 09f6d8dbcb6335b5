// A server that speaks as the console's does, with a made-up sky that moves: to work on the page and to test it without
// the program. `node mock.mjs [--port 8081] [--kind live|replay] [--right steer|view] [--token T] [--trouble]`

import { readFile } from "node:fs/promises";
import http from "node:http";
import { fileURLToPath } from "node:url";
import { parseArgs } from "node:util";

const PageFolder = new URL("../../host/console/page/", import.meta.url);
const Types = { html: "text/html", css: "text/css", js: "text/javascript", svg: "image/svg+xml" };
const Policy =
    "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' data:; connect-src 'self'; " +
    "frame-ancestors 'none'; base-uri 'none'; form-action 'self'";
const SeriesColumns = [
    "t", "east", "north", "up", "hdop", "pdop", "f", "f_limit", "ext2d", "ext_h", "used_gps", "used_glonass", "rejected",
    "max_w", "w_limit",
];

const round = (value, decimals) => Number(value.toFixed(decimals));
const utcOf = (t) => new Date(t * 1000).toISOString();

// Numbers that wander and come again: the same for the same seed.
function wander(seed, t, period = 60) {
    return (
        Math.sin((t / period) * 2.1 + seed * 1.7) * 0.6 +
        Math.sin((t / period) * 5.3 + seed * 2.9) * 0.3 +
        Math.sin(t * 12.9898 + seed * 78.233) * 0.35
    );
}

// Satellites: name, azimuth and elevation now.
const Sky = [
    ["G07", 333, 12], ["G08", 279, 14], ["G10", 160, 17], ["G13", 44, 4], ["G16", 256, 68], ["G18", 71, 57],
    ["G20", 134, 40], ["G21", 177, 76], ["G26", 183, 50], ["G27", 279, 46], ["G29", 95, 7], ["R02", 34, 26],
    ["R03", 92, 25], ["R09", 265, 54], ["R10", 320, 36], ["R16", 193, 18], ["R18", 59, 45], ["R19", 299, 75],
    ["R20", 256, 19],
];

export class World {
    disabled = new Set();
    faulty = "R16"; // rejected now and then
    hostile = null; // a text to put wherever text comes from outside
    isBad = false; // the tests fail
    isStalled = false; // no epochs come
    published = Panels;

    constructor({ isReplay = false, hasTrouble = false } = {}) {
        this.isReplay = isReplay;
        this.hasTrouble = hasTrouble;
        this.interval = isReplay ? 30 : 1;
        this.from = Date.parse("2020-06-25T00:00:00Z") / 1000;
        this.t = isReplay ? this.from + 43200 : Math.floor(Date.now() / 1000);
        this.start = this.t - 1500 * this.interval;
        this.speed = isReplay ? 30 : 1;
        this.state = "running";
        this.made = 0;
        this.events = [];
        this.series = [];
        for (let t = this.start; t <= this.t; t += this.interval) this.#epoch(t);
        for (const [back, source, text] of [
            [1490, "tcp://192.0.2.7:5017", "connected"],
            [1488, "", "first position"],
            [900, "ntrip://caster.example/ESBC", "dropped: silent for 30 s, after 1200412 bytes; next try in 2 s"],
            [896, "ntrip://caster.example/ESBC", "connected to 192.0.2.44:2101"],
            [300, "G29", "ephemeris beyond half of its limit of age"],
            [40, "R16", "rejected by the w-test"],
        ])
            this.say(source, text, this.t - back * this.interval);
    }

    say(source, text, t = this.t) {
        this.events.push({ utc: utcOf(t), source, text });
    }

    #hasGap(t) {
        const at = (t - this.start) / this.interval;
        return at > 1290 && at < 1330;
    }

    satellites(t) {
        return Sky.map(([satellite, azimuth, elevation], at) => {
            const el = elevation + Math.sin(t / 4000 + at) * 2;
            const isGlonass = satellite[0] === "R";
            const isRejected = satellite === this.faulty && Math.sin(t / 37) > -0.2;
            const use = this.disabled.has(satellite) ? "disabled" : el < 10 ? "below the mask" : satellite === "G08" ? "unhealthy" : isRejected ? "rejected" : "used";
            const isIn = use === "used" || use === "rejected";
            const sd = (isGlonass ? 2.1 : 1.1) / Math.sin((el * Math.PI) / 180) ** 0.6;
            const w = use === "rejected" ? 4.9 + wander(at, t) : wander(at, t) * (this.isBad && satellite === "G20" ? 9 : 1.6);
            return {
                satellite, channel: isGlonass ? (at % 13) - 7 : null, use, health: satellite === "G08" ? "unhealthy" : "healthy",
                azimuth_deg: round((azimuth + t / 600) % 360, 2), elevation_deg: round(el, 2), cn0_dBHz: round(34 + el / 5 + wander(at, t), 1),
                issue: 40 + at, age_s: Math.floor(t % 7200) - 600, ionosphere_m: isIn ? round(2 + 80 / (el + 10), 3) : null,
                troposphere_m: isIn ? round(2.4 / Math.sin((el * Math.PI) / 180), 3) : null, sd_m: isIn ? round(sd, 3) : null,
                residual_m: isIn ? round(w * sd, 3) : null, redundancy: isIn ? 0.71 : null, w: use === "used" ? round(w, 3) : null,
                w_test: use === "rejected" ? "rejected" : use !== "used" ? null : Math.abs(w) > 3.29 ? "failed, largest" : "passed",
                rejected_w: use === "rejected" ? round(w, 3) : null, mde_m: use === "used" ? round(sd * 4.9, 3) : null,
                effect_east_m: use === "used" ? round(wander(at, 1) * 2, 3) : null,
                effect_north_m: use === "used" ? round(wander(at, 2) * 2, 3) : null,
                effect_up_m: use === "used" ? round(wander(at, 3) * 3, 3) : null, enabled: !this.disabled.has(satellite),
            };
        });
    }

    fix(t) {
        const satellites = this.satellites(t);
        const count = (system, use) => satellites.filter((row) => row.satellite[0] === system && row.use === use).length;
        const used = count("G", "used") + count("R", "used");
        const shape = Math.sqrt(15 / Math.max(used, 4));
        const [east, north, up] = [wander(31, t, 200) * 0.8, wander(32, t, 240) * 1.1, wander(33, t, 300) * 2];
        const hdop = 0.66 * shape + 0.02 * wander(40, t, 400);
        const worst = satellites.filter((row) => row.use === "used").reduce((a, b) => (Math.abs(b.w) > Math.abs(a.w) ? b : a));
        const isFailed = Math.abs(worst.w) > 3.29;
        const text = (row, what) => ({ text: `${row.satellite}: ${what}`, alarm: false });
        const notes = satellites.flatMap((row) =>
            row.use === "rejected" ? [text(row, "rejected by the w-test")] : row.use === "disabled" ? [text(row, "disabled by the operator")] : row.use === "unhealthy" ? [text(row, "unhealthy")] : [],
        );
        if (isFailed) notes.unshift({ text: "w-test failed, and the fault cannot be placed", alarm: true });
        if (this.hostile) notes.push({ text: this.hostile, alarm: true });
        return {
            utc: utcOf(t), fix: 1, failure: "", mode: "3D GPS + GLONASS", test: isFailed ? "failed" : "passed", used,
            used_gps: count("G", "used"), used_glonass: count("R", "used"), tracked_gps: 11, tracked_glonass: 8,
            rejected_gps: count("G", "rejected"), rejected_glonass: count("R", "rejected"), notes: notes.length,
            latitude_deg: 55.49357 + north / 111200, longitude_deg: 8.45683 + east / 63000, height_m: 60 + up,
            x_m: 3582104.9, y_m: 532590.2, z_m: 5232755.4, sd_east_m: 0.54 * shape, sd_north_m: 0.81 * shape, sd_up_m: 1.42 * shape,
            cov_east_north_m2: -0.12, cov_east_up_m2: 0.08, cov_north_up_m2: 0.31, gdop: 1.5 * shape, pdop: 1.16 * shape, hdop,
            vdop: 0.95 * shape, tdop: 0.95 * shape, edop: 0.41 * shape, ndop: 0.52 * shape, clock_gps_m: 13250.2 + t % 100,
            clock_glonass_m: 13301.7 + t % 100, redundancy: used - 5, unit_variance: Math.max(0.2, (isFailed ? 2.4 : 0.8) + 0.3 * wander(41, t)),
            f_limit: 1.92, f_test: isFailed ? "failed" : "passed", w_test: isFailed ? "failed" : "passed", max_w: Math.abs(worst.w),
            max_w_satellite: worst.satellite, w_limit: 3.29, residual_rms_m: 1.3, unchecked: 0, mdb_m: 9.1, mdb_satellite: "R20",
            ext_rel_2d_m: 2.4 * shape + 0.2 * wander(42, t), ext_rel_2d_bearing_deg: 208, ext_rel_2d_satellite: "G10",
            ext_rel_height_m: 5.2 * shape, ext_rel_height_satellite: "G21", ext_rel_3d_m: 5.6 * shape, ext_rel_3d_satellite: "G21",
            ellipse95_major_m: 2.03 * shape, ellipse95_minor_m: 1.28 * shape, ellipse95_bearing_deg: 161, height95_m: 2.78 * shape,
            v_east_m_s: 0.01 * wander(50, t), v_north_m_s: 0.02 * wander(51, t), v_up_m_s: 0.02 * wander(52, t), sd_v_east_m_s: 0.03, sd_v_north_m_s: 0.04,
            sd_v_up_m_s: 0.07, sog_m_s: 0.02 + 0.01 * wander(53, t), cmg_deg: 220 + 30 * wander(54, t), clock_drift_m_s: -0.21, rates_used: used,
            rates_rejected: 0, notes_text: notes, east, north, up,
        };
    }

    #epoch(t) {
        if (this.#hasGap(t)) return;
        const f = this.fix(t);
        this.series.push([
            t, f.east, f.north, f.up, f.hdop, f.pdop, f.unit_variance, f.f_limit, f.ext_rel_2d_m, f.ext_rel_height_m, f.used_gps,
            f.used_glonass, f.rejected_gps + f.rejected_glonass, f.max_w, f.w_limit,
        ].map((value) => round(value, 4)));
    }

    step() {
        if (this.state !== "running") return;
        this.t += this.interval;
        ++this.made;
        this.#epoch(this.t);
        if (this.made % 15 === 0) this.say("R16", "rejected by the w-test");
    }

    seek(t) {
        this.t = this.from + Math.round((t - this.from) / this.interval) * this.interval;
        this.#epoch(this.t);
    }

    panel(name) {
        const utc = utcOf(this.t);
        const made = { made: this.made, utc };
        const name1 = this.hostile ?? "tcp://192.0.2.7:5017";
        const systems = (letter, number) =>
            Array.from({ length: number }, (_, at) => {
                const satellite = letter + String(at + 1).padStart(2, "0");
                return { number: at + 1, health: satellite === "G08" ? "unhealthy" : at % 11 === 10 ? "unknown" : "healthy", enabled: !this.disabled.has(satellite) };
            });
        const bytes = 18234412 + this.made * 1432;
        const noted = 1500 * this.interval;
        const note = (text, satellite, alarm, ...intervals) => ({ text, satellite, alarm, intervals: intervals.map((pair) => pair.map((share) => share * noted)) });
        return {
            run: () => ({
                ...made, kind: this.isReplay ? "replay" : "live", state: this.state, now: utc, interval_s: this.interval, epochs: 1460 + this.made,
                fixes: 1452 + this.made, speed: this.speed, from: this.isReplay ? utcOf(this.from) : null, to: this.isReplay ? utcOf(this.from + 86370) : null,
                seeking: false, ages: Object.fromEntries(this.published.map((panel) => [panel, 0])), reference: "55.493570 N, 8.456830 E, 60.00 m", version: "0.9.0",
                settings: [["fix.mode", "both"], ["fix.mask", "10"], ["fix.ranges", "l1"], ["test.significance", "0.1 %"], ["source.password", "***"]],
            }),
            fix: () => ({ ...made, ...this.fix(this.t) }),
            satellites: () => ({ ...made, rows: this.satellites(this.t) }),
            health: () => ({ ...made, gps: systems("G", 32), glonass: systems("R", 24) }),
            sources: () => ({
                ...made,
                rows: [
                    { name: name1, format: "ubx", state: "connected", age_s: 0.2, wait_s: null, bytes, messages: 41200 + this.made * 4, skipped: 0, checksum_failures: 0, refused: 0, epochs: 1460 + this.made, records: 88, connects: 1, failure: "" },
                    { name: "ntrip://caster.example/ESBC", format: "rtcm3", state: this.hasTrouble ? "waiting to try again" : "connected", age_s: this.hasTrouble ? 44.1 : 0.7, wait_s: this.hasTrouble ? 6.2 : null, bytes: 1200412, messages: 9120, skipped: 212, checksum_failures: 3, refused: 1, epochs: 0, records: 61, connects: 2, failure: this.hasTrouble ? "silent for 30 s" : "" },
                    { name: "serial:///dev/ttyUSB0?baud=115200", format: "", state: this.hasTrouble ? "given up" : "listening", age_s: null, wait_s: null, bytes: 0, messages: 0, skipped: 0, checksum_failures: 0, refused: 0, epochs: 0, records: 0, connects: 0, failure: this.hasTrouble ? "no such device" : "" },
                ],
            }),
            notes: () => ({
                ...made, from: utcOf(this.t - noted), to: utc,
                rows: [
                    note("R16: rejected by the w-test", "R16", false, [0.2, 0.24], [0.31, 0.5], [0.55, 0.58], [0.9, 1]),
                    note("G08: unhealthy", "G08", false, [0, 1]),
                    note("w-test failed, and the fault cannot be placed", "", true, [0.5, 0.52], [0.7, 0.71]),
                    note("G29: ephemeris beyond half of its limit of age", "G29", false, [0.66, 0.8]),
                    note("Redundancy of 1: a fault would be seen, not placed", "", true, [0, 0.02]),
                    ...[...this.disabled].map((satellite) => note(`${satellite}: disabled by the operator`, satellite, false, [0.98, 1])),
                    ...(this.hostile ? [note(this.hostile, "", true, [0.97, 1])] : []),
                ],
            }),
            events: () => ({ ...made, first: this.events.length - 1, rows: this.events.slice(-1) }),
            series: () => ({ ...made, first: this.series.length - 1, columns: SeriesColumns, rows: this.series.slice(-1) }),
            stores: () => ({ ...made, almanac: { gps: 31, glonass: 24, changed: 1 }, ephemeris: { satellites: 11, changed: 1 }, glonass: { satellites: 8, changed: 1 } }),
            sky: () => ({ ...made, changed: this.made }),
        }[name]?.();
    }

    sky(query) {
        const is = (name, value) => query.get(name) === value;
        const dark = is("palette", "dark");
        const [ink, rule] = dark ? ["#eceef0", "#767a7e"] : ["#1a1a1a", "#8c8c8c"];
        const fills = { used: ["#08876a", "#71c8ff"], rejected: "#ae5ea8", disabled: "#e8cd60", unhealthy: "#d94009", "below the mask": "#a5afaf" };
        const marks = this.satellites(this.t)
            .filter((row) => query.get("mode") !== (row.satellite[0] === "G" ? "glonass" : "gps"))
            .map((row) => {
                const r = ((90 - row.elevation_deg) / 90) * 270;
                const [x, y] = [300 + r * Math.sin((row.azimuth_deg * Math.PI) / 180), 300 - r * Math.cos((row.azimuth_deg * Math.PI) / 180)];
                const isGlonass = row.satellite[0] === "R";
                const fill = row.use === "used" ? fills.used[isGlonass ? 1 : 0] : fills[row.use];
                const isSquare = isGlonass && !is("squares", "0");
                const shape = isSquare ? `<rect x="${x - 14}" y="${y - 14}" width="28" height="28"` : `<circle cx="${x}" cy="${y}" r="15"`;
                return `${is("circles", "0") ? "" : `${shape} fill="${fill}" stroke="${ink}"/>`}<text x="${x}" y="${y + 5}">${row.satellite.slice(1)}</text>`;
            });
        const label = (x, y, text) => `<text x="${x}" y="${y}" fill="${ink}">${text}</text>`;
        return `<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 600 600" font-family="DejaVu Sans" font-size="15" text-anchor="middle">
<g fill="none" stroke="${rule}"><circle cx="300" cy="300" r="270"/><circle cx="300" cy="300" r="180" stroke-dasharray="6 4"/><circle cx="300" cy="300" r="90" stroke-dasharray="6 4"/>
<path d="M30 300H570M300 30V570${is("diagonals", "1") ? "M109 109L491 491M491 109L109 491" : ""}${is("border", "1") ? "M1 1H599V599H1Z" : ""}"/>
<circle cx="300" cy="300" r="${is("norvi", "1") ? 21 : 0}"/></g>
${is("azimuths", "none") ? "" : label(300, 22, "N") + label(588, 305, "E") + label(300, 592, "S") + label(12, 305, "W")}${is("elevations", "1") ? label(300, 210, "60") : ""}${marks.join("")}</svg>`;
    }

    store(kind, withGlonass) {
        const letter = kind === "glonass" ? "R" : "G";
        const names = Array.from({ length: 16 }, (_, at) => (this.hostile && at === 1 ? this.hostile : letter + String(at + 1).padStart(2, "0")));
        const rows = ["Health", "Age since reference time, t - toa, d", "Reference week, WNa, week", "Root of semi-major axis, sqrt(A), m^1/2", "Eccentricity, e", "Inclination, i, deg", "Argument of perigee, omega, deg", "Clock offset, af0, s"].map(
            (what, row) => [what, ...names.map((_, at) => (row === 0 ? "healthy" : row === 1 ? ((this.t - this.from) / 86400).toFixed(5) : (Math.abs(wander(row, at * 60)) * 10 ** (row - 3)).toFixed(5)))],
        );
        const columns = ["", ...names];
        const title = { almanac: "GPS almanac: 31 satellites", ephemeris: "GPS ephemerides: 11 satellites", glonass: "GLONASS ephemerides: 8 satellites" }[kind];
        const more = kind === "almanac" && withGlonass ? [{ title: "GLONASS almanac: 24 satellites", columns, rows }] : [];
        return title ? { title, tables: [{ title, columns, rows }, ...more], text: [columns, ...rows].map((row) => row.join("\t")).join("\n") } : null;
    }
}

const Panels = ["run", "fix", "satellites", "health", "sources", "notes", "events", "series", "stores", "sky"];
const Rare = new Set(["health", "stores"]);

// Serves a world, or one that waits for its first epoch. {url, world, posts, close}; posts are those that came, as
// [command, body, status].
export async function serve({ port = 0, kind = "live", right = "steer", token = "", hasTrouble = false, isWaiting = false, everyMS = 1000 } = {}) {
    const world = new World({ isReplay: kind === "replay", hasTrouble });
    if (isWaiting) Object.assign(world, { isStalled: true, published: ["run", "sources"], events: [], series: [] });
    const streams = new Set();
    const posts = [];
    let session = Math.random().toString(36).slice(2);
    let running = 0;

    const block = (panel, data = world.panel(panel)) => `event: ${panel}\nid: ${++running}\ndata: ${JSON.stringify(data)}\n\n`;
    const tell = (panels) => {
        const text = panels.map((panel) => block(panel)).join("");
        for (const stream of streams) stream.write(text);
    };
    let told = world.events.length;
    const timers = [
        setInterval(() => {
            if (world.state !== "running" || world.isStalled) return tell(["run", "sources"]);
            world.step();
            tell(Panels.filter((panel) => !Rare.has(panel) && (panel !== "events" || world.events.length > told)));
            told = world.events.length;
        }, everyMS),
        setInterval(() => {
            for (const stream of streams) stream.write(": \n\n");
        }, 5000),
    ];

    const answer = (response, status, type, body, more = {}) =>
        response.writeHead(status, { "Content-Type": type, "Content-Security-Policy": Policy, "X-Content-Type-Options": "nosniff", "Referrer-Policy": "no-referrer", "Cache-Control": "no-store", ...more }).end(body);
    const json = (response, status, value, more) => answer(response, status, "application/json", JSON.stringify(value), more);

    function command(name, body) {
        if (name === "health" && /^[GR]\d\d$/.test(body.satellite)) {
            if (body.enabled) world.disabled.delete(body.satellite);
            else world.disabled.add(body.satellite);
            world.say(body.satellite, body.enabled ? "enabled by the operator" : "disabled by the operator");
            setTimeout(() => tell(["health"]), everyMS / 2);
            return 202;
        }
        if (name !== "replay" || kind !== "replay") return 400;
        if (body.action === "speed") world.speed = body.speed;
        else if (body.action === "seek") world.seek(Date.parse(body.time) / 1000);
        else world.state = body.action === "play" ? "running" : "paused";
        tell(Panels);
        return 202;
    }

    async function get(url, response) {
        const { pathname, searchParams } = url;
        const [, api, name] = pathname.match(/^\/api\/(panel\/|store\/)?([a-z.]+)$/) ?? [];
        const from = Number(searchParams.get("from") ?? 0);
        if (api === "panel/" && Panels.includes(name)) return json(response, 200, world.panel(name));
        const store = api === "store/" && world.store(name, searchParams.get("glonass") === "1");
        if (store) return json(response, 200, store);
        if (name === "series") return json(response, 200, { from, next: world.series.length, columns: SeriesColumns, rows: world.series.slice(from) });
        if (name === "events") return json(response, 200, { from, next: world.events.length, rows: world.events.slice(from) });
        if (name === "sky.svg") return answer(response, 200, "image/svg+xml", world.sky(searchParams));
        if (name === "stream") {
            response.writeHead(200, { "Content-Type": "text/event-stream", "Cache-Control": "no-store" });
            response.write(world.published.map((panel) => block(panel)).join(""));
            streams.add(response);
            return void response.on("close", () => streams.delete(response));
        }
        return json(response, 404, { error: "There is no such thing here" });
    }

    async function asset(pathname, response) {
        const name = pathname === "/" || pathname === "/login" ? "index.html" : pathname.replace(/^\/page\//, "");
        if (!/^[A-Za-z.]+$/.test(name)) return json(response, 404, { error: "no such page" });
        const path = name.startsWith("uPlot") ? `node_modules/uplot/dist/${name}` : name;
        try {
            answer(response, 200, `${Types[name.split(".").pop()]}; charset=utf-8`, await readFile(new URL(path, PageFolder)));
        } catch {
            json(response, 404, { error: "no such page" });
        }
    }

    const server = http.createServer(async (request, response) => {
        const url = new URL(request.url, "http://mock");
        if (request.method === "GET" && !url.pathname.startsWith("/api/")) return asset(url.pathname, response);
        let text = "";
        for await (const piece of request) text += piece;
        const isIn = token === "" || request.headers.cookie?.includes(`gnss_console=${session}`);
        if (request.method === "POST") {
            const body = JSON.parse(text);
            const reply = (status, more) => {
                posts.push([url.pathname, body, status]);
                return status === 204 ? answer(response, 204, "text/plain", "", more) : json(response, status, status < 300 ? {} : { error: status === 403 ? "Steering needs the token for it" : "No" });
            };
            if (url.pathname === "/login") return body.token === token ? reply(204, { "Set-Cookie": `gnss_console=${session}; HttpOnly; SameSite=Strict; Path=/` }) : reply(401);
            if (!isIn) return reply(401);
            if (url.pathname === "/logout") {
                session = Math.random().toString(36).slice(2);
                return reply(204);
            }
            return reply(right === "steer" ? command(url.pathname.slice(5), body) : 403);
        }
        if (!isIn) return json(response, 401, { error: "A token is needed" });
        if (url.pathname === "/api/me") return json(response, 200, { right, login: token !== "", version: "0.9.0" });
        return get(url, response);
    });
    await new Promise((ready) => server.listen(port, "127.0.0.1", ready));
    return {
        url: `http://127.0.0.1:${server.address().port}`,
        world,
        posts,
        close() {
            timers.forEach(clearInterval);
            server.closeAllConnections();
            server.close();
        },
    };
}

if (process.argv[1] === fileURLToPath(import.meta.url)) {
    const { values } = parseArgs({
        options: { port: { type: "string", default: "8081" }, kind: { type: "string" }, right: { type: "string" }, token: { type: "string" }, trouble: { type: "boolean" } },
    });
    const { trouble, ...rest } = values;
    const mock = await serve({ ...rest, port: Number(values.port), hasTrouble: trouble });
    console.log(mock.url);
}
