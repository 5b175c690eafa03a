#!/usr/bin/env python3
"""Checks the bills of materials in these directories: of the form that SPDX 2.3 prescribes, whole, in itself
consistent, and a text for each licence."""
import json
import pathlib
import re
import sys

import jsonschema

WINDOWS = {"mingw-w64-x86-64-dev", "g++-mingw-w64-x86-64-posix", "libcli11-dev", "nlohmann-json3-dev"}
LINUX = {"libc6-dev", "libcli11-dev", "nlohmann-json3-dev"}
REAL_PLATFORM = {"java-runtime", "equinox-bundles", "equinox-native-launcher", "equinox-launcher-jar"}
TEXT = {"type": "string", "minLength": 1}
# An element, the document or another one of it.
ELEMENT = {"type": "string", "pattern": r"^SPDXRef-[A-Za-z0-9.-]+$"}
ID = r"(LicenseRef-)?[A-Za-z0-9.-]+( WITH [A-Za-z0-9.-]+)?"
LICENCE = {"type": "string", "pattern": rf"^(NOASSERTION|{ID}( (AND|OR) {ID})*)$"}


def record(required, optional=()):
    """What SPDX 2.3 says about a record: these properties, and of these values."""
    properties = {**required, **dict(optional)}
    return {"type": "object", "properties": properties, "required": list(required), "additionalProperties": False}


def list_of(items):
    return {"type": "array", "items": items, "minItems": 1}


# The part of SPDX 2.3 that the bills use.
EXTERNAL = record({"referenceCategory": {"enum": ["PACKAGE-MANAGER"]}, "referenceType": {"enum": ["purl"]},
                   "referenceLocator": {"type": "string", "pattern": r"^pkg:[a-z]+/[^ ]+@[^ ]+$"}})
PACKAGE = record(
    {"name": TEXT, "SPDXID": ELEMENT,
     "downloadLocation": {"type": "string", "pattern": r"^(NOASSERTION|NONE|https://[^ ]+)$"}},
    {"versionInfo": TEXT, "summary": TEXT, "comment": TEXT, "copyrightText": TEXT,
     "filesAnalyzed": {"const": False},  # otherwise the package needs a verification code
     "supplier": {"type": "string", "pattern": "^(NOASSERTION|(Person|Organization): .+)$"},
     "licenseConcluded": LICENCE, "licenseDeclared": LICENCE, "externalRefs": list_of(EXTERNAL),
     "primaryPackagePurpose": {"enum": ["APPLICATION", "LIBRARY"]}})
SCHEMA = record(
    {"spdxVersion": {"const": "SPDX-2.3"}, "dataLicense": {"const": "CC0-1.0"}, "SPDXID": {"const": "SPDXRef-DOCUMENT"},
     "name": TEXT, "documentNamespace": {"type": "string", "pattern": r"^[a-z]+:[^# ]+$"},
     "creationInfo": record({"created": {"type": "string", "pattern": r"^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ$"},
                             "creators": list_of({"type": "string", "pattern": "^Tool: .+-.+$"})}),
     "packages": list_of(PACKAGE),
     "relationships": list_of(record({"spdxElementId": ELEMENT, "relatedSpdxElement": ELEMENT,
                                      "relationshipType": {"enum": ["DESCRIBES", "STATIC_LINK", "CONTAINS"]}}))},
    {"hasExtractedLicensingInfos": list_of(
        record({"licenseId": {"type": "string", "pattern": "^LicenseRef-"}, "extractedText": TEXT}, {"name": TEXT}))})


def programs_of(directory):
    """The names of the programs and libraries that were built: those at the top and the tests."""
    files = {file for pattern in ("*.exe", "*.dll", "tests/*.exe") for file in directory.glob(pattern)}
    return {file.stem for file in files} or {"zelexplain"}


def expected_in(directory):
    if (directory / "zelexplain").exists():
        return LINUX
    parts = WINDOWS
    if (directory / "tests").exists():
        parts = parts | {"googletest"}
    if (directory / "real-platform").exists():
        parts = parts | REAL_PLATFORM
    return parts


def has_text(path):
    return any(file.is_file() and file.stat().st_size > 500 for file in [path, *path.rglob("*")])


def problems_of(directory):
    bill = json.loads((directory / "bill-of-materials.spdx.json").read_text())
    for error in jsonschema.Draft7Validator(SCHEMA).iter_errors(bill):
        yield f"{'/'.join(str(part) for part in error.absolute_path)}: {error.message}"
        return
    named = set(re.findall(r"LicenseRef-[A-Za-z0-9.-]+", json.dumps(bill["packages"])))
    if named != {info["licenseId"] for info in bill.get("hasExtractedLicensingInfos", [])}:
        yield "the licences with texts of their own are others than those of the packages"
    names = {package["name"] for package in bill["packages"]}
    ids = [package["SPDXID"] for package in bill["packages"]] + [bill["SPDXID"]]
    programs = programs_of(directory)
    for missing in sorted((expected_in(directory) | programs) - names):
        yield f"{missing} is missing"
    if len(ids) != len(set(ids)):
        yield "identifiers are not unique"
    for relation in bill["relationships"]:
        if relation["spdxElementId"] not in ids or relation["relatedSpdxElement"] not in ids:
            yield f"nothing has the identifier in {relation}"
    for package in bill["packages"]:
        text = package.get("comment", "").rpartition(" ")[2]
        if package["primaryPackagePurpose"] == "LIBRARY" and not has_text(directory / text):
            yield f"{package['name']} has no licence text"


def main(directories):
    problems = [f"{directory}: {problem}" for directory in directories for problem in problems_of(pathlib.Path(directory))]
    print("\n".join(problems))
    return not problems


sys.exit(0 if main(sys.argv[1:]) else 1)
