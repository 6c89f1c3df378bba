#!/usr/bin/env python3
"""Checks the archive's files: links lead to files in it, README's commands work, and the sample host compiles.

Usage: archive_check.py BUILD_FOLDER
"""

import pathlib
import re
import shlex
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parent.parent
LINK = re.compile(r"\]\(([^):#]+)(?:#[^)]*)?\)")


def code_lines(page):
    return [line.strip() for line in page.read_text(encoding="utf-8").splitlines() if line.startswith("    ")]


def broken_links(folder):
    for page in folder.rglob("*.md"):
        text = page.read_text(encoding="utf-8")
        yield from (f"{page.name}: {link} is missing" for link in LINK.findall(text)
                    if not (page.parent / link).exists())


def failure(command, folder):
    done = subprocess.run(command, cwd=folder, check=False, capture_output=True, text=True)
    return f"{command}: {done.returncode} {done.stderr}" if done.returncode else ""


def failing_commands(folder):
    for line in code_lines(folder / "README.md"):
        words = shlex.split(line.replace("\\", "/"))
        if words[0] != "preview":
            continue
        if not (folder / words[1]).exists():
            yield f"README.md: {words[1]} is missing"
        elif not {"--window", "--watch"} & set(words):
            yield failure([ROOT / "cmake/run_under_wine", folder / "preview.exe", *words[1:]], folder)
    compiler = next(line for line in code_lines(folder / "docs/hosting.md") if "g++" in line)
    yield failure(shlex.split(compiler), folder / "examples/host")


def main():
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        problems = [failure(["cmake", "--install", sys.argv[1], "--prefix", folder], ROOT)]
        problems += [*broken_links(folder), *failing_commands(folder)]
    sys.exit("\n".join(filter(None, problems)) or 0)


if __name__ == "__main__":
    main()
