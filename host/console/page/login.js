// The form for a token, shown when the server lets nobody in without one.

import { find, setText } from "./dom.js";
import { getJson, postJson } from "./stream.js";

// What this browser may do: {right, login, version}. Asks for the token as often as it takes, and waits for a server
// that is not there.
export async function enter(onWaiting) {
    for (let wait = 1000; ; wait = Math.min(wait * 2, 15000)) {
        try {
            const me = await getJson("/api/me");
            find("login").hidden = true;
            return me;
        } catch (error) {
            if (error.status === 401) {
                onWaiting(null);
                await ask();
                wait = 500;
                continue;
            }
            onWaiting(error.status ? error.message : "The server does not answer");
            await new Promise((go) => setTimeout(go, wait));
        }
    }
}

// Until a token has been taken.
function ask() {
    const form = find("login");
    const token = find("token");
    const said = find("login-error");
    form.hidden = false;
    token.focus();
    return new Promise((taken) => {
        form.onsubmit = async (event) => {
            event.preventDefault();
            const button = form.querySelector("button");
            button.disabled = true;
            setText(said, "");
            try {
                await postJson("/login", { token: token.value });
                token.value = "";
                form.onsubmit = null;
                taken();
            } catch (error) {
                setText(said, error.status === 401 ? "This token is not known here." : error.message);
                token.select();
            }
            button.disabled = false;
        };
    });
}

export async function leave() {
    try {
        await postJson("/logout", {});
    } finally {
        location.assign("/");
    }
}
