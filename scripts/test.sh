#!/usr/bin/env bash
# Everything that must pass before a change lands, stage by stage, with the minutes of each.
set -eu
cd "$(dirname "$0")/.."
export CTEST_OUTPUT_ON_FAILURE=1

times=()
stage() {
    local name=$1
    shift
    echo "== $name"
    local start=$SECONDS
    "$@"
    local line
    line=$(printf '%6s min  %s' "$(bc_tenths $((SECONDS - start)))" "$name")
    times+=("$line")
}
# Seconds as minutes with one decimal, without bc.
bc_tenths() { echo "$(($1 / 60)).$((($1 % 60) * 10 / 60))"; }

dev() {
    scripts/quietly.sh cmake --preset dev
    scripts/quietly.sh cmake --build --preset dev
}
tsan() {
    scripts/quietly.sh cmake --preset tsan
    scripts/quietly.sh cmake --build --preset tsan
    ctest --preset tsan --progress
}
# How many passed is said, and what was skipped.
browser() {
    local log=build/console-browser.log
    GNSS=build/dev/host/gnss scripts/console-browser.sh >$log 2>&1 || { cat $log; return 1; }
    grep -E '^(skipped|replays of|. (tests|pass|skipped) )' $log
}
start=$SECONDS
stage "format" scripts/format.sh --check
stage "include directions" python3 scripts/check_includes.py
stage "build, with address and undefined-behaviour sanitizers" dev
# The static analyser runs with `make tidy`: here it would be minutes more.
stage "clang-tidy, without the static analyser" scripts/tidy.sh --quick
stage "fuzz targets, 10 s each" scripts/fuzz.sh 10
stage "tests of threads, with the thread sanitizer" tsan
stage "tests" ctest --preset dev --progress
stage "console in a browser" browser

echo
echo "Minutes per stage:"
printf '%s\n' "${times[@]}"
echo "$(bc_tenths $((SECONDS - start))) min in all"
