#!/usr/bin/env python3
"""How long the seeks of a replay take: from the request to the panel that shows the time asked for.

console_seek.py GNSS FILE...
"""
import datetime
import json
import random
import statistics
import subprocess
import sys
import time
import urllib.request

PORT, SEEKS, INTERVAL = 18080, 24, 30.0
BASE = f"http://127.0.0.1:{PORT}"


def run_panel():
    return json.load(urllib.request.urlopen(BASE + "/api/panel/run", timeout=5))


def post(**body):
    head = {"Content-Type": "application/json", "Origin": BASE}
    urllib.request.urlopen(urllib.request.Request(BASE + "/api/replay", json.dumps(body).encode(), head), timeout=5)


def when(text):
    return datetime.datetime.fromisoformat(text.replace("Z", "+00:00"))


program = subprocess.Popen([sys.argv[1], "replay", *sys.argv[2:], "--console", f"127.0.0.1:{PORT}"])
try:
    while True:
        time.sleep(0.05)
        try:
            if run_panel()["now"]:
                break
        except OSError:
            pass
    post(action="pause")
    first, last = (when(run_panel()[name]) for name in ("from", "to"))
    length = int((last - first).total_seconds())
    random.seed(5)
    took = {"back": [], "forward": []}
    at = 0
    for k in range(SEEKS):
        to = [length - 30, 0][k] if k < 2 else random.randrange(length)
        shown = first + datetime.timedelta(seconds=to // INTERVAL * INTERVAL)
        time.sleep(0.2)
        begin = time.time()
        post(action="seek", time=(first + datetime.timedelta(seconds=to + 0.2)).strftime("%Y-%m-%dT%H:%M:%S.%fZ"))
        while True:
            run = run_panel()
            if not run["seeking"] and abs((when(run["now"]) - shown).total_seconds()) < 0.6:
                break
            if time.time() - begin > 15:
                sys.exit(f"no seek to {shown}: {run['now']}")
            time.sleep(0.005)
        took["forward" if to > at else "back"].append(time.time() - begin)
        at = to
    for way, times in took.items():
        print(f"{way}: {len(times)}, median {statistics.median(times):.2f} s, longest {max(times):.2f} s")
finally:
    program.terminate()
    program.wait()
