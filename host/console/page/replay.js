// Steering a replay: play, pause, speed and where in the log.

import { clock, date, find, make, setAttribute, setText } from "./dom.js";
import { postJson } from "./stream.js";

const Speeds = [0.5, 1, 2, 5, 10, 30, 100, 300, 1000, 0]; // 0: as fast as it goes
const Steps = 1000;
const ErrorMS = 5000;

function newSpeed(speed) {
    return make("option", { value: speed }, speed > 0 ? `${speed} ×` : "max");
}

export class Replay {
    #run = null;
    #isDragging = false;
    #speed = null; // as the run last told it
    #errorUntil = 0;

    constructor(stream, maySteer) {
        this.maySteer = maySteer;
        this.play = find("replay-play");
        this.speed = find("replay-speed");
        this.seek = find("replay-seek");
        this.time = find("replay-time");
        this.state = find("replay-state");
        this.speed.replaceChildren(...Speeds.map(newSpeed));
        for (const control of [this.play, this.speed, this.seek, this.time, find("replay-go")])
            control.disabled = !maySteer;

        this.play.addEventListener("click", () =>
            this.#post({ action: this.#run?.state === "running" ? "pause" : "play" }),
        );
        this.speed.addEventListener("change", () => this.#post({ action: "speed", speed: Number(this.speed.value) }));
        this.seek.addEventListener("input", () => {
            this.#isDragging = true;
            this.#showTime(this.#timeAt(Number(this.seek.value)));
        });
        this.seek.addEventListener("change", () => {
            this.#isDragging = false;
            this.#seekTo(this.#timeAt(Number(this.seek.value)));
        });
        // Let go where it was taken, or taken away: no change comes. Where one does, it comes before the end of the task.
        const letGo = () => setTimeout(() => (this.#isDragging = false));
        for (const type of ["pointerup", "pointercancel"]) addEventListener(type, letGo);
        this.seek.addEventListener("blur", letGo);
        // "2020-06-25 12:00", with seconds or without, or the time of day alone.
        const go = () => {
            const text = this.time.value.trim().replace(/Z$/, "").replace(" ", "T").replace(/(?<=^|T)(?=\d:)/, "0");
            this.#seekTo(`${/^\d\d:/.test(text) ? `${date(this.#run?.now)}T${text}` : text}Z`);
        };
        find("replay-go").addEventListener("click", go);
        this.time.addEventListener("keydown", (event) => {
            if (event.key === "Enter") go();
        });
        stream.on("run", (run) => this.#show(run));
    }

    #show(run) {
        this.#run = run;
        find("replay").hidden = run.kind !== "replay";
        document.body.classList.toggle("has-replay", run.kind === "replay");
        if (run.kind !== "replay") return;
        setText(this.play, run.state === "running" ? "❚❚ Pause" : run.state === "ended" ? "▶ Again" : "▶ Play");
        if (run.speed !== this.#speed) {
            this.#speed = run.speed;
            // A speed of the command line may be none of ours.
            if (!this.speed.querySelector(`[value="${Number(run.speed)}"]`)) this.speed.prepend(newSpeed(run.speed));
            this.speed.value = String(run.speed);
        }
        if (!this.#isDragging) {
            this.seek.value = String(Math.round(Steps * this.#share(run.now)));
            this.#showTime(run.now);
            if (document.activeElement !== this.time && run.now) this.time.value = `${date(run.now)} ${clock(run.now)}`;
        }
        if (performance.now() < this.#errorUntil) return;
        const states = { paused: "Paused", ended: "At the end of the log", running: "" };
        setText(this.state, run.seeking ? "Seeking…" : this.maySteer ? (states[run.state] ?? "") : "You may look, not steer");
    }

    #showTime(utc) {
        setText(find("replay-at"), `${date(utc)} ${clock(utc)}`);
        setAttribute(this.seek, "aria-valuetext", `${date(utc)} ${clock(utc)} UTC`);
    }

    #share(utc) {
        const [from, to] = [Date.parse(this.#run.from), Date.parse(this.#run.to)];
        const share = (Date.parse(utc) - from) / (to - from);
        return Number.isFinite(share) ? Math.min(1, Math.max(0, share)) : 0;
    }

    #timeAt(step) {
        const [from, to] = [Date.parse(this.#run?.from), Date.parse(this.#run?.to)];
        const time = new Date(from + ((to - from) * step) / Steps);
        return Number.isNaN(time.getTime()) ? "" : time.toISOString();
    }

    #complain(text) {
        this.#errorUntil = performance.now() + ErrorMS;
        setText(this.state, text);
    }

    #seekTo(time) {
        if (Number.isNaN(Date.parse(time))) return this.#complain("Which time?");
        this.#post({ action: "seek", time });
    }

    async #post(command) {
        this.#errorUntil = 0;
        try {
            await postJson("/api/replay", command);
        } catch (error) {
            this.#complain(error.message);
            this.#speed = null; // shown anew as it is
        }
    }
}
