#!/usr/bin/env bash
# Runs the benchmarks and says on which machine and with which flags.
set -eu
cd "$(dirname "$0")/.."
echo "machine: $(sed -n 's/^model name[^:]*: //p' /proc/cpuinfo | head -n 1), $(nproc) cores"
echo "compiler: $(g++ --version | head -n 1), $(grep -m 1 '"command"' build/release/compile_commands.json | grep -oE -e ' -(O|f|m|DNDEBUG)[^ ]*' | tr -d '\n') (release preset)"
exec build/release/bench/gnss_bench "$@"
