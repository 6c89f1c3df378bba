#!/usr/bin/env python3
"""Generates the pictures and volumes of the examples beside this script. Uses only the standard library."""

import math
import pathlib
import struct
import zlib

FOLDER = pathlib.Path(__file__).resolve().parent

# Faces +X, -X, +Y, -Y, +Z, -Z seen from the cube's centre: the directions ahead, right and up.
VIEWS = [
    ((1, 0, 0), (0, 0, -1), (0, 1, 0)),
    ((-1, 0, 0), (0, 0, 1), (0, 1, 0)),
    ((0, 1, 0), (1, 0, 0), (0, 0, -1)),
    ((0, -1, 0), (1, 0, 0), (0, 0, 1)),
    ((0, 0, 1), (1, 0, 0), (0, 1, 0)),
    ((0, 0, -1), (-1, 0, 0), (0, 1, 0)),
]

# Column and row of each face in a cross.
CROSS = [(2, 1), (0, 1), (1, 0), (1, 2), (1, 1), (3, 1)]


def png(rows):
    """A PNG with 8 bits per component from rows of (red, green, blue) between 0 and 1."""

    def chunk(name, data):
        return struct.pack(">I", len(data)) + name + data + struct.pack(">I", zlib.crc32(name + data))

    data = b"".join(
        b"\0" + bytes(min(255, max(0, round(255 * value))) for pixel in row for value in pixel) for row in rows
    )
    header = struct.pack(">IIBBBBB", len(rows[0]), len(rows), 8, 2, 0, 0, 0)
    return (
        b"\x89PNG\r\n\x1a\n"
        + chunk(b"IHDR", header)
        + chunk(b"IDAT", zlib.compress(data, 9))
        + chunk(b"IEND", b"")
    )


def volume(side, channels, voxel):
    """A cube of voxels; `voxel` returns the bytes at integer coordinates x, y, z."""
    data = b"".join(voxel(x, y, z) for z in range(side) for y in range(side) for x in range(side))
    return b"BIN\0" + struct.pack("<IIIBBBB", side, side, side, channels, 0, 0, 0) + data


def mix(a, b, t):
    return tuple(x + (y - x) * t for x, y in zip(a, b))


def smooth(low, high, value):
    t = min(1.0, max(0.0, (value - low) / (high - low)))
    return t * t * (3 - 2 * t)


def hashed(x, y, z):
    n = (x * 374761393 + y * 668265263 + z * 2147483647 + 1013904223) & 0xFFFFFFFF
    n = ((n ^ (n >> 13)) * 1274126177) & 0xFFFFFFFF
    return ((n ^ (n >> 16)) & 0xFFFF) / 65535


def noise(x, y, z, period):
    """Between 0 and 1, periodic in `period`."""
    cell = [math.floor(value) for value in (x, y, z)]
    part = [smooth(0, 1, value - base) for value, base in zip((x, y, z), cell)]
    total = 0.0
    for corner in range(8):
        offsets = [corner >> axis & 1 for axis in range(3)]
        weight = math.prod(p if o else 1 - p for p, o in zip(part, offsets))
        total += weight * hashed(*((base + o) % period for base, o in zip(cell, offsets)))
    return total


def layered(x, y, z, period):
    return sum(noise(x * 2**i, y * 2**i, z * 2**i, period * 2**i) / 2 ** (i + 1) for i in range(3)) / 0.875


def face_direction(face, a, b):
    """The unit direction of a point on a face; a and b run from -1 to 1, right and up."""
    ahead, right, up = VIEWS[face]
    direction = [ahead[i] + a * right[i] + b * up[i] for i in range(3)]
    length = math.sqrt(sum(value * value for value in direction))
    return [value / length for value in direction]


def face_rows(face, size, paint, border=0):
    def at(i):
        return (2 * (i - border) + 1) / (size - 2 * border) - 1

    return [[paint(face_direction(face, at(x), -at(y))) for x in range(size)] for y in range(size)]


def tile(x, y):
    """A lantern on a dark background, 16 x 16 pixels, whose hard edges show the filters."""
    lantern = ["................", "......rrrr......", ".....rooor......", "...rrrooorrr....",
               "..roooyyyyooor..", ".rooyyyyyyyyoor.", ".royyywwwwyyyor.", ".royywwwwwwyyor.",
               ".royywwwwwwyyor.", ".royyywwwwyyyor.", ".rooyyyyyyyyoor.", "..roooyyyyooor..",
               "...rrrrrrrrrr...", ".......bb.......", "......b..b......", "................"]
    colours = {".": (0.07, 0.09, 0.22), "r": (0.55, 0.10, 0.12), "o": (0.86, 0.35, 0.10),
               "y": (0.97, 0.68, 0.20), "w": (1.0, 0.94, 0.72), "b": (0.35, 0.25, 0.20)}
    return colours[lantern[y][x]]


def sky(direction):
    """An evening sky over the sea."""
    x, y, z = direction
    sun = max(0.0, x * 0.62 + y * 0.16 + z * 0.77)
    if y < 0:
        ripple = noise(9 * x / (0.08 - y) + 40, 3 * z / (0.08 - y) + 40, 1, 64)
        colour = mix((0.10, 0.16, 0.24), (0.62, 0.40, 0.30), math.exp(5 * y) * (0.5 + 0.5 * ripple))
        return mix(colour, (1.0, 0.75, 0.4), 0.6 * sun**24 * ripple)
    colour = mix((0.96, 0.62, 0.36), (0.16, 0.27, 0.52), smooth(0, 0.6, y))
    cloud = smooth(0.5, 0.75, layered(3 * x / (y + 0.35) + 20, 5, 3 * z / (y + 0.35) + 20, 32)) * smooth(0, 0.25, y)
    colour = mix(colour, mix((0.85, 0.80, 0.84), (1.0, 0.72, 0.5), sun), 0.8 * cloud)
    return mix(colour, (1.0, 0.96, 0.82), min(1.0, sun**900 * 1.6 + 0.35 * sun**24))


def room(direction):
    """A tiled room with a lamp above and a window ahead."""
    axis = max(range(3), key=lambda i: abs(direction[i]))
    place = [value / abs(direction[axis]) for value in direction]
    u, v = [place[i] for i in range(3) if i != axis]
    if axis == 1 and place[1] > 0:
        return mix((0.80, 0.76, 0.68), (1.0, 0.97, 0.85), smooth(0.5, 0.3, math.hypot(u, v)))
    if axis == 1:
        dark = (math.floor(4 * u) + math.floor(4 * v)) % 2
        return mix((0.62, 0.45, 0.30), (0.34, 0.22, 0.14), dark)
    wall = {(0, 1): (0.70, 0.28, 0.22), (0, -1): (0.22, 0.45, 0.60), (2, 1): (0.86, 0.74, 0.42),
            (2, -1): (0.36, 0.55, 0.34)}[axis, int(math.copysign(1, direction[axis]))]
    height = place[1]
    across = place[2] if axis == 0 else place[0]
    if axis == 2 and direction[2] > 0 and abs(across) < 0.45 and -0.2 < height < 0.6:
        return (0.25, 0.25, 0.28) if abs(across) < 0.04 or abs(height - 0.2) < 0.04 else (0.75, 0.88, 0.97)
    mortar = min(abs((4 * height) % 1 - 0.5), abs((2 * across + 0.5 * (math.floor(4 * height) % 2)) % 1 - 0.5))
    return mix(wall, (0.90, 0.87, 0.80), 0.5 if mortar > 0.45 else 0.0)


def cross(paint, size):
    """Four by three cells on grey; each cell has a border of 2 pixels that continues the face."""
    rows = [[(0.5, 0.5, 0.5)] * (4 * size + 8) for _ in range(3 * size + 8)]
    for face, (column, row) in enumerate(CROSS):
        for y, pixels in enumerate(face_rows(face, size, paint, border=2)):
            rows[4 + row * size + y][4 + column * size : 4 + (column + 1) * size] = pixels
    return rows


def byte(value):
    return bytes([min(255, max(0, round(255 * value)))])


def main():
    files = {"lantern.png": png([[tile(x, y) for x in range(16)] for y in range(16)])}
    for face in range(6):
        suffix = f"_{face}" if face else ""
        files[f"evening{suffix}.png"] = png(face_rows(face, 96, sky))
    files["room.png"] = png(cross(room, 68))
    files["clouds.bin"] = volume(32, 1, lambda x, y, z: byte(layered(x / 8, y / 8, z / 8, 4)))
    # The module shows one value per voxel of a four-channel volume: the values at the start of the file.
    veins = b"".join(
        byte(0.5 + 0.5 * math.sin(6.2832 * (x / 24 + 1.5 * layered(x / 6, y / 6, z / 6, 4))))
        for z in range(24)
        for y in range(24)
        for x in range(24)
    )
    files["marble.bin"] = volume(24, 4, lambda x, y, z: b"")[:20] + veins + bytes(3 * len(veins))
    for name, data in files.items():
        (FOLDER / name).write_bytes(data)


if __name__ == "__main__":
    main()
