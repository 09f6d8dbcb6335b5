// The constellation, the sources, the events and the run as tables.

import { bytes, clock, find, fixed, make, setAttribute, setText, span, Table, whole } from "./dom.js";
import { getJson } from "./stream.js";

const MostEvents = 1000;
const BriefEvents = 30;

// How a satellite is used, with a sign that does not need the colour.
const Signs = { used: "●", rejected: "✕", disabled: "⊘", unhealthy: "!", "below the mask": "▽" };

function useClass(row) {
    if (row.use === "used") return row.satellite?.startsWith("R") ? "use used-glonass" : "use used-gps";
    return `use ${{ rejected: "rejected", disabled: "disabled", unhealthy: "unhealthy" }[row.use] ?? "idle"}`;
}

const Constellation = [
    { head: "Sat", of: (row) => row.satellite ?? "" },
    { head: "Use", isText: true, of: (row) => `${Signs[row.use] ?? "○"} ${row.use ?? ""}`, classOf: useClass },
    { head: "Elev.", unit: "°", of: (row) => fixed(row.elevation_deg, 1) },
    { head: "Azim.", unit: "°", of: (row) => fixed(row.azimuth_deg, 1) },
    { head: "C/N₀", unit: "dB-Hz", of: (row) => fixed(row.cn0_dBHz, 1) },
];
const More = [
    { head: "Health", isText: true, of: (row) => row.health || "–" },
    { head: "Issue", of: (row) => whole(row.issue), title: "Issue of the ephemeris" },
    { head: "Age", unit: "s", of: (row) => whole(row.age_s), title: "Age of the ephemeris" },
    { head: "Iono", unit: "m", of: (row) => fixed(row.ionosphere_m, 2), title: "Ionospheric delay" },
    { head: "Tropo", unit: "m", of: (row) => fixed(row.troposphere_m, 2), title: "Tropospheric delay" },
    { head: "Chan.", of: (row) => whole(row.channel), title: "Frequency channel" },
];

export function showConstellation(stream) {
    const brief = new Table(find("brief"), "Constellation", Constellation);
    const full = new Table(find("constellation"), "Constellation", [...Constellation, ...More]);
    stream.on("satellites", ({ rows }) => {
        brief.show(rows);
        full.show(rows);
    });
}

const StateSigns = { connected: "●", listening: "○", failed: "✕", "given up": "✕", "waiting to try again": "…", stopped: "■" };

export function showSources(stream) {
    const table = new Table(find("source-table"), "Sources", [
        { head: "Source", of: (row) => row.name ?? "" },
        { head: "Format", isText: true, of: (row) => row.format || "–" },
        {
            head: "State",
            isText: true,
            of: (row) => `${StateSigns[row.state] ?? "○"} ${row.state ?? ""}`,
            classOf: (row) => (["failed", "given up"].includes(row.state) ? "bad" : ["waiting to try again", "stopped"].includes(row.state) ? "warn" : ""),
        },
        {
            head: "Failure",
            isText: true,
            of: (row) => row.failure || "–",
            classOf: (row) => (row.failure ? "why bad" : ""),
        },
        { head: "Last data", of: (row) => (typeof row.age_s === "number" ? `${span(row.age_s)} ago` : "–") },
        { head: "Next try", of: (row) => (typeof row.wait_s === "number" ? `in ${span(row.wait_s)}` : "–") },
        { head: "Received", of: (row) => bytes(row.bytes) },
        { head: "Messages", of: (row) => whole(row.messages) },
        { head: "Epochs", of: (row) => whole(row.epochs) },
        { head: "Records", of: (row) => whole(row.records) },
        { head: "Skipped", unit: "B", of: (row) => whole(row.skipped) },
        {
            head: "Checksum errors",
            of: (row) => whole(row.checksum_failures),
            classOf: (row) => (row.checksum_failures > 0 ? "warn" : ""),
        },
        { head: "Refused", of: (row) => whole(row.refused), classOf: (row) => (row.refused > 0 ? "warn" : "") },
        { head: "Connects", of: (row) => whole(row.connects) },
        { head: "Drops", of: (row) => whole(row.drops), classOf: (row) => (row.drops > 0 ? "warn" : "") },
        { head: "Failed tries", of: (row) => whole(row.errors), classOf: (row) => (row.errors > 0 ? "warn" : "") },
    ]);
    stream.on("sources", ({ rows }) => table.show(rows));
}

// Newest first; what was said before the page was opened, too.
export function showEvents(stream) {
    const columns = [
        { head: "Time", unit: "UTC", of: (row) => (row.utc ? clock(row.utc) : "–") },
        { head: "Source", isText: true, of: (row) => row.source || "–" },
        { head: "Event", isText: true, of: (row) => row.text ?? "" },
    ];
    const brief = new Table(find("events-brief"), "Newest events", [
        columns[0],
        { head: "Event", isText: true, of: (row) => (row.source ? `${row.source}: ${row.text ?? ""}` : (row.text ?? "")) },
    ]);
    const full = new Table(find("events"), "Events", columns);
    const none = ["events-brief", "events"].map((id) => {
        const text = make("p", { class: "hint" }, "No events: nothing has happened yet.");
        find(id).after(text);
        return text;
    });
    let rows = [];
    let next = null;
    let isFetching = false;
    let losses = 0; // of the connection: what was asked for before the last one is not waited for
    let waiting = [];

    const append = (part) => {
        // What has been fetched since it began anew stays.
        if (part.reset && part.first >= (next ?? 0)) rows = [];
        const fresh = next === null ? part.rows : part.rows.slice(Math.max(0, next - part.first));
        next = Math.max(next ?? 0, part.first + part.rows.length);
        rows = [...fresh.slice().reverse(), ...rows].slice(0, MostEvents);
        brief.show(rows.slice(0, BriefEvents));
        full.show(rows);
        for (const text of none) text.hidden = rows.length > 0;
    };
    stream.on("events", async (part) => {
        if (isFetching) return void waiting.push(part);
        if (next === null || part.first > next) {
            const before = losses;
            isFetching = true;
            let all = null;
            try {
                all = await getJson("/api/events?from=0");
            } catch {
                // What has come is better than nothing.
            }
            if (before !== losses) return;
            isFetching = false;
            if (all) {
                rows = [];
                next = null;
                append({ first: all.from, rows: all.rows });
            }
        }
        append(part);
        for (const one of waiting.splice(0)) append(one);
    });
    // After a break the server may be another one.
    stream.addEventListener("state", () => {
        if (stream.state !== "lost") return;
        ++losses;
        next = null;
        isFetching = false;
        waiting = [];
    });
}

// Facts and settings of the run, the chip in the corner and the clock.
export function showRun(stream) {
    const table = new Table(find("run"), "Run and settings", [
        { head: "Setting", isText: true, of: ([name]) => name },
        { head: "Value", isText: true, of: ([, value]) => value },
    ]);
    stream.on("run", (run) => {
        table.show([
            ["Kind", `${run.kind ?? "–"}, ${run.state ?? "–"}`],
            ["Epochs", whole(run.epochs)],
            ["Positions", whole(run.fixes)],
            ["Interval", `${fixed(run.interval_s, 1)} s`],
            ["Reference of the plots", String(run.reference ?? "–")],
            ["Version", String(run.version ?? "–")],
            ...(run.settings ?? []).map(([name, value]) => [String(name), String(value)]),
        ]);
        const kind = find("kind");
        setText(kind, { live: "Live", files: "Files", replay: "Replay" }[run.kind] ?? String(run.kind));
        setAttribute(kind, "data-kind", run.kind === "live" ? "live" : "");
        setText(find("now-time"), clock(run.now));
        setText(find("now-date"), String(run.now ?? "").slice(0, 10));
    });
}
