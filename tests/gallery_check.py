#!/usr/bin/env python3
"""Runs the commands in docs/gallery.md and compares their pictures with the stored ones.

Usage: gallery_check.py PREVIEW, which is what "./run" stands for.

Equal files pass. Otherwise rounding may differ, as on another processor; pictures made with the device doubles
follow the clock and need only look alike.
"""

import pathlib
import re
import shlex
import subprocess
import sys
import tempfile

from PIL import Image, ImageChops, ImageStat

ROOT = pathlib.Path(__file__).resolve().parent.parent
DOUBLES = "build/windows-release/bin/doubles/preview.exe"
ROW = re.compile(r"^\| !\[.*?\]\((.+?)\) \|.*`(.+?)` \|$", re.MULTILINE)
MOST_DIFFERENT_PIXELS = 0.005  # share of pixels that differ by more than DIFFERENT in some channel
DIFFERENT = 8
MOST_ALIKE = 16  # mean difference of blocks of BLOCK pixels
BLOCK = 40


def difference(stored, made, alike):
    """Why the pictures are not the same; empty if they are."""
    old, new = (Image.open(path).convert("RGB") for path in (stored, made))
    if old.size != new.size:
        return "another size"
    if alike:
        mean = sum(ImageStat.Stat(ImageChops.difference(old.reduce(BLOCK), new.reduce(BLOCK))).mean) / 3
        return "" if mean <= MOST_ALIKE else f"does not look alike: mean difference {mean:.1f}"
    red, green, blue = ImageChops.difference(old, new).split()
    largest = ImageChops.lighter(ImageChops.lighter(red, green), blue)
    share = sum(largest.histogram()[DIFFERENT + 1:]) / (old.width * old.height)
    return "" if share <= MOST_DIFFERENT_PIXELS else f"{share:.1%} of the pixels differ"


def check(picture, command):
    words = shlex.split(command)
    stored = ROOT / "docs" / picture
    with tempfile.TemporaryDirectory() as folder:
        made = pathlib.Path(folder) / stored.name
        target = words.index("--png") + 1
        if (ROOT / words[target]) != stored:
            return f"its command writes {words[target]}"
        words[target] = str(made)
        words[:1] = [ROOT / "cmake/run_under_wine", sys.argv[1]] if words[0] == "./run" else words[:1]
        subprocess.run(words, cwd=ROOT, check=False, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        return difference(stored, made, DOUBLES in words) if made.exists() else "its command makes no picture"


def main():
    rows = ROW.findall((ROOT / "docs/gallery.md").read_text(encoding="utf-8"))
    problems = {picture: check(picture, command) for picture, command in rows}
    for path in (ROOT / "docs/gallery").glob("*.png"):
        problems.setdefault(f"gallery/{path.name}", "no command")
    for picture, problem in problems.items():
        print(f"{picture}: {problem or 'same'}")
    sys.exit(1 if any(problems.values()) or not rows else 0)


if __name__ == "__main__":
    main()
