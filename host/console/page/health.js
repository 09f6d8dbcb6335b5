// The operator's list: which satellites may be used. A switch for each.

import { find, make, setAttribute, setText } from "./dom.js";
import { postJson } from "./stream.js";

const PatienceMS = 5000; // for what was asked for to be told back
const Signs = { healthy: "✓", unhealthy: "✕", unknown: "?" };

export class Health {
    #switches = new Map(); // "G05" -> {button, sign, word}
    #pending = new Map(); // what was asked for and is not told back yet: "G05" -> {enabled, until}

    constructor(stream, maySteer) {
        this.maySteer = maySteer;
        this.hint = find("health-hint");
        this.#say();
        stream.on("health", (health) => this.#show(health));
        // Another browser may have asked for the contrary: it is not waited for without end.
        stream.on("run", (run) => {
            const now = performance.now();
            for (const [satellite, wish] of this.#pending) {
                if (run.seeking && wish.until !== Infinity) wish.until = now + PatienceMS;
                if (now > wish.until) this.#settle(satellite);
            }
        });
    }

    #say(text = "") {
        const base = this.maySteer
            ? "A satellite that is switched off leaves the fix with the next epoch."
            : "You may look, not steer: to switch satellites, log in with the token for steering.";
        setText(this.hint, text || base);
        this.hint.classList.toggle("bad", text !== "");
    }

    #show(health) {
        for (const [key, letter, name] of [
            ["gps", "G", "GPS"],
            ["glonass", "R", "GLONASS"],
        ]) {
            for (const { number, health: state, enabled } of health[key] ?? []) {
                const satellite = letter + String(number).padStart(2, "0");
                const one = this.#switches.get(satellite) ?? this.#add(satellite, key, name);
                if (this.#pending.get(satellite)?.enabled === enabled) this.#pending.delete(satellite);
                setAttribute(one.button, "aria-checked", String(enabled));
                setAttribute(one.button, "data-health", state);
                one.button.classList.toggle("pending", this.#pending.has(satellite));
                setText(one.sign, enabled ? (Signs[state] ?? "?") : "⊘");
                setAttribute(one.button, "aria-label", `${satellite}, ${state}, use`);
                setAttribute(one.button, "title", `${satellite}: ${state}, ${enabled ? "may be used" : "switched off"}`);
            }
        }
    }

    #add(satellite, key, name) {
        const id = `health-${key}`;
        if (!find(id)) {
            find("health").append(make("h3", { id: `${id}-title` }, name));
            find("health").append(make("div", { id, class: "switches", role: "group", "aria-labelledby": `${id}-title` }));
        }
        const sign = make("span", { class: "sign", "aria-hidden": "true" });
        const button = make(
            "button",
            { type: "button", role: "switch", disabled: !this.maySteer, "aria-describedby": "health-hint" },
            make("span", {}, satellite),
            sign,
        );
        button.addEventListener("click", () => this.#toggle(satellite, button));
        find(id).append(button);
        const one = { button, sign };
        this.#switches.set(satellite, one);
        return one;
    }

    #settle(satellite) {
        this.#pending.delete(satellite);
        this.#switches.get(satellite).button.classList.remove("pending");
    }

    async #toggle(satellite, button) {
        const enabled = button.getAttribute("aria-checked") !== "true";
        const wish = { enabled, until: Infinity };
        this.#pending.set(satellite, wish);
        button.classList.add("pending");
        try {
            await postJson("/api/health", { satellite, enabled });
            wish.until = performance.now() + PatienceMS;
            this.#say();
        } catch (error) {
            if (this.#pending.get(satellite) === wish) this.#settle(satellite);
            this.#say(`${satellite} is as it was: ${error.message}`);
        }
    }
}
