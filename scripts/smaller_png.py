#!/usr/bin/env python3
"""Rewrites PNG files of RGB pixels with a palette of at most 256 colours, which makes drawings a quarter as large."""
import struct
import sys
import zlib
from collections import Counter


def chunks(data):
    at = 8
    while at < len(data):
        size, kind = struct.unpack(">I4s", data[at:at + 8])
        yield kind, data[at + 8:at + 8 + size]
        at += size + 12


def unfilter(raw, width, height):
    stride = 3 * width
    above = bytearray(stride)
    for y in range(height):
        kind = raw[y * (stride + 1)]
        line = bytearray(raw[y * (stride + 1) + 1:(y + 1) * (stride + 1)])
        for i in range(stride if kind else 0):
            left = line[i - 3] if i >= 3 else 0
            corner = above[i - 3] if i >= 3 else 0
            if kind == 4:
                guess = left + above[i] - corner
                value = min((left, above[i], corner), key=lambda v: abs(guess - v))
            else:
                value = (left, above[i], (left + above[i]) // 2)[kind - 1]
            line[i] = line[i] + value & 255
        yield bytes(line)
        above = line


def chunk(kind, body):
    return struct.pack(">I", len(body)) + kind + body + struct.pack(">I", zlib.crc32(kind + body))


def shrink(path):
    with open(path, "rb") as file:
        data = file.read()
    header = next(body for kind, body in chunks(data) if kind == b"IHDR")
    width, height = struct.unpack(">II", header[:8])
    if header[8:10] != b"\x08\x02":
        return
    raw = zlib.decompress(b"".join(body for kind, body in chunks(data) if kind == b"IDAT"))
    lines = list(unfilter(raw, width, height))
    counts = Counter(line[i:i + 3] for line in lines for i in range(0, 3 * width, 3))
    palette = [colour for colour, _ in counts.most_common(256)]
    index = {}
    for colour in counts:
        index[colour] = min(range(len(palette)),
                            key=lambda p: sum((a - b) ** 2 for a, b in zip(palette[p], colour)))
    pixels = b"".join(b"\0" + bytes(index[line[i:i + 3]] for i in range(0, 3 * width, 3)) for line in lines)
    with open(path, "wb") as file:
        file.write(data[:8] + chunk(b"IHDR", struct.pack(">IIBBBBB", width, height, 8, 3, 0, 0, 0)) +
                   chunk(b"PLTE", b"".join(palette)) + chunk(b"IDAT", zlib.compress(pixels, 9)) + chunk(b"IEND", b""))


for name in sys.argv[1:]:
    shrink(name)
