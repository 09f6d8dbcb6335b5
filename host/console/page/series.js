// The history of the fix as the server keeps it, and how much of it a plot is given.

import { getJson } from "./stream.js";

export const MostRows = 14400;
// Points drawn of one line; a bucket of the time axis gives two, its least and its largest value.
const Buckets = 800;

export class Series extends EventTarget {
    columns = [];
    interval = 1; // s, between the rows of an unbroken series
    #data = new Map(); // name -> values, oldest first
    #next = null; // number of the row that comes next
    #isFetching = false;
    #waiting = [];
    #losses = 0; // of the connection: what was asked for before the last one is not waited for

    constructor(stream) {
        super();
        stream.on("run", (run) => {
            if (run.interval_s > 0) this.interval = run.interval_s;
        });
        stream.on("series", (part) => this.#take(part));
        // After a break the server may be another one: all is read again.
        stream.addEventListener("state", () => {
            if (stream.state !== "lost") return;
            ++this.#losses;
            this.#next = null;
            this.#isFetching = false;
            this.#waiting = [];
        });
    }

    get(name) {
        return this.#data.get(name) ?? [];
    }

    latest(name) {
        return this.get(name).at(-1) ?? null;
    }

    async #take(part) {
        if (this.#isFetching) return void this.#waiting.push(part);
        // Begun anew and not heard in time: nothing of what is here is left.
        if (part.reset && part.first > this.#next) this.#next = null;
        if (this.#next === null || part.first > this.#next) {
            if (!(await this.#fetch(this.#next ?? 0))) return; // the next increment asks again
        }
        this.#append(part);
    }

    async #fetch(from) {
        const losses = this.#losses;
        this.#isFetching = true;
        let all = null;
        try {
            all = await getJson(`/api/series?from=${from}`);
        } catch {
            // What has been told meanwhile has no beginning.
        }
        if (losses !== this.#losses) return false;
        this.#isFetching = false;
        const waiting = this.#waiting.splice(0);
        if (!all) return false;
        if (from === 0) {
            this.#data.clear();
            this.#next = null;
        }
        this.#append({ first: all.from, columns: all.columns, rows: all.rows });
        for (const part of waiting) this.#append(part);
        return true;
    }

    #append(part) {
        if (part.columns) this.columns = part.columns;
        // What has been fetched since it began anew stays: the newest text of a paused replay may well be a reset.
        const isReset = part.reset && part.first >= (this.#next ?? 0);
        if (isReset) {
            for (const values of this.#data.values()) values.length = 0;
            this.dispatchEvent(new Event("reset"));
        }
        for (const name of this.columns) if (!this.#data.has(name)) this.#data.set(name, []);
        const times = this.#data.get("t");
        if (!times) return;
        const rows = this.#next === null ? part.rows : part.rows.slice(Math.max(0, this.#next - part.first));
        this.#next = Math.max(this.#next ?? 0, part.first + part.rows.length);
        for (const row of rows) {
            // A replay has been put back: what came later is not so any more.
            if (times.length > 0 && row[0] <= times.at(-1)) {
                let keep = times.length;
                while (keep > 0 && times[keep - 1] >= row[0]) --keep;
                for (const values of this.#data.values()) values.length = keep;
            }
            this.columns.forEach((name, at) => {
                const value = row[at] ?? null;
                // The limit of the w-test is one of size.
                this.#data.get(name).push(name === "max_w" && value !== null ? Math.abs(value) : value);
            });
        }
        const surplus = times.length - MostRows;
        if (surplus > 600) for (const values of this.#data.values()) values.splice(0, surplus);
        if (rows.length > 0 || isReset) this.dispatchEvent(new Event("change"));
    }

    // Columns of a plot between two times: [[t...], [values...], ...], with a hole wherever epochs are missing.
    cut(names, from, to) {
        const times = this.get("t");
        const first = Math.max(0, lowerBound(times, from) - 1);
        const last = Math.min(times.length, lowerBound(times, to) + 1);
        const columns = names.map((name) => this.get(name));
        const drawn = [[], ...names.map(() => [])];
        const add = (t, values) => {
            drawn[0].push(t);
            values.forEach((value, at) => drawn[at + 1].push(value));
        };
        const step = Math.max(1, Math.ceil((last - first) / Buckets));
        const hole = names.map(() => null);
        for (let at = first; at < last; ) {
            // A bucket ends at a gap.
            let end = at + 1;
            while (end < last && end < at + step && times[end] - times[end - 1] <= 2.5 * this.interval) ++end;
            if (end - at < 3) {
                for (let i = at; i < end; ++i) add(times[i], columns.map((values) => values[i]));
            } else {
                const ends = columns.map((values) => extremes(values, at, end));
                add(times[at], ends.map(([one]) => one));
                add(times[end - 1], ends.map(([, two]) => two));
            }
            if (end < last && times[end] - times[end - 1] > 2.5 * this.interval)
                add((times[end - 1] + times[end]) / 2, hole);
            at = end;
        }
        return drawn;
    }
}

// Least and largest value of a bucket in the order in which they came; a bucket with a value missing is a hole.
function extremes(values, from, to) {
    let least = from;
    let largest = from;
    for (let i = from; i < to; ++i) {
        if (values[i] === null) return [null, null];
        if (values[i] < values[least]) least = i;
        if (values[i] > values[largest]) largest = i;
    }
    return least < largest ? [values[least], values[largest]] : [values[largest], values[least]];
}

function lowerBound(values, wanted) {
    let low = 0;
    let high = values.length;
    while (low < high) {
        const middle = (low + high) >> 1;
        if (values[middle] < wanted) low = middle + 1;
        else high = middle;
    }
    return low;
}
