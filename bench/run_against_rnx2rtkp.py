#!/usr/bin/env python3
"""`gnss run` of a day of observations against RTKLIB's rnx2rtkp (Debian package rtklib) on the same files.

Both are whole processes, started in turns: RINEX files in, positions out as text, GPS and GLONASS, C/A on L1, mask of
10 degrees, broadcast orbits and ionosphere, Saastamoinen's troposphere. rnx2rtkp solves without its integrity check;
gnss does the whole quality control, there is no way to do without. Then gnss alone: the folder without and with the
pictures, and how its memory depends on how the input is packed. Exit status 1 when a goal is missed.

usage: run_against_rnx2rtkp.py [--runs N] [--gnss PROGRAM] OBSERVATIONS.rnx.gz NAVIGATION.rnx.gz
"""
import argparse
import gzip
import json
import os
import pathlib
import shutil
import statistics
import subprocess
import sys
import tempfile
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
OPTIONS = """pos1-posmode=single
pos1-frequency=l1
pos1-elmask=10
pos1-ionoopt=brdc
pos1-tropopt=saas
pos1-sateph=brdc
pos1-navsys=5
pos1-posopt5=off
"""
RATIO_GOAL = 5.0
MEMORY_GOAL_MIB = 64.0
PICTURES_GOAL_S = 3.0


class Program:
    def __init__(self, name, command, folder):
        self.name, self.folder, self.wall, self.cpu = name, folder, [], []
        self.command = [str(word) for word in command]

    def run(self):
        begin = time.perf_counter()
        process = subprocess.Popen(self.command, cwd=self.folder, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        _, status, usage = os.wait4(process.pid, 0)
        self.wall.append(time.perf_counter() - begin)
        self.cpu.append(usage.ru_utime + usage.ru_stime)
        if status != 0:
            sys.exit(f"{' '.join(self.command)}: failed")

    def memory(self):
        """Peak resident MiB. By GNU time: wait4 would tell Python's own, which the child is before it becomes another."""
        timed = subprocess.run(["/usr/bin/time", "-q", "-f", "%M", "-o", "memory", *self.command], cwd=self.folder,
                               stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        if timed.returncode != 0:
            sys.exit(f"{' '.join(self.command)}: failed")
        return int((self.folder / "memory").read_text()) / 1024

    def print(self, note):
        print(f"{self.name:34} wall {min(self.wall):6.3f} {statistics.median(self.wall):6.3f} s   "
              f"cpu {min(self.cpu):6.3f} {statistics.median(self.cpu):6.3f} s   {self.memory():5.1f} MiB   {note}")


def machine(gnss):
    for line in pathlib.Path("/proc/cpuinfo").read_text().splitlines():
        if line.startswith("model name"):
            name = line.split(":", 1)[1].strip()
            break
    else:
        name = "unknown processor"
    print(f"machine: {name}, {os.cpu_count()} cores, load {os.getloadavg()[0]:.1f}")
    commands = gnss.parent.parent / "compile_commands.json"
    if commands.exists():
        words = json.loads(commands.read_text())[0]["command"].split()
        flags = [word for word in words if word.startswith(("-O", "-f", "-m", "-DNDEBUG"))]
        print(f"gnss: {gnss.parent.parent.name} preset, {' '.join(flags)}")
    package = subprocess.run(["dpkg-query", "-W", "-f", "${Version}", "rtklib"], capture_output=True, text=True)
    print(f"rnx2rtkp: Debian package rtklib {package.stdout or 'of unknown version'}")


def compare(gnss, folder, runs):
    (folder / "spp.conf").write_text(OPTIONS)
    other = Program("rnx2rtkp", ["rnx2rtkp", "-k", "spp.conf", "-o", "other.pos", "obs.rnx", "nav.rnx"], folder)
    ours = Program("gnss, positions to CSV", [gnss, "run", "obs.rnx", "nav.rnx", "--positions", "ours.csv", "--form",
                                               "csv", "--quiet"], folder)
    tables = Program("gnss, folder without pictures", [gnss, "run", "obs.rnx", "nav.rnx", "--output", "tables",
                                                        "--overwrite", "--no-pictures"], folder)
    pictures = Program("gnss, folder with pictures", [gnss, "run", "obs.rnx", "nav.rnx", "--output", "pictures",
                                                       "--overwrite"], folder)
    print(f"\nbest and median of {runs} runs, peak memory, epochs solved")
    for _ in range(runs):
        for program in (other, ours, tables, pictures):
            program.run()
    lines = (folder / "other.pos").read_text().splitlines()
    other.print(sum(1 for line in lines if not line.startswith("%")))
    solved = (folder / "ours.csv").read_text().splitlines()
    latitude = next(i for i, name in enumerate(solved[0].split(",")) if name.startswith("latitude"))
    ours.print(sum(1 for line in solved[1:] if line.split(",")[latitude] != ""))
    tables.print("")
    pictures.print("")
    best, median = (f(other.wall) / f(ours.wall) for f in (min, statistics.median))
    print(f"rnx2rtkp takes {best:.1f} times as long by the best runs, {median:.1f} by the medians; "
          f"{min(other.cpu) / min(ours.cpu):.1f} by processor time")
    return best >= RATIO_GOAL and statistics.median(pictures.wall) < PICTURES_GOAL_S


def packed(gnss, folder, observations, navigation):
    """How memory depends on the packing."""
    print("\npeak memory of gnss, positions to CSV")
    whole = observations.read_bytes()
    (folder / "ten.rnx.gz").write_bytes(whole * 10)
    with open(folder / "ten.rnx", "wb") as ten:
        ten.write((folder / "obs.rnx").read_bytes() * 10)
    peaks = []
    for name, obs, nav in (("plain", "obs.rnx", "nav.rnx"), ("gzip", observations, navigation),
                           ("gzip, ten times the day", "ten.rnx.gz", navigation),
                           ("plain, ten times the day", "ten.rnx", "nav.rnx")):
        run = Program(name, [gnss, "run", obs, nav, "--positions", "packed.csv", "--form", "csv", "--quiet"], folder)
        peaks.append(run.memory())
        rows = (folder / "packed.csv").read_bytes().count(b"\n") - 1
        print(f"{name:34} {peaks[-1]:5.1f} MiB   {rows} epochs")
    return max(peaks) < MEMORY_GOAL_MIB


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--runs", type=int, default=15)
    parser.add_argument("--gnss", type=pathlib.Path, default=ROOT / "build/release/host/gnss")
    parser.add_argument("observations", type=pathlib.Path)
    parser.add_argument("navigation", type=pathlib.Path)
    given = parser.parse_args()
    gnss, observations, navigation = (p.resolve() for p in (given.gnss, given.observations, given.navigation))
    for tool in ("rnx2rtkp", "/usr/bin/time"):
        if shutil.which(tool) is None:
            sys.exit(f"{tool} is missing: scripts/install-packages.sh bench")
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        for source, target in ((observations, "obs.rnx"), (navigation, "nav.rnx")):
            with gzip.open(source) as packed_file, open(folder / target, "wb") as plain:
                shutil.copyfileobj(packed_file, plain)
        machine(gnss)
        fast = compare(gnss, folder, given.runs)
        small = packed(gnss, folder, observations, navigation)
    print(f"\ngoals (at least {RATIO_GOAL:.0f} times as fast, {MEMORY_GOAL_MIB:.0f} MiB, pictures in "
          f"{PICTURES_GOAL_S:.0f} s): {'met' if fast and small else 'MISSED'}")
    return 0 if fast and small else 1


if __name__ == "__main__":
    sys.exit(main())
