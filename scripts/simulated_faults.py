#!/usr/bin/env python3
"""Simulates each kind of fault and looks for the note of `gnss run` that names it: prints how long after the fault's
start it begins and after the fault's end it ends. Exits with 1 when one takes longer than 30 s or the positions suffer.

usage: scripts/simulated_faults.py [PROGRAM] [WORDS OF A CASE'S NAME]"""
import csv
import subprocess
import sys
import tempfile
from pathlib import Path

PROGRAM = sys.argv[1] if len(sys.argv) > 1 else "build/release/host/gnss"
WANTED = sys.argv[2] if len(sys.argv) > 2 else ""
LIMIT = 30.0
# Of faultless ranges every hundredth is rejected, for an epoch: a note counts that holds longer, small holes aside.
CHANCE, HOLE, LEAST = 1.0, 5.0, 5.0
BEGIN, LENGTH, DURATION = 187, 304, 720
# A message fault begins and ends with the satellite's next frame of 30 s; those of GLONASS keep UTC, 18 s behind.
FRAME, GLONASS_FRAME = 30, 18
SECONDS = f"at={BEGIN},for={LENGTH}"
WARM = ["--warm-up", "13min"]  # the ionosphere's page is sent every 12.5 minutes


class Case:
    """What is simulated, and the numbers of the notes by which it is named. `span` is when the
    fault is, in seconds; an end of None means that it is an instant, whose remark need not end."""

    def __init__(self, name, faults, notes=(), satellite=None, span=(BEGIN, BEGIN + LENGTH), more=(),
                 duration=DURATION, worst=15.0, run=()):
        self.name, self.faults, self.notes, self.satellite = name, faults, notes, satellite
        self.span, self.more, self.duration, self.worst, self.run = span, list(more), duration, worst, list(run)

    def starts_and_ends(self):
        """When the satellite sends the fault: with the frame after `span` where it is in messages."""
        if not self.faults or self.faults[0].split(",")[0] not in ("unhealthy", "orbit", "mixed"):
            return self.span
        first = GLONASS_FRAME if self.satellite[0] == "R" else 0
        return tuple(first - (first - t) // FRAME * FRAME for t in self.span)


NO_FIX, REJECTED, NOT_PLACED, UNHEALTHY, NO_POSITION, CONTRADICTS, MISSING = 1, 2, 5, 15, 17, 25, 26
DAMAGED, LEAP_SECOND, NEW_WEEK, NEW_FOUR_YEARS = 34, 35, 36, 37
CASES = [
    Case("range step of 20 m", [f"step,G05,{SECONDS},size=20"], [REJECTED], "G05"),
    Case("range step of 20 m, GLONASS", [f"step,R03,{SECONDS},size=20"], [REJECTED], "R03"),
    Case("range ramp of 0.5 m/s", [f"ramp,G11,{SECONDS},size=0.5"], [REJECTED], "G11"),
    Case("range ramp of 0.5 m/s, GLONASS", [f"ramp,R12,{SECONDS},size=0.5"], [REJECTED], "R12"),
    Case("satellite clock drift of 0.5 m/s", [f"clock,G20,{SECONDS},size=0.5"], [REJECTED], "G20"),
    Case("unhealthy satellite", [f"unhealthy,G07,{SECONDS}"], [UNHEALTHY], "G07"),
    Case("unhealthy satellite, GLONASS", [f"unhealthy,R21,{SECONDS}"], [UNHEALTHY], "R21"),
    Case("wrong ephemerides, 500 m", [f"orbit,G13,{SECONDS},size=500"], [REJECTED], "G13"),
    Case("wrong ephemerides, 500 m, GLONASS", [f"orbit,R12,{SECONDS},size=500"], [REJECTED], "R12"),
    Case("mixed-up ephemerides, both high", [f"mixed,G05,{SECONDS},with=G20"], [REJECTED, NO_POSITION, CONTRADICTS], "G05"),
    Case("mixed-up ephemerides, other set", [f"mixed,G05,{SECONDS},with=G08"], [REJECTED, NO_POSITION, CONTRADICTS], "G05"),
    Case("mixed-up ephemerides, GLONASS", [f"mixed,R03,{SECONDS},with=R12"], [REJECTED, NO_POSITION, CONTRADICTS], "R03"),
    Case("mixed-up ephemerides, GLONASS, other set", [f"mixed,R03,{SECONDS},with=R08"], [REJECTED, NO_POSITION, CONTRADICTS], "R03"),
    Case("bit errors, 1e-3", [f"bits,all,{SECONDS},size=1e-3"], [DAMAGED]),
    Case("bit errors, one satellite, 5e-3", [f"bits,G05,{SECONDS},size=5e-3"], [DAMAGED]),
    Case("outage of a satellite", [f"outage,G05,{SECONDS}"], [MISSING], "G05"),
    Case("outage of a satellite, GLONASS", [f"outage,R03,{SECONDS}"], [MISSING], "R03"),
    Case("outage of a system", [f"outage,G,{SECONDS}"], [MISSING], "G05"),
    Case("outage of everything", [f"outage,all,{SECONDS}"], [NO_FIX]),
    Case("leap second that no table knows", ["leap,at=100"], [LEAP_SECOND], span=(300, None), more=["--start", "2025-06-30T23:55:18"]),
    Case("a week's end", [], [NEW_WEEK], span=(180, None), more=["--start", "2025-06-07T23:57:00"]),
    Case("end of 1024 weeks", [], [NEW_WEEK], span=(180, None), more=["--start", "2038-11-20T23:57:00"]),
    Case("GLONASS day 1461 to day 1", [], [NEW_FOUR_YEARS], span=(300, None),
         more=["--start", "2027-12-31T20:55:18"]),
    Case("range step of 100 m, redundancy of 1", [f"step,G05,{SECONDS},size=100"], [NOT_PLACED], worst=1000,
         more=["--systems", "G", "--mask", "38"]),
]


def simulate(case, folder):
    simulated = [PROGRAM, "simulate", "--duration", str(case.duration), "--truth", folder / "truth.csv", *WARM,
                 *case.more]
    for fault in case.faults:
        simulated += ["--fault", fault]
    stream = subprocess.run(simulated, stdout=subprocess.PIPE, check=True).stdout
    subprocess.run([PROGRAM, "run", "-", "--output", folder / "out", *case.run], input=stream, check=True,
                   stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)


def rows(path):
    with open(path, newline="") as file:
        return list(csv.DictReader(file))


def spans_of(case, journal, first):
    """Of the notes that name the fault, in seconds of the simulation."""
    found = []
    for row in journal:
        if not row["gps_week"]:
            continue
        begin = (int(row["gps_week"]) * 604800 + float(row["gps_time_s"])) - first
        if row["kind"] != "event" and int(row["note"]) in case.notes and case.satellite in (None, row["satellite"]):
            length = float(row["lasting_s"])
            if length > CHANCE:
                found.append([begin, begin + length, row["text"]])
    merged = []
    for span in sorted(found):
        if merged and span[0] - merged[-1][1] <= HOLE:
            merged[-1][1] = max(merged[-1][1], span[1])
        else:
            merged.append(span)
    return [span for span in merged if span[1] - span[0] >= LEAST]


def worst_error(folder):
    """Of the positions, by their epochs, and how many there are of how many."""
    truth = {(r["week"], round(float(r["tow_s"]), 2)): r for r in rows(folder / "truth.csv")}
    worst, fixes = 0.0, 0
    for row in rows(folder / "out" / "positions.csv"):
        true = truth.get((row["gps_week"], round(float(row["gps_time_s"]), 2)))
        if not row["x_m"] or true is None:
            continue
        fixes += 1
        worst = max(worst, sum((float(row[a + "_m"]) - float(true[a + "_m"])) ** 2 for a in "xyz") ** 0.5)
    return worst, fixes, len(truth)


def check(case):
    with tempfile.TemporaryDirectory() as name:
        folder = Path(name)
        simulate(case, folder)
        truth = rows(folder / "truth.csv")[0]
        first = int(truth["week"]) * 604800 + float(truth["tow_s"])
        spans = spans_of(case, rows(folder / "out" / "journal.csv"), first)
        worst, fixes, epochs = worst_error(folder)
    start, end = case.starts_and_ends()
    began = ended = text = ""
    good = worst < case.worst and bool(spans)
    if spans:
        began, text = f"{spans[0][0] - start:.0f} s", spans[0][2]
        good = good and 0.0 <= spans[0][0] - start <= LIMIT
    if spans and end is not None:
        ended = f"{spans[-1][1] - end:.0f} s"
        good = good and abs(spans[-1][1] - end) <= LIMIT
    print(f"| {case.name} | {text or '-'} | {began or '-'} | {ended or '-'} | {worst:.1f} m | {fixes} of {epochs} |"
          f"{'' if good else ' **missing**'}", flush=True)
    return good


def main():
    print("| fault | note | after its start | after its end | worst position | epochs with one |")
    print("|---|---|---|---|---|---|")
    return 0 if all([check(case) for case in CASES if WANTED in case.name]) else 1


if __name__ == "__main__":
    sys.exit(main())
