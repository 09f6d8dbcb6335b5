// The connection to the server: the newest text of each panel, how old it is, and whether anything still comes.
//
// The stream of events is read with fetch instead of EventSource, which hides the heartbeats and the status of an
// answer: a stream that is silent could not be told from one with nothing to say, nor a refusal from a broken line.

const SilenceMS = 12000; // two heartbeats and some
const FirstWaitMS = 500;
const LongestWaitMS = 15000;
export const AnswerMS = 15000; // a dead line never refuses
// Sent only when they change: they hold as long as the run itself is heard of.
const OnChange = new Set(["health", "stores", "events"]);

export class Stream extends EventTarget {
    // "connecting", "open", "lost" or "refused" (no right to look).
    state = "connecting";
    reason = "";
    lostAt = null; // performance.now() of the last byte before the loss
    nextTryAt = null;

    #panels = new Map(); // name -> {data, at}
    #listeners = new Map();
    #abort = null;
    #lastByte = performance.now();
    #tries = 0;
    #timer = null;
    #watch = null;

    // Calls with each text of a panel, parsed; at once with the newest if there is one.
    on(panel, listener) {
        if (!this.#listeners.has(panel)) this.#listeners.set(panel, []);
        this.#listeners.get(panel).push(listener);
        const newest = this.#panels.get(panel);
        if (newest) listener(newest.data);
    }

    latest(panel) {
        return this.#panels.get(panel)?.data ?? null;
    }

    start() {
        this.#watch ??= setInterval(() => this.#checkSilence(), 1000);
        addEventListener("online", () => this.tryNow());
        this.#open();
    }

    tryNow() {
        if (this.state === "open") return;
        this.#tries = 0;
        this.#open();
    }

    // Seconds since the data of a panel was new; null before the first.
    age(panel) {
        const newest = this.#panels.get(OnChange.has(panel) ? "run" : panel);
        // No events are news as well, and as old as the run that has none.
        if (!newest || (panel !== "events" && !this.#panels.has(panel))) return null;
        const atFirst = typeof newest.data.age_s === "number" ? newest.data.age_s : 0;
        return (performance.now() - newest.at) / 1000 + atFirst;
    }

    // Data comes once an epoch; three missed ones make it stale.
    isStale(panel) {
        if (this.state !== "open") return true;
        if (this.isResting()) return false;
        const age = this.age(panel);
        const run = this.latest("run");
        const speed = run?.kind === "replay" && run.speed > 0 ? run.speed : 1;
        // Nobody knows the interval before the second epoch: a minute.
        return age !== null && age > Math.max(5, (3 * (run?.interval_s ?? 20)) / speed);
    }

    // Nothing is to come, and rightly so.
    isResting() {
        const run = this.latest("run");
        return run !== null && (run.state === "paused" || run.state === "ended");
    }

    #setState(state, reason = "") {
        this.state = state;
        this.reason = reason;
        this.dispatchEvent(new Event("state"));
    }

    async #open() {
        clearTimeout(this.#timer);
        this.#abort?.abort();
        const abort = new AbortController();
        this.#abort = abort;
        this.nextTryAt = null;
        this.#lastByte = performance.now();
        let reason = "The server does not answer";
        try {
            const answer = await fetch("/api/stream", { signal: abort.signal, headers: { Accept: "text/event-stream" } });
            if (answer.status === 401) return this.#setState("refused");
            if (answer.status === 503) reason = "The console has as many viewers as it takes";
            else if (!answer.ok) reason = `The server answers ${answer.status}`;
            else {
                reason = "The stream has ended";
                await this.#read(answer.body.getReader());
            }
        } catch {
            if (abort !== this.#abort) return; // another try has taken over
        }
        if (abort === this.#abort) this.#lose(reason);
    }

    async #read(reader) {
        const decoder = new TextDecoder();
        let text = "";
        let event = "";
        let data = [];
        for (;;) {
            const { done, value } = await reader.read();
            if (done) return;
            this.#lastByte = performance.now();
            if (this.state !== "open") {
                this.#tries = 0;
                this.lostAt = null;
                this.#setState("open");
            }
            text += decoder.decode(value, { stream: true });
            const lines = text.split("\n");
            text = lines.pop();
            for (const line of lines.map((one) => one.replace(/\r$/, ""))) {
                if (line === "") {
                    if (data.length > 0) this.#take(event, data.join("\n"));
                    event = "";
                    data = [];
                } else if (line.startsWith("event:")) event = line.slice(6).trim();
                else if (line.startsWith("data:")) data.push(line.slice(5).replace(/^ /, ""));
            }
        }
    }

    #take(panel, text) {
        let data = null;
        try {
            data = JSON.parse(text);
        } catch {
            console.error(`panel ${panel} is no JSON`);
            return;
        }
        this.#panels.set(panel, { data, at: performance.now() });
        if (panel === "run" && data.ages) {
            // A panel this run has not told yet was another's: the server has begun anew while the line was down.
            if ([...this.#panels.keys()].some((one) => one !== "run" && !(one in data.ages))) return location.reload();
            this.#correctAges(data.ages);
        }
        for (const listener of this.#listeners.get(panel) ?? []) {
            try {
                listener(data);
            } catch (error) {
                console.error(`panel ${panel}:`, error); // the others go on
            }
        }
    }

    // What came as the newest when the stream began may have been old already: the run tells.
    #correctAges(ages) {
        for (const [panel, seconds] of Object.entries(ages)) {
            const newest = this.#panels.get(panel);
            if (newest && panel !== "run") newest.at = Math.min(newest.at, performance.now() - 1000 * seconds);
        }
    }

    #lose(reason) {
        this.lostAt ??= this.#lastByte;
        const wait = Math.min(LongestWaitMS, FirstWaitMS * 2 ** this.#tries++) * (0.75 + 0.5 * Math.random());
        this.nextTryAt = performance.now() + wait;
        this.#timer = setTimeout(() => this.#open(), wait);
        this.#setState("lost", reason);
    }

    #checkSilence() {
        if (this.nextTryAt !== null || this.state === "refused") return;
        if (performance.now() - this.#lastByte < SilenceMS) return;
        const abort = this.#abort;
        this.#abort = null;
        abort?.abort();
        this.#lose("Nothing has come for 12 s");
    }
}

// Seconds until the next try, for the banner.
export function secondsToTry(stream) {
    return stream.nextTryAt === null ? 0 : Math.max(0, (stream.nextTryAt - performance.now()) / 1000);
}

// GET as JSON; an Error with the server's own words when it refuses.
export async function getJson(path) {
    return ask(path, {});
}

export async function postJson(path, body) {
    return ask(path, { method: "POST", headers: { "Content-Type": "application/json" }, body: JSON.stringify(body) });
}

async function ask(path, options) {
    let answer = null;
    let text = "";
    try {
        answer = await fetch(path, { ...options, signal: AbortSignal.timeout(AnswerMS) });
        text = await answer.text();
    } catch {
        throw new Error("The server does not answer"); // in time, or not at all
    }
    let value = null;
    try {
        value = text === "" ? null : JSON.parse(text);
    } catch {
        // Not JSON: the status tells.
    }
    if (answer.ok) return value;
    const error = new Error(typeof value?.error === "string" ? value.error : `The server answers ${answer.status}`);
    error.status = answer.status;
    throw error;
}
