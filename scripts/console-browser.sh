#!/usr/bin/env bash
# Tests the console's page in a browser: against a mock of its server, and with GNSS (build/dev/host/gnss) against the
# program, which the tests start: its simulated receiver, a replay of a real log (GNSS_TEST_DATA names the folder of the
# data), tokens, sources that mean harm. With an address (http://127.0.0.1:8080) the page's tests alone, against a running
# `gnss run --console`, which they steer. What follows the address goes to node:
#   GNSS=build/dev/host/gnss scripts/console-browser.sh '' --test-name-pattern=axe
#   GNSS=build/release/host/gnss GNSS_TEST_DATA=... scripts/console-browser.sh --pictures    draws docs/pictures/console*.png
set -eu
cd "$(dirname "$0")/.."
scripts/install-packages.sh test
[ ! -x scripts/console-page.sh ] || scripts/console-page.sh
if [ -n "${GNSS:-}" ]; then
    GNSS=$(realpath -m "$GNSS")
    export GNSS
    [ -x "$GNSS" ] || { echo "console-browser: GNSS names no program: $GNSS" >&2; exit 1; }
fi
cd tests/console
# npm writes this file last.
if [ ! -f node_modules/.package-lock.json ] || [ package-lock.json -nt node_modules/.package-lock.json ]; then
    ../../scripts/quietly.sh npm ci --ignore-scripts --no-audit --no-fund
    touch node_modules/.package-lock.json
fi
if [ "${1:-}" = --pictures ]; then
    node pictures.mjs --to ../../docs/pictures
    cd ../../docs/pictures
    for picture in console*.png; do ../../scripts/smaller_png.py "$picture"; done
    ls -l console*.png
    exit 0
fi
export CONSOLE_URL=${1:-}
[ $# -eq 0 ] || shift
files=(page.test.mjs)
if [ -z "$CONSOLE_URL" ]; then
    files+=(simulator.test.mjs program.test.mjs)
    [ -n "${GNSS:-}" ] || echo "skipped against the program: GNSS does not say where it is"
    [ -n "${GNSS_TEST_DATA:-}" ] || echo "replays of a real log skipped: no test data"
fi
# Nothing hangs for ever. Waiting is most of it.
exec timeout --kill-after=10 900 node --test --test-concurrency=3 "$@" "${files[@]}"
