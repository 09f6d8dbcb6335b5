// Sets the colours before anything is drawn: a classic script in the head, so that no wrong colours flash up.
// The choice is "auto" (what the machine wants), "light" or "dark" and is remembered.
"use strict";

(() => {
    const wanted = matchMedia("(prefers-color-scheme: dark)");
    const choices = ["auto", "light", "dark"];
    let choice = "auto";
    try {
        choice = JSON.parse(localStorage.getItem("gnss.theme")) ?? "auto";
    } catch {
        // No storage: auto.
    }
    if (!choices.includes(choice)) choice = "auto";

    function apply() {
        const theme = choice === "auto" ? (wanted.matches ? "dark" : "light") : choice;
        document.documentElement.dataset.theme = theme;
        document.dispatchEvent(new CustomEvent("themechange", { detail: { theme, choice } }));
    }
    wanted.addEventListener("change", apply);
    apply();

    window.consoleTheme = {
        get choice() {
            return choice;
        },
        next() {
            choice = choices[(choices.indexOf(choice) + 1) % choices.length];
            try {
                localStorage.setItem("gnss.theme", JSON.stringify(choice));
            } catch {
                // Holds until the page is left.
            }
            apply();
            return choice;
        },
    };
})();
