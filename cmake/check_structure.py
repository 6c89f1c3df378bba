#!/usr/bin/env python3
"""Checks that src/ and preview/ keep their structure; CONTRIBUTING.md ("What goes where") gives the reasons.

- A folder includes only the folders that USES allows, and its CMakeLists.txt links each of them.
- A source that includes a header of Windows, GL or COM is named *_windows.cpp.
"""

import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
USES = {
    "base": "",
    "document": "base",
    "inputs": "base",
    "post": "base",
    "glsl": "document base",
    "service": "document base",
    "media": "service document base",
    "render": "media glsl inputs document base",
    "module": "render post media service glsl inputs document base",
    "preview/host": "service base",
    "preview/documents": "preview/host base",
    "preview/view": "preview/host service base",
    "preview": "preview/documents preview/view preview/host service base",
}
# The records that module and host share, which need no linking.
HOST_ABI = "module/host_abi.h"
SYSTEM_HEADER = re.compile(
    r"(GL|wrl)/|(windows|win(user|inet|codec|crypt|ioctl|ver)|objbase|unknwn|ole2?|mmdeviceapi|audioclient|"
    r"mmsystem|dshow|strmif|uuids|shlobj|shellapi|psapi|tlhelp32|richedit|comm(ctrl|dlg)|bcrypt|process|io)"
    r"\.h")
INCLUDE = re.compile(r'^#include [<"]([^>"]+)[>"]', re.MULTILINE)


def folder_path(folder):
    return ROOT / (folder if folder.startswith("preview") else f"src/{folder}")


def linked_folders(folder):
    """The folders in the lists LINK and WINDOWS_LINK of the folder's library."""
    text = (folder_path(folder) / "CMakeLists.txt").read_text(encoding="utf-8")
    library = re.search(rf"pixelforge_library\({folder.replace('/', '_')}\b(.*?)\)", text, re.DOTALL).group(1)
    linked = set(re.findall(r"pixelforge::(\w+)", library))
    return {other for other in USES if other.replace("/", "_") in linked}


def problems_of(folder):
    linked = linked_folders(folder)
    for path in sorted(folder_path(folder).glob("*.*")):
        if path.suffix not in (".h", ".cpp"):
            continue
        for header in INCLUDE.findall(path.read_text(encoding="utf-8")):
            other = str(pathlib.PurePosixPath(header).parent)
            if path.suffix == ".cpp" and SYSTEM_HEADER.match(header) and not path.stem.endswith("_windows"):
                yield f"{path}: includes <{header}>, so its name must end in _windows.cpp"
            if other not in USES or other == folder or (header == HOST_ABI and folder.startswith("preview")):
                continue
            if other not in USES[folder].split():
                yield f"{path}: {folder} must not use {other} ({header})"
            elif other not in linked:
                yield f"{path}: {folder}/CMakeLists.txt does not link {other} ({header})"


def main():
    problems = [problem for folder in USES for problem in problems_of(folder)]
    print("\n".join(problems))
    sys.exit(1 if problems else 0)


if __name__ == "__main__":
    main()
