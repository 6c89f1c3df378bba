#!/usr/bin/env python3
"""Creates the small pictures of the tests, next to this script. The tests compute the same colours.

ImageMagick makes those of 4, 48 and 64 bits.
"""

import pathlib
import subprocess

from PIL import Image

FOLDER = pathlib.Path(__file__).resolve().parent


def save(name, mode, pixel, width=4, palette=(), **options):
    picture = Image.new(mode, (width, 3))
    picture.putdata([pixel(x, y) for y in range(3) for x in range(width)])
    if palette:
        picture.putpalette([value for entry in palette for value in entry])
    picture.save(FOLDER / name, **options)


def colour(x, y):
    return 20 + 40 * x, 30 + 50 * y, 200 - 30 * x - 20 * y


save("grey1.png", "1", lambda x, y: x % 2)
save("grey8.png", "L", lambda x, y: 10 + 40 * x + 15 * y)
save("grey16.png", "I;16", lambda x, y: 257 * (10 + 40 * x + 15 * y))
save("rgb8.png", "RGB", colour)
save("rgba8.png", "RGBA", lambda x, y: (*colour(x, y), 255 - 40 * (x + y)))
save("sheared_rgb8.png", "RGB", colour, width=3)
save("colour24.bmp", "RGB", colour)
save("palette8.png", "P", lambda x, y: x + 2 * y, palette=[(i, 99, 5 * i) for i in range(16)], bits=8)
save("palette4.bmp", "P", lambda x, y: x + 2 * y, palette=[(77, i, i) for i in range(16)])
for source, target in (("palette4.bmp", "BMP3:palette4.bmp"), ("rgb8.png", "PNG48:rgb16.png"),
                       ("rgba8.png", "PNG64:rgba16.png")):
    subprocess.run(["convert", source, target], cwd=FOLDER, check=True)
