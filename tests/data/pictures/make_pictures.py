#!/usr/bin/env python3
"""Creates the small pictures for the image decoder tests, next to this script.

The JPEG file needs ImageMagick's "convert" and is skipped without it; all others need only the standard
library. The tests compute the same colours: see `ColourAt` and `GreyAt` there.
"""

import pathlib
import shutil
import struct
import subprocess
import zlib

FOLDER = pathlib.Path(__file__).resolve().parent


def colour(x, y):
    return 20 + 40 * x, 30 + 50 * y, 200 - 30 * x - 20 * y


def alpha(x, y):
    return 255 - 40 * (x + y)


def grey(x, y):
    return 10 + 40 * x + 15 * y


def index(x, y):
    return x + 2 * y


def wide(values):
    """Big-endian 16-bit samples whose high byte is the 8-bit value."""
    return b"".join(struct.pack(">H", value * 257) for value in values)


# Name: PNG colour type, bits per sample, and a function from x and y to a pixel's bytes or small value.
PNG_KINDS = {
    "grey1": (0, 1, lambda x, y: index(x, y) & 1),
    "grey8": (0, 8, lambda x, y: bytes([grey(x, y)])),
    "grey16": (0, 16, lambda x, y: wide([grey(x, y)])),
    "rgb8": (2, 8, lambda x, y: bytes(colour(x, y))),
    "rgb16": (2, 16, lambda x, y: wide(colour(x, y))),
    "palette8": (3, 8, lambda x, y: bytes([index(x, y)])),
    "rgba8": (6, 8, lambda x, y: bytes([*colour(x, y), alpha(x, y)])),
    "rgba16": (6, 16, lambda x, y: wide([*colour(x, y), alpha(x, y)])),
}

def png_chunk(name, data):
    return struct.pack(">I", len(data)) + name + data + struct.pack(">I", zlib.crc32(name + data))


def png_row(pixels, bits):
    if bits >= 8:
        return b"\0" + b"".join(pixels)
    text = "".join(format(value, f"0{bits}b") for value in pixels)
    text += "0" * (-len(text) % 8)
    return b"\0" + int(text, 2).to_bytes(len(text) // 8, "big")


def png(kind, width, height):
    colour_type, bits, pixel = PNG_KINDS[kind]
    rows = b"".join(png_row([pixel(x, y) for x in range(width)], bits) for y in range(height))
    header = struct.pack(">IIBBBBB", width, height, bits, colour_type, 0, 0, 0)
    data = b"\x89PNG\r\n\x1a\n" + png_chunk(b"IHDR", header)
    if colour_type == 3:
        data += png_chunk(b"PLTE", bytes(value for i in range(16) for value in (i, 99, 5 * i)))
    return data + png_chunk(b"IDAT", zlib.compress(rows, 9)) + png_chunk(b"IEND", b"")


def bmp(bits, width, height):
    """Rows from below, each padded to 4 bytes."""
    rows = b""
    for y in reversed(range(height)):
        if bits == 24:
            row = b"".join(bytes(colour(x, y)[::-1]) for x in range(width))
        else:
            row = png_row([index(x, y) for x in range(width)], bits)[1:]
        rows += row + b"\0" * (-len(row) % 4)
    palette = b"".join(bytes([i, i, 77, 0]) for i in range(2**bits)) if bits <= 8 else b""
    start = 54 + len(palette)
    header = struct.pack("<IiiHHIIiiII", 40, width, height, 1, bits, 0, len(rows), 2835, 2835, 0, 0)
    return b"BM" + struct.pack("<IHHI", start + len(rows), 0, 0, start) + header + palette + rows


def make_jpeg():
    """Two flat blocks, which survive the compression."""
    source = b"P6 16 8 255\n" + (bytes((200, 100, 40)) * 8 + bytes((30, 60, 220)) * 8) * 8
    options = ["-strip", "-quality", "100", "-sampling-factor", "4:4:4", "-interlace", "JPEG"]
    subprocess.run(["convert", "ppm:-", *options, f"jpeg:{FOLDER / 'progressive.jpg'}"], input=source, check=True)


def main():
    files = {f"{kind}.png": png(kind, 4, 3) for kind in PNG_KINDS}
    files["sheared_rgb8.png"] = png("rgb8", 3, 3)
    files["sheared_grey8.png"] = png("grey8", 5, 3)
    files["colour24.bmp"] = bmp(24, 4, 3)
    files["palette4.bmp"] = bmp(4, 4, 3)
    for name, data in files.items():
        (FOLDER / name).write_bytes(data)
    if shutil.which("convert"):
        make_jpeg()


if __name__ == "__main__":
    main()
