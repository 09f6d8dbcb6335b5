#!/usr/bin/env bash
# Builds the fuzz targets, replays the corpus of each and fuzzes it for the given number of seconds.
# Targets that read files of the field also start from the real ones below GNSS_TEST_DATA, where that is set, cut to
# the first 20 kB. New inputs stay in build/fuzz/corpus; a crash leaves its input in build/fuzz/crashes and fails the run.
set -eu
cd "$(dirname "$0")/.."
seconds=${1:?seconds}
scripts/quietly.sh cmake --preset fuzz
scripts/quietly.sh cmake --build --preset fuzz
mkdir -p build/fuzz/crashes
for source in fuzz/*_fuzz.cpp; do
    [ -e "$source" ] || continue
    name=$(basename "$source" .cpp)
    mkdir -p "build/fuzz/corpus/$name"
    seeds=()
    options=()
    [ -d "fuzz/corpus/$name" ] && seeds=("fuzz/corpus/$name")
    case $name in
        RinexNavigation_fuzz | Sp3_fuzz)
            options=(-max_len=20000)
            [ -d "${GNSS_TEST_DATA:-}/data" ] && seeds+=("$GNSS_TEST_DATA/data")
            ;;
    esac
    scripts/quietly.sh "build/fuzz/fuzz/$name" -runs=0 "${options[@]}" "${seeds[@]}"
    scripts/quietly.sh "build/fuzz/fuzz/$name" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 "${options[@]}" \
        -artifact_prefix=build/fuzz/crashes/ "build/fuzz/corpus/$name" "${seeds[@]}"
    echo "$name: clean for $seconds s"
done
