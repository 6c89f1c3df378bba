#!/usr/bin/env python3
"""Packs each example's GLSL files into the JSON document beside its folder.

A folder holds one file per pass: common.glsl, a.glsl to d.glsl, cube.glsl, image.glsl. Lines that begin with
"//@" are directives for this script and are omitted from the document:

    //@ name Demo                                document properties, in image.glsl:
    //@ description One line of text             name, description, tags
    //@ iChannel0 Buffer A filter=nearest        an input: a pass's name, or a kind of input (texture,
    //@ iChannel1 texture wood.png wrap=repeat   cubemap, volume, keyboard, webcam, music) with its file

Usage: pack.py          write all documents
       pack.py --check  only list the documents that differ from their sources; exit status 1 if any does
"""

import json
import pathlib
import sys

FOLDER = pathlib.Path(__file__).resolve().parent

# File stem: the pass's type, name and output number, in the documents' usual order.
PASSES = {
    "image": ("image", "Image", 37),
    "common": ("common", "Common", None),
    "a": ("buffer", "Buffer A", 257),
    "b": ("buffer", "Buffer B", 258),
    "c": ("buffer", "Buffer C", 259),
    "d": ("buffer", "Buffer D", 260),
    "cube": ("cubemap", "Cube A", 41),
}
OUTPUTS = {name: (kind, number) for kind, name, number in PASSES.values()}
SAMPLER = {"filter": "linear", "wrap": "clamp", "vflip": "false", "srgb": "false", "internal": "byte"}


def parse_input(channel, words):
    """One input record from the words after "iChannelN"."""
    sampler = dict(SAMPLER)
    while "=" in words[-1]:
        key, value = words.pop().split("=")
        if key not in SAMPLER:
            raise ValueError(f"unknown sampler setting {key}")
        sampler[key] = value
    source = " ".join(words)
    if source in OUTPUTS:
        ctype, number = OUTPUTS[source]
        path = ""
    else:
        ctype, number, path = words[0], 0, " ".join(words[1:])
    return {"ctype": ctype, "channel": channel, "id": number, "src": path, "sampler": sampler}


def read_pass(path):
    """The pass record of one GLSL file, and the document properties given in it."""
    kind, name, number = PASSES[path.stem]
    code, inputs, properties = [], [], {}
    for line in path.read_text(encoding="utf-8").splitlines():
        if not line.startswith("//@"):
            code.append(line)
            continue
        key, _, text = line[3:].strip().partition(" ")
        if key.startswith("iChannel"):
            inputs.append(parse_input(int(key[-1]), text.split()))
        else:
            properties[key] = text
    outputs = [] if number is None else [{"id": number, "channel": 0}]
    text = "\n".join(code).strip("\n") + "\n"
    return {"type": kind, "name": name, "code": text, "inputs": inputs, "outputs": outputs}, properties


def make_document(folder):
    passes, properties = [], {}
    for stem in PASSES:
        path = folder / f"{stem}.glsl"
        if path.exists():
            record, given = read_pass(path)
            passes.append(record)
            properties.update(given)
    info = {
        "id": folder.name,
        "date": "0",
        "viewed": 0,
        "name": properties.get("name", folder.name),
        "username": "Pixelforge",
        "description": properties.get("description", ""),
        "likes": 0,
        "published": 0,
        "flags": 0,
        "usePreview": 0,
        "tags": properties.get("tags", "").split(),
        "hasliked": 0,
    }
    document = {"Shader": {"ver": "0.1", "info": info, "renderpass": passes}}
    return json.dumps(document, indent=2, ensure_ascii=False) + "\n"


def main():
    check = sys.argv[1:] == ["--check"]
    if sys.argv[1:] and not check:
        sys.exit(__doc__)
    stale = 0
    for folder in sorted(path.parent for path in FOLDER.glob("*/image.glsl")):
        target = folder.with_suffix(".json")
        text = make_document(folder)
        if check and (not target.exists() or target.read_text(encoding="utf-8") != text):
            print(f"{target.name} differs from its sources: run examples/pack.py")
            stale = 1
        elif not check:
            target.write_text(text, encoding="utf-8")
    sys.exit(stale)


if __name__ == "__main__":
    main()
