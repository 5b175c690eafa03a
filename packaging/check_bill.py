#!/usr/bin/env python3
"""Checks the bills of materials in these directories: whole, in itself consistent, and a text for each licence."""
import json
import pathlib
import re
import sys

EXPECTED = {
    ".exe": {"mingw-w64-x86-64-dev", "g++-mingw-w64-x86-64-posix", "libcli11-dev", "nlohmann-json3-dev"},
    "": {"libc6-dev", "libcli11-dev", "nlohmann-json3-dev"},
}


def problems_of(directory):
    bill = json.loads((directory / "bill-of-materials.spdx.json").read_text())
    names = {package["name"] for package in bill["packages"]}
    ids = [package["SPDXID"] for package in bill["packages"]] + [bill["SPDXID"]]
    suffix = ".exe" if (directory / "zelexplain.exe").exists() else ""
    programs = {file.stem for file in directory.glob("zel*" + suffix) if file.is_file() and file.suffix == suffix}
    for missing in sorted((EXPECTED[suffix] | programs) - names):
        yield f"{missing} is missing"
    if len(ids) != len(set(ids)) or not all(re.fullmatch(r"SPDXRef-[A-Za-z0-9.-]+", name) for name in ids):
        yield "identifiers are wrong or not unique"
    for relation in bill["relationships"]:
        if relation["spdxElementId"] not in ids or relation["relatedSpdxElement"] not in ids:
            yield f"nothing has the identifier in {relation}"
    for package in bill["packages"]:
        text = package.get("comment", "").rpartition(" ")[2]
        if package["name"] not in programs and not (directory / text).is_file():
            yield f"{package['name']} has no licence text"
    for key in ("spdxVersion", "dataLicense", "documentNamespace", "creationInfo"):
        if not bill.get(key):
            yield f"{key} is missing"


def main(directories):
    problems = [f"{directory}: {problem}" for directory in directories for problem in problems_of(pathlib.Path(directory))]
    print("\n".join(problems))
    return not problems


sys.exit(0 if main(sys.argv[1:]) else 1)
