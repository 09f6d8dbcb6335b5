#!/usr/bin/env python3
"""Proves the direction of the #include lines.

Every folder of the library may include from itself and from the folders that it stands on; the folders of the host
have an order, whichever, with the commands on top; no file may include itself by way of others; inside the project,
files are named by their path from the root. Headers under gnss/ show no foreign library.
"""
import re
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent

# What each folder of the library stands on, directly; what those stand on is included.
STANDS_ON = {
    "gnss/platform": [],
    "gnss/time": ["gnss/platform"],
    "gnss/geodesy": ["gnss/time"],
    "gnss/measurement": ["gnss/geodesy"],
    "gnss/ephemeris": ["gnss/measurement"],
    "gnss/almanac": ["gnss/geodesy"],
    "gnss/icd": ["gnss/ephemeris", "gnss/almanac"],
    "gnss/health": ["gnss/time"],
    "gnss/position": ["gnss/health", "gnss/geodesy"],
    "gnss/store": ["gnss/almanac", "gnss/ephemeris", "gnss/measurement", "gnss/health"],
    "gnss/display": ["gnss/position", "gnss/store"],
}
# The commands: what they share with others stands below them.
TOP_OF_HOST = "host/cli"
# The umbrella header and the forward declarations stand above and below everything.
LIBRARY = "gnss"
PUBLIC_FOREIGN = re.compile(r"^(Eigen|boost|cairo|pango|spdlog|fmt|CLI|nlohmann|toml|zlib|httplib|gtest|benchmark)\b")
INCLUDE = re.compile(r'^\s*#\s*include\s*([<"])([^>"]+)[>"]')


def folder_of(path):
    parts = path.split("/")
    if parts[0] != "gnss":
        return parts[0]
    return "/".join(parts[:2]) if len(parts) > 2 else LIBRARY


def below(folder):
    """Every folder that `folder` may include from."""
    seen = {folder}
    waiting = [folder]
    while waiting:
        for other in STANDS_ON.get(waiting.pop(), []):
            if other not in seen:
                seen.add(other)
                waiting.append(other)
    return seen


def allowed(source, target):
    here, there = folder_of(source), folder_of(target)
    if here in STANDS_ON:
        if target == "gnss/fwd.h":
            return here != "gnss/platform"
        return there in below(here)
    if source == "gnss/fwd.h":
        return target == "gnss/platform/Export.h"
    if there == "tests":
        return here == "tests"
    if there == "host":
        if here == "host" and target.startswith(TOP_OF_HOST + "/"):
            return source.startswith(TOP_OF_HOST + "/")
        return here in ("host", "tests", "bench", "fuzz")
    return there in STANDS_ON or there == LIBRARY


def cycles(graph):
    """The circles that a depth-first search meets."""
    found = []
    state = {}

    def visit(name, trail):
        state[name] = "open"
        for target in graph[name]:
            if state.get(target) == "open":
                found.append("include cycle: " + " -> ".join([*trail[trail.index(target):], target]))
            elif target not in state:
                visit(target, [*trail, target])
        state[name] = "done"

    for name in graph:
        if name not in state:
            visit(name, [name])
    return found


def main():
    faults = []
    files = {}
    for top in ("gnss", "host", "tests", "bench", "fuzz", "examples"):
        for path in sorted((ROOT / top).rglob("*")):
            if path.suffix in (".h", ".cpp"):
                files[path.relative_to(ROOT).as_posix()] = path.read_text(encoding="utf-8", errors="replace")

    graph = {}
    for name, text in files.items():
        graph[name] = []
        if name.startswith("gnss/") and name.count("/") > 1 and folder_of(name) not in STANDS_ON:
            faults.append(f"{name}: the folder {folder_of(name)} has no place in the order of folders")
        for number, line in enumerate(text.splitlines(), 1):
            match = INCLUDE.match(line)
            if not match:
                continue
            where, target = f"{name}:{number}", match.group(2)
            if match.group(1) == "<":
                if name.startswith("gnss/") and name.endswith(".h") and PUBLIC_FOREIGN.match(target):
                    faults.append(f"{where}: a public header shows <{target}>")
                if target.startswith(("gnss/", "host/", "tests/")) and not name.startswith("examples/"):
                    faults.append(f'{where}: write "{target}"')
                continue
            if target not in files:
                faults.append(f"{where}: there is no {target} in the tree (paths start at the root)")
                continue
            graph[name].append(target)
            if not allowed(name, target):
                faults.append(f"{where}: {folder_of(name)} may not include {target}")

    faults += cycles(graph)
    # An include of another folder of the host is one between the folders.
    folders = {}
    for name, targets in graph.items():
        for target in targets:
            if name.startswith("host/") and target.startswith("host/"):
                here, there = name.rsplit("/", 1)[0], target.rsplit("/", 1)[0]
                folders.setdefault(there, set())
                folders.setdefault(here, set()).update({there} - {here})
    faults += cycles(folders)

    for fault in faults:
        print(fault, file=sys.stderr)
    print(f"include directions: {len(files)} files, {sum(map(len, graph.values()))} includes, {len(faults)} faults")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
