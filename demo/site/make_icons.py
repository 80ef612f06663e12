#!/usr/bin/env python3
"""Draws the demo site's icons (the standard library only, so anyone can re-run it):
four tiles in a rounded square, the way a tiled screen looks from afar."""
import struct
import zlib
from pathlib import Path

COLOURS = [(0x12, 0x39, 0x5B), (0x2E, 0x86, 0xAB), (0xF2, 0xA5, 0x41), (0xE4, 0x57, 0x2E)]


def pixel(x, y, size):
    radius = size * 0.22
    cx = min(max(x + 0.5, radius), size - radius)
    cy = min(max(y + 0.5, radius), size - radius)
    if (x + 0.5 - cx) ** 2 + (y + 0.5 - cy) ** 2 > radius**2:
        return (0, 0, 0, 0)
    gap, margin = size * 0.04, size * 0.16
    inner = size - 2 * margin
    u, v = (x - margin) / inner, (y - margin) / inner
    if not (0 <= u < 1 and 0 <= v < 1):
        return (0xF7, 0xF4, 0xEE, 255)
    column, row = (0 if u < 0.5 else 1), (0 if v < 0.5 else 1)
    local_u = (u - column * 0.5) * inner
    local_v = (v - row * 0.5) * inner
    if local_u < gap / 2 or local_u > inner / 2 - gap / 2 or local_v < gap / 2 or local_v > inner / 2 - gap / 2:
        return (0xF7, 0xF4, 0xEE, 255)
    return COLOURS[row * 2 + column] + (255,)


def png(size):
    rows = b"".join(
        b"\x00" + b"".join(bytes(pixel(x, y, size)) for x in range(size)) for y in range(size)
    )

    def chunk(kind, data):
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))

    header = struct.pack(">IIBBBBB", size, size, 8, 6, 0, 0, 0)
    return b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + chunk(b"IDAT", zlib.compress(rows, 9)) + chunk(b"IEND", b"")


if __name__ == "__main__":
    here = Path(__file__).resolve().parent
    for size, name in ((32, "favicon-32.png"), (180, "apple-touch-icon.png"), (192, "icon-192.png"), (512, "icon-512.png")):
        (here / name).write_bytes(png(size))
