#!/usr/bin/env bash
# Makes the tables of docs/accuracy.md again that need real data: broadcast orbits against precise ones, and satellite
# states against independent programs. The folder with data/ and reference/ is GNSS_TEST_DATA.
set -eu
cd "$(dirname "$0")/.."
data=${GNSS_TEST_DATA:?}/data
compare() {
    echo "== $1"
    shift
    build/release/host/gnss compare "$@" --rule nearest --glonass-max-age 900 2>/dev/null | grep -E "sat|all"
}
compare "GPS 2010-07-01" "$data/brdc1820.10n" --precise "$data/igs15904.sp3"
compare "GLONASS 2009-04-01" "$data/brdc0910.09g" --precise "$data/igl15253.sp3"
compare "GLONASS 2009-04-01, shifted by PE90_to_WGS84" "$data/brdc0910.09g" --precise "$data/igl15253.sp3" --shift pe90
compare "GLONASS 2009-04-01, shifted by NovatelShift" "$data/brdc0910.09g" --precise "$data/igl15253.sp3" --shift novatel
compare "GPS and GLONASS 2020-06-25" "$data/ESBC00DNK_R_20201770000_01D_MN.rnx.gz" \
    --precise "$data/GRG0MGXFIN_20201770000_01D_15M_ORB.SP3.gz"
echo "== satellite states against independent programs"
build/dev/tests/host_receiver_tests --gtest_brief=1 --gtest_filter='SatelliteReference.*' | grep rows
