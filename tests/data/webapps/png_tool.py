"""Writes and reads plain PNG files for the icon tests, with nothing but the standard
library.

    png_tool.py make WIDTH HEIGHT OUT   write an 8-bit RGBA PNG with a busy pattern
    png_tool.py pixels IN               print "WIDTHxHEIGHT SHA256" of the decoded RGBA rows
"""
import hashlib
import struct
import sys
import zlib


def chunk(kind, data):
    return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))


def make(width, height, out):
    rows = []
    for y in range(height):
        row = bytearray([0])
        for x in range(width):
            row += bytes(((x * 7 + y * 3) % 256, (x * y) % 256, (y * 5 + x) % 256, 255 - x % 64))
        rows.append(bytes(row))
    header = struct.pack(">IIBBBBB", width, height, 8, 6, 0, 0, 0)
    data = b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + chunk(b"IDAT", zlib.compress(b"".join(rows), 9)) + chunk(b"IEND", b"")
    with open(out, "wb") as f:
        f.write(data)


def paeth(a, b, c):
    p = a + b - c
    pa, pb, pc = abs(p - a), abs(p - b), abs(p - c)
    return a if pa <= pb and pa <= pc else (b if pb <= pc else c)


def pixels(path):
    data = open(path, "rb").read()
    pos, idat, header = 8, b"", None
    while pos < len(data):
        length, kind = struct.unpack(">I4s", data[pos:pos + 8])
        body = data[pos + 8:pos + 8 + length]
        if kind == b"IHDR":
            header = struct.unpack(">IIBBBBB", body)
        elif kind == b"IDAT":
            idat += body
        pos += 12 + length
    width, height, depth, colour, _, _, interlace = header
    if depth != 8 or colour not in (2, 6) or interlace:
        sys.exit("unsupported PNG")
    step = 4 if colour == 6 else 3
    raw, stride, previous, out = zlib.decompress(idat), width * step, bytearray(width * step), bytearray()
    for y in range(height):
        kind, line = raw[y * (stride + 1)], bytearray(raw[y * (stride + 1) + 1:(y + 1) * (stride + 1)])
        for i in range(stride):
            a = line[i - step] if i >= step else 0
            c = previous[i - step] if i >= step else 0
            line[i] = (line[i] + (0, a, previous[i], (a + previous[i]) // 2, paeth(a, previous[i], c))[kind]) % 256
        for x in range(width):
            out += line[x * step:x * step + 3] + (line[x * step + 3:x * step + 4] if step == 4 else b"\xff")
        previous = line
    print("%dx%d %s" % (width, height, hashlib.sha256(out).hexdigest()))


if __name__ == "__main__":
    if sys.argv[1] == "make":
        make(int(sys.argv[2]), int(sys.argv[3]), sys.argv[4])
    else:
        pixels(sys.argv[2])
