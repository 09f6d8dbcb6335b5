#!/usr/bin/env bash
# Runs the program with the arguments given; without any, shows an example of the library and the program's commands.
set -eu
cd "$(dirname "$0")/.."
if [ $# -gt 0 ]; then
    exec build/release/host/gnss "$@"
fi
build/release/examples/gps_time
echo
build/release/host/gnss --help
