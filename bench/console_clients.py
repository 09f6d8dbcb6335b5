#!/usr/bin/env python3
"""What browsers cost a run of the simulator: its processor time with N streams, and each sky plot as it changes.

console_clients.py GNSS [N [SECONDS [0|1: with the sky plot]]]
"""
import asyncio
import os
import subprocess
import sys
import time

PORT = 18081
GNSS, N, SECONDS, SKY = sys.argv[1], *(int(a) for a in (sys.argv[2:] + ["50", "30", "1"][len(sys.argv) - 2:]))
program = subprocess.Popen([GNSS, "run", "--console", f"127.0.0.1:{PORT}", "--quiet"])
counts = {"bytes": 0, "events": 0, "pictures": 0}


def processor_seconds():
    tasks = f"/proc/{program.pid}/task"
    return sum(int(open(f"{tasks}/{task}/schedstat").read().split()[0]) for task in os.listdir(tasks)) / 1e9


def request(path):
    return f"GET {path} HTTP/1.1\r\nHost: 127.0.0.1:{PORT}\r\n\r\n".encode()


async def browse():
    stream, to = await asyncio.open_connection("127.0.0.1", PORT, limit=1 << 24)
    to.write(request("/api/stream"))
    pictures, ask = await asyncio.open_connection("127.0.0.1", PORT) if SKY else (None, None)
    event = b""
    while line := await stream.readline():
        counts["bytes"] += len(line)
        if line.startswith(b"event:"):
            counts["events"] += 1
            event = line
        elif SKY and event == b"event: sky\n" and line.startswith(b"data:"):
            ask.write(request("/api/sky.svg?mode=alternate&size=600"))
            head = (await pictures.readuntil(b"\r\n\r\n")).decode().lower()
            body = await pictures.readexactly(int(head.split("content-length:")[1].split()[0]))
            assert b"<svg" in body
            counts["pictures"] += 1
    sys.exit("a stream has ended")


async def main():
    await asyncio.sleep(3)
    browsers = [asyncio.create_task(browse()) for _ in range(N)]
    await asyncio.sleep(10)
    before, begin, cpu = dict(counts), time.time(), processor_seconds()
    await asyncio.sleep(SECONDS)
    span = time.time() - begin
    print(f"{N} browsers: {100 * (processor_seconds() - cpu) / span:.2f} % of a core")
    print({name: round((counts[name] - before[name]) / span / max(N, 1), 1) for name in counts}, "a second, each")
    for browser in browsers:
        browser.cancel()


try:
    asyncio.run(main())
finally:
    program.terminate()
    program.wait()
