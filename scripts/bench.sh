#!/usr/bin/env bash
# Runs the benchmarks and says on which machine and with which flags.
set -eu
cd "$(dirname "$0")/.."
echo "machine: $(sed -n 's/^model name[^:]*: //p' /proc/cpuinfo | head -n 1), $(nproc) cores"
echo "compiler: $(g++ --version | head -n 1), $(sed -n 's/^CMAKE_CXX_FLAGS_RELEASE:[^=]*=//p' build/release/CMakeCache.txt) (release preset)"
exec build/release/bench/gnss_bench "$@"
