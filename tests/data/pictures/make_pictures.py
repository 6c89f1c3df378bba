#!/usr/bin/env python3
"""Creates the small pictures of the tests, next to this script.

The tests compute the same colours.
"""

import pathlib
import struct
import zlib

FOLDER = pathlib.Path(__file__).resolve().parent


def colour(x, y):
    return bytes((20 + 40 * x, 30 + 50 * y, 200 - 30 * x - 20 * y))


def rgba(x, y):
    return colour(x, y) + bytes([255 - 40 * (x + y)])


def grey(x, y):
    return bytes([10 + 40 * x + 15 * y])


def index(x, y):
    return bytes([x + 2 * y])


def wide(pixel):
    """Samples of 16 bits, both of whose bytes are the 8-bit value."""
    return lambda x, y: bytes(byte for value in pixel(x, y) for byte in (value, value))


def png(pixel, colour_type, bits=8, width=4, palette=b""):
    rows = b"".join(b"\0" + b"".join(pixel(x, y) for x in range(width)) for y in range(3))
    header = struct.pack(">IIBBBBB", width, 3, bits, colour_type, 0, 0, 0)
    chunks = {b"IHDR": header, b"PLTE": palette, b"IDAT": zlib.compress(rows, 9), b"IEND": b""}
    return b"\x89PNG\r\n\x1a\n" + b"".join(
        struct.pack(">I", len(data)) + name + data + struct.pack(">I", zlib.crc32(name + data))
        for name, data in chunks.items() if data or name != b"PLTE")


def bmp(bits, rows, palette=b""):
    start = 54 + len(palette)
    header = struct.pack("<IiiHHIIiiII", 40, 4, 3, 1, bits, 0, len(rows), 2835, 2835, 0, 0)
    return b"BM" + struct.pack("<IHHI", start + len(rows), 0, 0, start) + header + palette + rows


UPWARDS = (2, 1, 0)
FILES = {
    "grey1.png": png(lambda x, y: b"\x50"[x:], 0, 1),
    "grey8.png": png(grey, 0),
    "grey16.png": png(wide(grey), 0, 16),
    "rgb8.png": png(colour, 2),
    "rgb16.png": png(wide(colour), 2, 16),
    "palette8.png": png(index, 3, palette=bytes(value for i in range(16) for value in (i, 99, 5 * i))),
    "rgba8.png": png(rgba, 6),
    "rgba16.png": png(wide(rgba), 6, 16),
    "sheared_rgb8.png": png(colour, 2, width=3),
    "colour24.bmp": bmp(24, b"".join(colour(x, y)[::-1] for y in UPWARDS for x in range(4))),
    "palette4.bmp": bmp(4, b"".join(bytes([34 * y + 0x01, 34 * y + 0x23, 0, 0]) for y in UPWARDS),
                        bytes(value for i in range(16) for value in (i, i, 77, 0))),
}
for name, content in FILES.items():
    (FOLDER / name).write_bytes(content)
