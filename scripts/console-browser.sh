#!/usr/bin/env bash
# Tests the console's page in a browser: against a mock of its server, or with an address (http://127.0.0.1:8080) against
# a running `gnss run --console`, which it steers. What follows the address goes to node:
#   scripts/console-browser.sh '' --test-name-pattern=axe
set -eu
cd "$(dirname "$0")/.."
scripts/install-packages.sh test
[ ! -x scripts/console-page.sh ] || scripts/console-page.sh
cd tests/console
# npm writes this file last.
if [ ! -f node_modules/.package-lock.json ] || [ package-lock.json -nt node_modules/.package-lock.json ]; then
    ../../scripts/quietly.sh npm ci --ignore-scripts --no-audit --no-fund
    touch node_modules/.package-lock.json
fi
export CONSOLE_URL=${1:-}
[ $# -eq 0 ] || shift
exec node --test "$@" page.test.mjs
