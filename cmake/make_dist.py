#!/usr/bin/env python3
"""Packs what users get into dist/pixelforge-VERSION.zip, and writes its SHA-256 sum beside it.

Usage: make_dist.py ROOT VERSION BINARY... --licence NAME=FILE...

Names, order and times in the archive depend on nothing but the arguments' contents and SOURCE_DATE_EPOCH
(without it, the last commit's time).
"""

import argparse
import hashlib
import os
import pathlib
import subprocess
import sys
import time
import zipfile

TEXTS = ("README.md", "LICENSE", "CHANGELOG.md", "docs")
EXAMPLES = "examples"


def source_time(root):
    """Seconds since 1970; a zip file knows no time before 1980."""
    given = os.environ.get("SOURCE_DATE_EPOCH")
    if given is None:
        command = ["git", "-C", str(root), "log", "-1", "--format=%ct"]
        given = subprocess.run(command, capture_output=True, text=True, check=True).stdout
    return max(int(given), 315532800)


def tracked_files(root, names):
    """Files under version control only, so that nothing lying about gets in."""
    command = ["git", "-C", str(root), "ls-files", "-z", "--", *names]
    output = subprocess.run(command, capture_output=True, check=True).stdout.decode()
    return [name for name in output.split("\0") if name]


def contents(root, binaries, licences):
    files = {path.name: path for path in binaries}
    files.update({name: root / name for name in tracked_files(root, TEXTS + (EXAMPLES,))})
    files.update({f"licences/{name}.txt": path for name, path in licences})
    return files


def write_archive(path, folder, files, seconds):
    stamp = time.gmtime(seconds)[:6]
    with zipfile.ZipFile(path, "w", zipfile.ZIP_DEFLATED, compresslevel=9) as archive:
        for name in sorted(files):
            entry = zipfile.ZipInfo(f"{folder}/{name}", stamp)
            entry.compress_type = zipfile.ZIP_DEFLATED
            entry.create_system = 3
            entry.external_attr = (0o755 if name.endswith((".exe", ".dll")) else 0o644) << 16
            archive.writestr(entry, files[name].read_bytes())


def parse_licence(text):
    name, _, path = text.partition("=")
    if not pathlib.Path(path).is_file():
        sys.exit(f"make_dist: the licence of {name} is not at {path}")
    return name, pathlib.Path(path)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("root", type=pathlib.Path)
    parser.add_argument("version")
    parser.add_argument("binaries", type=pathlib.Path, nargs="+")
    parser.add_argument("--licence", type=parse_licence, action="append", default=[])
    given = parser.parse_args()
    folder = f"pixelforge-{given.version}"
    target = given.root / "dist" / f"{folder}.zip"
    target.parent.mkdir(exist_ok=True)
    files = contents(given.root, given.binaries, given.licence)
    write_archive(target, folder, files, source_time(given.root))
    digest = hashlib.sha256(target.read_bytes()).hexdigest()
    target.with_name(target.name + ".sha256").write_text(f"{digest}  {target.name}\n", encoding="ascii")
    print(f"{target} ({target.stat().st_size // 1024} KiB)")


if __name__ == "__main__":
    main()
