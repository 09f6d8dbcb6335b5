// Starts the real program (GNSS names it) with a console, and ends it again.

import { spawn } from "node:child_process";
import { fileURLToPath } from "node:url";

const Patience = 30000; // ms
// The fonts' library keeps what it has read.
const leaks = fileURLToPath(new URL("leaks.txt", import.meta.url));
const Environment = { ...process.env, LSAN_OPTIONS: `suppressions=${leaks}:print_suppressions=0` };
// Of GNSS_TEST_DATA/data: a station in Denmark on 25 June 2020.
export const Log = ["ESBC00DNK_R_20201770000_01D_30S_MO_GR.rnx.gz", "ESBC00DNK_R_20201770000_01D_MN.rnx.gz"];
export const Gnss = process.env.GNSS ?? "";
const running = new Set();
process.on("exit", () => running.forEach((child) => child.kill("SIGKILL")));

// program(["run", "simulator"]): {url, said, close}; fails with what the program said when it does not come up.
export async function program(args, folder) {
    const child = spawn(Gnss, [...args, "--console", "127.0.0.1:0"], { cwd: folder, env: Environment, stdio: ["ignore", "ignore", "pipe"] });
    running.add(child);
    let said = "";
    const ended = new Promise((done) => child.on("close", done));
    const url = await new Promise((up, fail) => {
        const give = (why) => fail(new Error(`${Gnss} ${args.join(" ")}: ${why}: ${said}`));
        const timer = setTimeout(() => give("no console in time"), Patience);
        child.on("error", (error) => give(error.message));
        child.on("close", (status) => give(`ended with ${status}`));
        child.stderr.setEncoding("utf8").on("data", (piece) => {
            said += piece;
            const [, address] = said.match(/console is at (http\S+)\//) ?? [];
            if (address) clearTimeout(timer), up(address);
        });
    });
    return {
        url,
        // With what a sanitizer has to say, if anything.
        async close() {
            child.kill("SIGINT");
            const timer = setTimeout(() => child.kill("SIGKILL"), Patience);
            const status = await ended;
            clearTimeout(timer);
            running.delete(child);
            if (status !== 0) throw new Error(`${Gnss} ${args.join(" ")} ended with ${status}: ${said}`);
        },
    };
}
