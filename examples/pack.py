#!/usr/bin/env python3
"""Packs each example's GLSL files into the JSON document beside its folder.

A folder holds one file for each pass: common.glsl, a.glsl to d.glsl, cube.glsl, image.glsl. Lines that begin
with "//@" are for this script and stay out of the document:

    //@ name Demo                                the document's facts, in image.glsl:
    //@ description One line of text             name, description, tags
    //@ iChannel0 Buffer A filter=nearest        an input: a pass's name, or a kind of input (texture,
    //@ iChannel1 texture wood.png wrap=repeat   cubemap, volume, keyboard, webcam, music) with its file

Usage: pack.py          writes every document anew
       pack.py --check  only says which documents differ from their sources; exit status 1 if any does
"""

import json
import pathlib
import sys

FOLDER = pathlib.Path(__file__).resolve().parent

# File stem: the pass's type, name and output number. The order is the documents' usual one.
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
    """One input record from the words behind "iChannelN"."""
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
    """The pass record of one GLSL file, and the facts stated in it."""
    kind, name, number = PASSES[path.stem]
    code, inputs, facts = [], [], {}
    for line in path.read_text(encoding="utf-8").splitlines():
        if not line.startswith("//@"):
            code.append(line)
            continue
        key, _, text = line[3:].strip().partition(" ")
        if key.startswith("iChannel"):
            inputs.append(parse_input(int(key[-1]), text.split()))
        else:
            facts[key] = text
    outputs = [] if number is None else [{"id": number, "channel": 0}]
    text = "\n".join(code).strip("\n") + "\n"
    return {"type": kind, "name": name, "code": text, "inputs": inputs, "outputs": outputs}, facts


def make_document(folder):
    passes, facts = [], {}
    for stem in PASSES:
        path = folder / f"{stem}.glsl"
        if path.exists():
            record, stated = read_pass(path)
            passes.append(record)
            facts.update(stated)
    info = {
        "id": folder.name,
        "date": "0",
        "viewed": 0,
        "name": facts.get("name", folder.name),
        "username": "Pixelforge",
        "description": facts.get("description", ""),
        "likes": 0,
        "published": 0,
        "flags": 0,
        "usePreview": 0,
        "tags": facts.get("tags", "").split(),
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
