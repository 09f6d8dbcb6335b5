#!/usr/bin/env bash
# The pictures of the README, drawn into docs/pictures: a station in Denmark on 25 June 2020, a receiver's log of
# 18 December 2009, and a simulated receiver.
# GNSS_TEST_DATA names the folder of the data, GNSS the program.
set -eu
cd "$(dirname "$0")/.."
gnss=${GNSS:-build/release/host/gnss}
data=${GNSS_TEST_DATA:?names the folder of the test data}/data
to=docs/pictures
mkdir -p "$to"

sky() {
    local picture=$to/$1
    shift
    "$gnss" sky "$data/ESBC00DNK_R_20201770000_01D_MN.rnx.gz" --at 55.49357,8.45683,60 --output "$picture" "$@" \
        >/dev/null 2>&1 || { echo "$picture is not drawn" >&2; exit 1; }
    scripts/smaller_png.py "$picture"
}

sky sky-both.png --time 2020-06-25T11:40:00
sky sky-dark.png --time 2020-06-25T11:40:00 --palette dark --mode gps --azimuths turned1 --disable G21
sky sky-glonass.png --time 2020-06-25T18:00:00 --mode glonass --azimuths upright --diagonals --norvi-ring
sky sky-small.png --time 2020-06-25T11:40:00 --size 360 --font-size 9 --azimuths turned2 --no-border

"$gnss" plan "$data/ESBC00DNK_R_20201770000_01D_MN.rnx.gz" --at 55.49357,8.45683,60 --mode gps --mask 15 \
    --from 2020-06-25 --to 2020-06-26 --plot "$to/plan.png" >/dev/null 2>&1 || { echo "no plan is drawn" >&2; exit 1; }
scripts/smaller_png.py "$to/plan.png"
"$gnss" show ephemeris "$data/oemv_200911218.gps" --width 1000 --palette dark \
    --output "$to/ephemerides.png" >/dev/null 2>&1 || { echo "no view is drawn" >&2; exit 1; }
scripts/smaller_png.py "$to/ephemerides.png"
run=$(mktemp -d)
trap 'rm -rf "$run"' EXIT
"$gnss" run "$data"/ESBC00DNK_R_20201770000_01D_30S_MO_GR.rnx.gz "$data"/ESBC00DNK_R_20201770000_01D_MN.rnx.gz \
    --reference 3582104.922,532590.181,5232755.363 --output "$run/day" --png --quiet
for picture in position tests; do
    cp "$run/day/$picture.png" "$to/$picture.png"
    scripts/smaller_png.py "$to/$picture.png"
done
"$gnss" simulate --duration 20min --warm-up 13min --fault ramp,G11,at=300,for=600,size=0.2 |
    "$gnss" run - --output "$run/ramp" --png --quiet
cp "$run/ramp/notes.png" "$to/notes.png"
scripts/smaller_png.py "$to/notes.png"
ls -l "$to"
