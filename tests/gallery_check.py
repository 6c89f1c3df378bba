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
import zlib

ROOT = pathlib.Path(__file__).resolve().parent.parent
DOUBLES = "build/windows-release/bin/doubles/preview.exe"
ROW = re.compile(r"^\| !\[.*?\]\((.+?)\) \|.*`(.+?)` \|$", re.MULTILINE)
MOST_DIFFERENT_PIXELS = 0.005  # share of pixels that differ by more than DIFFERENT in some channel
DIFFERENT = 8
MOST_ALIKE = 16  # mean difference of blocks of BLOCK pixels
BLOCK = 40


def undo_filter(kind, line, above):
    for i, up in enumerate(above):
        left, corner = (line[i - 3], above[i - 3]) if i >= 3 else (0, 0)
        paeth = min((left, up, corner), key=lambda value: abs(left + up - corner - value))
        line[i] = (line[i] + (0, left, up, (left + up) // 2, paeth)[kind]) & 255


def read_png(path):
    """Width and rows of a PNG with eight bits per channel, without alpha, not interlaced."""
    data, at, compressed = path.read_bytes(), 8, b""
    width = int.from_bytes(data[16:20], "big")
    while at < len(data):
        end = at + 8 + int.from_bytes(data[at:at + 4], "big")
        compressed += data[at + 8:end] if data[at + 4:at + 8] == b"IDAT" else b""
        at = end + 4
    raw, rows = zlib.decompress(compressed), [bytes(3 * width)]
    for start in range(0, len(raw), 3 * width + 1):
        line = bytearray(raw[start + 1:start + 1 + 3 * width])
        undo_filter(raw[start], line, rows[-1])
        rows.append(line)
    return width, rows[1:]


def block_means(width, rows):
    for top in range(0, len(rows), BLOCK):
        for left in range(0, 3 * width, 3 * BLOCK):
            values = b"".join(row[left:left + 3 * BLOCK] for row in rows[top:top + BLOCK])
            yield sum(values) / len(values)


def difference(stored, made, alike):
    """Why the pictures are not the same; empty if they are."""
    if stored.read_bytes() == made.read_bytes():
        return ""
    (width, old), (new_width, new) = read_png(stored), read_png(made)
    if (width, len(old)) != (new_width, len(new)):
        return "another size"
    if alike:
        means = list(zip(block_means(width, old), block_means(width, new)))
        mean = sum(abs(a - b) for a, b in means) / len(means)
        return "" if mean <= MOST_ALIKE else f"does not look alike: mean difference {mean:.1f}"
    pixels = zip(b"".join(old), b"".join(new))
    wrong = {i // 3 for i, (a, b) in enumerate(pixels) if abs(a - b) > DIFFERENT}
    share = len(wrong) / (width * len(old))
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
