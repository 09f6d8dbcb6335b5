#!/usr/bin/env python3
"""Prints the tables of docs/accuracy.md about `gnss run`: positions from real logs against a precise position, against
the reference solutions of an independent program and against the receivers' own fixes. Each figure has the interval
that holds 95 % of its bootstrap values; whole hours are drawn, because errors of one hour resemble each other.

usage: GNSS_TEST_DATA=... scripts/accuracy_of_runs.py [PROGRAM]"""
import csv
import io
import math
import os
import random
import subprocess
import sys
from pathlib import Path

PROGRAM = sys.argv[1] if len(sys.argv) > 1 else "build/release/host/gnss"
ROOT = Path(os.environ["GNSS_TEST_DATA"])
DATA, REFERENCE = ROOT / "data", ROOT / "reference"
DRAWS = 500
FIGURES = ["horizontal RMS", "95 %", "vertical RMS", "95 %", "3-D RMS"]

ESBC = ["ESBC00DNK_R_20201770000_01D_30S_MO_GR.rnx.gz", "ESBC00DNK_R_20201770000_01D_MN.rnx.gz"]
ESBC_PLACE = (3582104.922, 532590.181, 5232755.363)
TSUKUBA_PLACE = (-3869297.5138, 3436571.3345, 3717369.3757)  # message 1005 of the RTCM log

# WGS 84
A, F = 6378137.0, 1 / 298.257223563
E2 = F * (2 - F)


def to_ecef(latitude, longitude, height):
    n = A / math.sqrt(1 - E2 * math.sin(latitude) ** 2)
    r = (n + height) * math.cos(latitude)
    return r * math.cos(longitude), r * math.sin(longitude), (n * (1 - E2) + height) * math.sin(latitude)


def axes_at(place):
    """Rows east, north, up."""
    x, y, z = place
    longitude = math.atan2(y, x)
    latitude = math.atan2(z, math.hypot(x, y) * (1 - E2))
    for _ in range(10):
        n = A / math.sqrt(1 - E2 * math.sin(latitude) ** 2)
        latitude = math.atan2(z + E2 * n * math.sin(latitude), math.hypot(x, y))
    sp, cp, sl, cl = math.sin(latitude), math.cos(latitude), math.sin(longitude), math.cos(longitude)
    return (-sl, cl, 0), (-sp * cl, -sp * sl, cp), (cp * cl, cp * sl, sp)


def enu(position, place, axes):
    delta = [p - q for p, q in zip(position, place)]
    return tuple(sum(a * d for a, d in zip(axis, delta)) for axis in axes)


def middle_of(positions):
    return tuple(sum(axis) / len(positions) for axis in zip(*positions))


def errors(positions, place):
    axes = axes_at(place)
    return {t: enu(p, place, axes) for t, p in positions.items()}


def gps_seconds(week, seconds):
    return round(week * 604800 + seconds)


def run(sources, *options):
    """GPS seconds -> ECEF of each position, and the counts of the run."""
    command = [PROGRAM, "run", *(str(DATA / s) for s in sources), "--form", "csv", "--quiet", *options]
    text = subprocess.run(command, check=True, capture_output=True, text=True).stdout
    positions, counts = {}, {"epochs": 0, "rejected": 0, "passed": 0, "uv": 0.0, "tested": 0}
    for row in csv.DictReader(io.StringIO(text)):
        counts["epochs"] += 1
        if not row["x_m"]:
            continue
        time = gps_seconds(int(row["gps_week"]), float(row["gps_time_s"]))
        positions[time] = float(row["x_m"]), float(row["y_m"]), float(row["z_m"])
        counts["rejected"] += int(row["rejected_gps"]) + int(row["rejected_glonass"])
        counts["passed"] += row["test"] == "passed"
        if row["unit_variance"]:
            counts["uv"] += float(row["unit_variance"])
            counts["tested"] += 1
    return positions, counts


def reference(name, week="gps_week", tow="tow_s_GPST"):
    with open(REFERENCE / name, newline="") as file:
        return {gps_seconds(int(r[week]), float(r[tow])): (float(r["x_m"]), float(r["y_m"]), float(r["z_m"]))
                for r in csv.DictReader(file)}


def figures(values):
    if not values:
        return [math.nan] * 5
    horizontal = sorted(e * e + n * n for e, n, _ in values)
    vertical = sorted(u * u for _, _, u in values)
    last = math.ceil(0.95 * len(values)) - 1
    return [math.sqrt(x) for x in (sum(horizontal) / len(values), horizontal[last], sum(vertical) / len(values),
                                   vertical[last], (sum(horizontal) + sum(vertical)) / len(values))]


def interval(samples):
    samples = sorted(samples)
    return samples[int(0.025 * len(samples))], samples[min(int(0.975 * len(samples)), len(samples) - 1)]


def drawn(sets, span):
    """The figures of each of several sets of errors, of all epochs and of DRAWS draws of whole spans, the same
    ones for each set."""
    spans = sorted({t // span for s in sets for t in s})
    by_span = [{k: [] for k in spans} for _ in sets]
    for errors_of, parts in zip(sets, by_span):
        for t, e in errors_of.items():
            parts[t // span].append(e)
    generator = random.Random(1)
    draws = []
    for _ in range(DRAWS):
        chosen = generator.choices(spans, k=len(spans))
        draws.append([figures([e for k in chosen for e in parts[k]]) for parts in by_span])
    return [figures(list(s.values())) for s in sets], draws


def table(title, ours, theirs=None, span=3600, names=("ours", "reference")):
    """Rows: ours, the reference's, and whether the difference is more than chance."""
    sets = [ours] if theirs is None else [ours, theirs]
    values, draws = drawn(sets, span)
    for k, name in enumerate(names[:len(sets)]):
        cells = []
        for i, value in enumerate(values[k]):
            low, high = interval([d[k][i] for d in draws])
            cells.append(f"{value:.2f} ({low:.2f} to {high:.2f})")
        print(f"| {title if k == 0 else ''} | {name} | {len(sets[k])} | " + " | ".join(cells) + " |")
    if theirs is None:
        return
    cells = []
    for i in range(len(FIGURES)):
        low, high = interval([d[0][i] - d[1][i] for d in draws])
        word = "better" if high < 0 else "worse" if low > 0 else "a tie"
        cells.append(f"{values[0][i] - values[1][i]:+.2f} ({low:+.2f} to {high:+.2f}): {word}")
    print("| | difference | | " + " | ".join(cells) + " |")


def header():
    print("| | | epochs | " + " | ".join(FIGURES) + " |")
    print("|---" * (3 + len(FIGURES)) + "|")


def part_of_day(values, remainder):
    return {t: e for t, e in values.items() if t % 86400 // 3600 % 2 == remainder}


def say_counts(name, counts, positions):
    mean = counts["uv"] / max(counts["tested"], 1)
    print(f"| {name} | {counts['epochs']} | {len(positions)} | {counts['rejected']} | "
          f"{100 * counts['passed'] / max(len(positions), 1):.2f} % | {mean:.2f} |")


def main():
    counted = []
    print("## ESBC 2020-06-25\n")
    header()
    for name, options, file in [("GPS", ["--mode", "gps"], "spp_esbc_2020177_gps.csv"),
                                ("GPS + GLONASS", [], "spp_esbc_2020177_gpsglo.csv"),
                                ("GLONASS", ["--mode", "glonass"], None),
                                ("GPS + GLONASS, ionosphere-free", ["--ranges", "iono-free"], None)]:
        positions, counts = run(ESBC, *options)
        counted.append((f"ESBC, {name}", counts, positions))
        ours = errors(positions, ESBC_PLACE)
        theirs = errors(reference(file), ESBC_PLACE) if file else None
        table(name, ours, theirs)
        for remainder, part in [(0, "even hours"), (1, "odd hours")]:
            table(f"{name}, {part}", part_of_day(ours, remainder),
                  part_of_day(theirs, remainder) if theirs else None)
    print("\n## Short logs\n")
    header()
    for name, sources, options, file, place in [
            ("NovAtel OEM, 2009", ["oemv_200911218.gps"], [], "spp_oemv_gpsglo.csv", TSUKUBA_PLACE),
            ("RTCM 3, 2009", ["testglo.rtcm3"], ["--date", "2009-12-18T23:00:00"], "spp_testglo_gpsglo.csv",
             TSUKUBA_PLACE),
            ("UBX, 2008", ["ubx_20080526.ubx"], ["--date", "2008-05-26T06:00:00"], "spp_ubx_20080526_gps.csv", None)]:
        positions, counts = run(sources, *options)
        counted.append((name, counts, positions))
        theirs = reference(file)
        if place is not None:
            table(name, errors(positions, place), errors(theirs, place), 10)
            continue
        table(f"{name}, about the mean", errors(positions, middle_of(list(positions.values()))),
              errors(theirs, middle_of(list(theirs.values()))), 10)
        common = {t: p for t, p in positions.items() if t in theirs}
        table(f"{name}, the reference's epochs", errors(common, middle_of(list(common.values()))),
              errors(theirs, middle_of(list(theirs.values()))), 10)

    print("\n## Against the receivers' own fixes\n")
    header()
    positions, counts = run(["16dBatt_no_interference_coldstart.ubx.gz"])
    counted.append(("UBX cold start, 2025", counts, positions))
    with open(REFERENCE / "ubx_16dbatt_fixes.csv", newline="") as file:
        rows = [r for r in csv.DictReader(file) if r["fix_type"] == "3"]
    week = min(t // 604800 for t in positions)
    receiver = {gps_seconds(week, float(r["iTOW_ms_GPST"]) / 1000): (float(r["ecef_x_m"]), float(r["ecef_y_m"]),
                                                                    float(r["ecef_z_m"])) for r in rows}
    compare_with_receiver("UBX cold start", positions, receiver)
    live, _ = run(["16dBatt_no_interference_coldstart.ubx.gz"], "--as-received")
    positions, _ = run(["oemv_200911218.gps"])
    with open(REFERENCE / "oemv_fixes.csv", newline="") as file:
        rows = [r for r in csv.DictReader(file) if r["sol_status"] == "0"]
    receiver = {gps_seconds(int(r["gps_week"]), float(r["tow_s_GPST"])):
                to_ecef(math.radians(float(r["lat_deg"])), math.radians(float(r["lon_deg"])),
                        float(r["h_msl_m"]) + float(r["undulation_m"])) for r in rows}
    compare_with_receiver("NovAtel OEM", positions, receiver)
    table("NovAtel OEM, against the surveyed place", errors(receiver, TSUKUBA_PLACE), span=10, names=["the receiver's"])
    print(f"\nUBX cold start as received: first position at {min(live) % 604800} s of the week.\n")

    print("## Counts\n\n| log | epochs | positions | rejected | tests passed | mean unit variance |\n" + "|---" * 6 + "|")
    for name, counts, positions in counted:
        say_counts(name, counts, positions)


def compare_with_receiver(name, positions, receiver):
    common = [t for t in positions if t in receiver]
    place = middle_of([receiver[t] for t in common])
    axes = axes_at(place)
    table(name, {t: enu(positions[t], receiver[t], axes) for t in common}, span=10, names=["ours less the receiver's"])


if __name__ == "__main__":
    main()
