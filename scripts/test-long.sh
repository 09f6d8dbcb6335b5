#!/usr/bin/env bash
# What takes too long for every change: the tests many times over in random order, a thousand simulated faults and ten
# thousand simulated fixes, the notes of every kind of fault, two days of a live stream that breaks, a month of simulated
# traffic through the stores, and five minutes of each fuzz target.
set -eu
cd "$(dirname "$0")/.."
scripts/quietly.sh cmake --preset dev
scripts/quietly.sh cmake --build --preset dev
for program in build/dev/tests/*_tests; do
    echo "== $program, 20 times in random order"
    scripts/quietly.sh "$program" --gtest_brief=1 --gtest_repeat=20 --gtest_shuffle
done
scripts/quietly.sh cmake --preset tsan
scripts/quietly.sh cmake --build --preset tsan
for program in build/tsan/tests/*_threads_tests; do
    echo "== $program, 20 times"
    scripts/quietly.sh "$program" --gtest_brief=1 --gtest_repeat=20
done
echo "== what is promised of simulated errors and faults"
scripts/quietly.sh cmake --preset release -B build/release-tests -DGNSS_BUILD_TESTS=ON
scripts/quietly.sh cmake --build build/release-tests --target host_simulate_tests gnss_program
GNSS_TEST_RUNS=1000 build/release-tests/tests/host_simulate_tests --gtest_brief=1 --gtest_filter='*Statistics*'
scripts/simulated_faults.py build/release-tests/host/gnss
echo "== two days of a live stream that breaks"
scripts/quietly.sh cmake --preset release
scripts/quietly.sh cmake --build --preset release --target live_load
build/release/bench/live_load trouble 48
echo "== a month of traffic through the stores"
scripts/quietly.sh cmake --preset release
scripts/quietly.sh cmake --build --preset release --target store_soak
# 170000 almanacs are better saved to memory than to a disk.
[ ! -w /dev/shm ] || export TMPDIR=/dev/shm
build/release/bench/store_soak 30
unset TMPDIR
scripts/fuzz.sh 300
