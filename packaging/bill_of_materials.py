#!/usr/bin/env python3
"""Writes the bill of materials of a package: what is linked into its programs, as SPDX, with the licence texts.

The parts are those of the linker's maps: each archive of which a member was linked, and each start-up object,
belongs to a Debian package. Header-only libraries are in no map, so they are listed here by program. A part
without an entry in LICENCES ends the build.
"""
import argparse
import collections
import json
import os
import pathlib
import re
import subprocess
import sys
import time
import uuid

# By name of the source package; for each the licence of what is linked in, and what it is.
GCC = "GPL-3.0-or-later WITH GCC-exception-3.1"
LICENCES = {
    "mingw-w64": ("ZPL-2.1 AND MIT AND BSD-3-Clause AND BSD-2-Clause AND ISC AND LicenseRef-public-domain",
                  "the runtime for Windows, with winpthreads"),
    "gcc-mingw-w64": (GCC, "libstdc++ and libgcc for Windows"),
    "gcc": (GCC, "libstdc++ and libgcc"),
    "glibc": ("LGPL-2.1-or-later", "the C library"),
    "cli11": ("BSD-3-Clause", "command lines; only headers"),
    "nlohmann-json3": ("MIT", "JSON; only headers"),
}
HEADER_ONLY = {"zelexplain": ["libcli11-dev", "nlohmann-json3-dev"]}
# Texts that Debian's copyright files name without quoting them.
COMMON_TEXTS = {"gcc-mingw-w64": ["GPL-3"], "gcc": ["GPL-3"], "glibc": ["LGPL-2.1", "GPL-2"]}

Part = collections.namedtuple("Part", "source package version sources")


def query(package):
    line = subprocess.run(["dpkg-query", "-W", "-f", "${source:Package} ${source:Version} ${Version}\n", package],
                          check=True, capture_output=True, text=True).stdout.split("\n")[0]
    source, source_version, version = line.split()
    # The compiler's source package carries its version in its name.
    return Part(re.sub(r"^gcc-\d+$", "gcc", source), package, version,
                f"https://sources.debian.org/src/{source}/{source_version}/")


def linked_files(linker_map):
    """The archives and objects outside the build that the map names as linked in."""
    text = linker_map.read_text()
    members = text.split("Discarded input sections")[0].split("Memory Configuration")[0]
    files = set(re.findall(r"^(/\S+?)\(", members, re.MULTILINE))
    files |= set(re.findall(r"^LOAD (/\S+\.o)$", text, re.MULTILINE))
    build = str(linker_map.parent.resolve())
    return {os.path.realpath(file) for file in files if not file.startswith(build)}


def parts_of(linker_map):
    parts = set()
    for file in sorted(linked_files(linker_map)):
        owner = subprocess.run(["dpkg", "-S", file], capture_output=True, text=True).stdout.split(":")[0]
        if not owner:
            sys.exit(f"{linker_map.name}: {file} is of no Debian package")
        parts.add(query(owner))
    return parts | {query(package) for package in HEADER_ONLY.get(linker_map.stem, [])}


def spdx_id(text):
    return "SPDXRef-" + re.sub(r"[^A-Za-z0-9.-]", "-", text)


def document_of(version, programs):
    parts = sorted({part for parts in programs.values() for part in parts})
    packages, relations = [], []
    for program in sorted(programs):
        packages.append({"name": program, "SPDXID": spdx_id(program), "versionInfo": version,
                         "downloadLocation": "NOASSERTION", "filesAnalyzed": False, "licenseConcluded": "NOASSERTION",
                         "licenseDeclared": "NOASSERTION", "copyrightText": "NOASSERTION",
                         "primaryPackagePurpose": "APPLICATION"})
        relations.append(("SPDXRef-DOCUMENT", "DESCRIBES", spdx_id(program)))
        for part in sorted(programs[program]):
            kind = "CONTAINS" if part.package in HEADER_ONLY.get(program, []) else "STATIC_LINK"
            relations.append((spdx_id(program), kind, spdx_id(part.package)))
    for part in parts:
        licence, purpose = LICENCES[part.source]
        packages.append({
            "name": part.package, "SPDXID": spdx_id(part.package), "versionInfo": part.version,
            "supplier": "Organization: Debian", "summary": purpose,
            "downloadLocation": part.sources,
            "filesAnalyzed": False, "licenseConcluded": licence, "licenseDeclared": licence,
            "copyrightText": "NOASSERTION", "comment": f"Text of the licence: licences/{part.source}.txt",
            "primaryPackagePurpose": "LIBRARY",
            "externalRefs": [{"referenceCategory": "PACKAGE-MANAGER", "referenceType": "purl",
                              "referenceLocator": f"pkg:deb/debian/{part.package}@{part.version.replace('+', '%2B')}"}]})
    relations = [{"spdxElementId": a, "relationshipType": kind, "relatedSpdxElement": b} for a, kind, b in relations]
    name = "-".join(sorted(programs)) + "-" + version
    content = json.dumps([packages, relations], sort_keys=True)
    created = int(os.environ.get("SOURCE_DATE_EPOCH", time.time()))
    document = {
        "spdxVersion": "SPDX-2.3", "dataLicense": "CC0-1.0", "SPDXID": "SPDXRef-DOCUMENT", "name": name,
        "documentNamespace": "urn:uuid:" + str(uuid.uuid5(uuid.NAMESPACE_OID, content)),
        "creationInfo": {"created": time.strftime("%Y-%m-%dT%H:%M:%SZ", time.gmtime(created)),
                         "creators": ["Tool: bill_of_materials.py-" + version]},
        "packages": packages, "relationships": relations}
    if "LicenseRef-public-domain" in content:
        document["hasExtractedLicensingInfos"] = [{"licenseId": "LicenseRef-public-domain", "name": "Public domain",
                                                   "extractedText": "Placed in the public domain by its authors."}]
    return document


def write_licences(parts, directory):
    directory.mkdir(parents=True, exist_ok=True)
    for part in parts:
        text = pathlib.Path("/usr/share/doc", part.package, "copyright").read_text()
        for name in COMMON_TEXTS.get(part.source, []):
            text += f"\n{'=' * 78}\n\n" + pathlib.Path("/usr/share/common-licenses", name).read_text()
        (directory / f"{part.source}.txt").write_text(text)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--version", required=True)
    parser.add_argument("--output", required=True, type=pathlib.Path, help="a directory")
    parser.add_argument("maps", nargs="+", type=pathlib.Path, help="<program>.map of the linker")
    options = parser.parse_args()
    programs = {path.stem: parts_of(path) for path in options.maps}
    parts = {part for parts in programs.values() for part in parts}
    unknown = sorted(part.package for part in parts if part.source not in LICENCES)
    if unknown:
        sys.exit("no licence is known for: " + " ".join(unknown))
    write_licences(parts, options.output / "licences")
    document = document_of(options.version, programs)
    (options.output / "bill-of-materials.spdx.json").write_text(json.dumps(document, indent=2) + "\n")


main()
