#!/usr/bin/env bash
# Runs the program with the arguments given; without any, ten minutes of the simulated receiver at twenty times real
# speed, with positions on the terminal and a report in build/demo.
set -eu
cd "$(dirname "$0")/.."
if [ $# -gt 0 ]; then
    exec build/release/host/gnss "$@"
fi
build/release/host/gnss run --simulator-speed 20 --duration 600 --output build/demo --overwrite
echo
echo "Look at build/demo/2025-06-04/report.html. With a receiver of your own:"
echo "  build/release/host/gnss run LOG --output DIR"
echo "  build/release/host/gnss run serial:///dev/ttyUSB0?baud=115200 --output DIR"
echo "In a browser, at http://127.0.0.1:8080:"
echo "  build/release/host/gnss run --console"
echo "build/release/host/gnss --help tells more."
