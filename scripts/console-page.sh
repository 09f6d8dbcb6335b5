#!/usr/bin/env bash
# Fetches what the console's page is made of besides our own files (uPlot), by npm, at the versions of its lock file;
# does nothing when it is there and not older than that.
set -eu
cd "$(dirname "$0")/../host/console/page"

# npm writes this file last.
done=node_modules/.package-lock.json
if [ -f "$done" ] && [ ! package-lock.json -nt "$done" ]; then exit 0; fi
if ! command -v npm >/dev/null; then
    echo "console-page: npm is not there; scripts/install-packages.sh build installs it" >&2
    exit 1
fi
echo "Fetching the parts of the console's page"
../../../scripts/quietly.sh npm ci --ignore-scripts --no-audit --no-fund
touch "$done"
