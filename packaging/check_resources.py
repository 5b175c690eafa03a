#!/usr/bin/env python3
"""check_resources.py DIRECTORY VERSION [NAME=TEXT...]: checks version, texts, icon and manifest of the programs."""
import pathlib
import struct
import subprocess
import sys

TEXTS = ["CompanyName", "FileDescription", "FileVersion", "InternalName", "LegalCopyright", "OriginalFilename",
         "ProductName", "ProductVersion"]
SIZES = {(16, 16), (32, 32), (48, 48), (256, 256)}


def resource(program, kind, name="1"):
    return subprocess.run(["wrestool", "--extract", "--raw", f"--type={kind}", f"--name={name}", program], check=True,
                          capture_output=True).stdout


def texts_of(version_resource):
    """The texts by name. Name and value are aligned and end with a NUL each."""
    texts = {}
    for name in TEXTS:
        position = version_resource.find((name + "\0").encode("utf-16-le"))
        if position >= 0:
            start = (position + 2 * len(name) + 2 + 3) & ~3
            texts[name] = version_resource[start:].decode("utf-16-le", "replace").split("\0")[0]
    return texts


def problems_of(program, version, expected):
    data = resource(program, 16)
    texts = texts_of(data)
    for name in TEXTS:
        if not texts.get(name):
            yield f"{name} is empty"
    for name, text in expected:
        if texts.get(name) != text:
            yield f"{name} is {texts.get(name)!r}"
    if texts.get("FileVersion") != version:
        yield f"FileVersion is {texts.get('FileVersion')}"
    high, low = struct.unpack_from("<II", data, data.index(struct.pack("<I", 0xFEEF04BD)) + 8)
    if f"{high >> 16}.{high & 0xFFFF}.{low >> 16}.{low & 0xFFFF}" != version:
        yield "the numbers of FileVersion are others"
    group = resource(program, 14)
    count = struct.unpack_from("<H", group, 4)[0]
    sizes = {tuple(side or 256 for side in struct.unpack_from("<BB", group, 6 + 14 * i)) for i in range(count)}
    if not SIZES <= sizes:
        yield f"the icon has only {sorted(sizes)}"
    if b'level="asInvoker"' not in resource(program, 24):
        yield "the manifest does not keep the caller's rights"


def main(directory, version, *texts):
    expected = [text.split("=", 1) for text in texts]
    programs = sorted(pathlib.Path(directory).glob("zel*.exe"))
    problems = [f"{program.name}: {problem}" for program in programs for problem in problems_of(program, version, expected)]
    print("\n".join(problems))
    return programs and not problems


sys.exit(0 if main(*sys.argv[1:]) else 1)
