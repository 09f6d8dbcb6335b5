// The tests of the page against the real program with its simulated receiver, which they steer.

import { test } from "node:test";
import { Gnss } from "./program.mjs";

if (Gnss === "") test("the page of the real program", { skip: "GNSS does not say where the program is" }, () => {});
else {
    process.env.CONSOLE_URL = "simulator";
    await import("./page.test.mjs");
}
