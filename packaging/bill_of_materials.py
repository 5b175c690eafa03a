#!/usr/bin/env python3
"""Writes the bill of materials of a package: what is linked into its programs, as SPDX, with the licence texts.

The parts are those of the linker's maps: each archive of which a member was linked, and each start-up object,
belongs to a Debian package. Libraries that are compiled with a program are in no map, so they are listed here by
program. A part without an entry in LICENCES ends the build.

The test kit also has parts that are passed on as they were fetched; REAL_PLATFORM lists them.
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
import urllib.parse
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
    "googletest": ("BSD-3-Clause", "tests; compiled from Debian's sources"),
}
HEADERS = ["libcli11-dev", "nlohmann-json3-dev"]
COMPILED_IN = {
    "zelexplain": HEADERS,
    "contract": ["googletest"],
    **{suite: ["googletest", *HEADERS] for suite in ("endtoend", "endtoend_supervision", "kiosk", "realplatform",
                                                     "realplatform_supervision")},
}
# Where Debian keeps texts that its copyright files name without quoting them.
COMMON_TEXTS = pathlib.Path("/usr/share/common-licenses")

# What cmake/real-platform.sh fetches: the name, the purl, where it comes from, the licence, what it is, and the files
# with its licence.
NPM = "https://registry.npmjs.org"
EQUINOX = ("pkg:npm/%40vscjava/java-language-server@0.1.2",
           f"{NPM}/@vscjava/java-language-server/-/java-language-server-0.1.2.tgz")
REAL_PLATFORM = [
    ("java-runtime", "pkg:npm/%40node-plantuml-2/jre-win32-x64@1.1.8",
     f"{NPM}/@node-plantuml-2/jre-win32-x64/-/jre-win32-x64-1.1.8.tgz", "GPL-2.0-only WITH Classpath-exception-2.0",
     "Java 17 runtime for Windows, with what it bundles", "real-platform/jvm/legal"),
    ("equinox-bundles", *EQUINOX, "EPL-2.0 AND Apache-2.0", "framework and three more bundles", "licences/equinox.txt"),
    ("equinox-native-launcher", *EQUINOX, "EPL-2.0", "native platform launcher and its library",
     "licences/equinox.txt"),
    ("equinox-launcher-jar", "pkg:deb/debian/libequinox-launcher-java@1.6.400%2Beclipse4.26-4",
     "https://sources.debian.org/src/eclipse-equinox/4.26-4/", "EPL-2.0", "launcher jar", "licences/equinox.txt"),
]

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
    return parts | {query(package) for package in COMPILED_IN.get(linker_map.stem, [])}


def spdx_id(text):
    return "SPDXRef-" + re.sub(r"[^A-Za-z0-9.-]", "-", text)


def package_of(name, version, sources, licence, purpose, text, purl):
    return {"name": name, "SPDXID": spdx_id(name), "versionInfo": version, "summary": purpose,
            "downloadLocation": sources, "filesAnalyzed": False, "licenseConcluded": licence,
            "licenseDeclared": licence, "copyrightText": "NOASSERTION", "comment": f"Text of the licence: {text}",
            "primaryPackagePurpose": "LIBRARY",
            "externalRefs": [{"referenceCategory": "PACKAGE-MANAGER", "referenceType": "purl",
                              "referenceLocator": purl}]}


def application_of(name, version):
    return {"name": name, "SPDXID": spdx_id(name), "versionInfo": version, "downloadLocation": "NOASSERTION",
            "filesAnalyzed": False, "licenseConcluded": "NOASSERTION", "licenseDeclared": "NOASSERTION",
            "copyrightText": "NOASSERTION", "primaryPackagePurpose": "APPLICATION"}


def document_of(name, version, programs, has_real_platform):
    parts = sorted({part for parts in programs.values() for part in parts})
    packages, relations = [], []
    for program in sorted(programs):
        packages.append(application_of(program, version))
        relations.append(("SPDXRef-DOCUMENT", "DESCRIBES", spdx_id(program)))
        for part in sorted(programs[program]):
            kind = "CONTAINS" if part.package in COMPILED_IN.get(program, []) else "STATIC_LINK"
            relations.append((spdx_id(program), kind, spdx_id(part.package)))
    for part in parts:
        licence, purpose = LICENCES[part.source]
        purl = f"pkg:deb/debian/{urllib.parse.quote(part.package, safe='')}@{urllib.parse.quote(part.version, safe='')}"
        packages.append(package_of(part.package, part.version, part.sources, licence, purpose,
                                   f"licences/{part.source}.txt", purl) | {"supplier": "Organization: Debian"})
    if has_real_platform:
        packages.append(application_of("real-platform", version))
        relations.append(("SPDXRef-DOCUMENT", "DESCRIBES", spdx_id("real-platform")))
        for part, purl, sources, licence, purpose, text in REAL_PLATFORM:
            part_version = urllib.parse.unquote(purl.rpartition("@")[2])
            packages.append(package_of(part, part_version, sources, licence, purpose, text, purl))
            relations.append((spdx_id("real-platform"), "CONTAINS", spdx_id(part)))
    relations = [{"spdxElementId": a, "relationshipType": kind, "relatedSpdxElement": b} for a, kind, b in relations]
    content = json.dumps([packages, relations], sort_keys=True)
    created = int(os.environ.get("SOURCE_DATE_EPOCH", time.time()))
    document = {
        "spdxVersion": "SPDX-2.3", "dataLicense": "CC0-1.0", "SPDXID": "SPDXRef-DOCUMENT", "name": f"{name}-{version}",
        "documentNamespace": "urn:uuid:" + str(uuid.uuid5(uuid.NAMESPACE_OID, content)),
        "creationInfo": {"created": time.strftime("%Y-%m-%dT%H:%M:%SZ", time.gmtime(created)),
                         "creators": ["Tool: bill_of_materials.py-" + version]},
        "packages": packages, "relationships": relations}
    if "LicenseRef-public-domain" in content:
        document["hasExtractedLicensingInfos"] = [{"licenseId": "LicenseRef-public-domain", "name": "Public domain",
                                                   "extractedText": "Placed in the public domain by its authors."}]
    return document


def with_common_texts(text):
    names = sorted({name.rstrip(".") for name in re.findall(rf"{COMMON_TEXTS}/([A-Za-z0-9.-]+)", text)})
    for name in names:
        text += f"\n{'=' * 78}\n{name}\n\n" + (COMMON_TEXTS / name).read_text()
    return text


def write_licences(parts, directory):
    for part in parts:
        text = pathlib.Path("/usr/share/doc", part.package, "copyright").read_text()
        (directory / f"{part.source}.txt").write_text(with_common_texts(text))


def write_platform_licences(fetched, directory):
    """Debian's package of the launcher jar has the texts of all of Equinox."""
    packages = list(fetched.glob("libequinox-launcher-java_*.deb"))
    if len(packages) != 1:
        sys.exit(f"the licence of Equinox is not in {fetched}; delete build/windows/real-platform and try again")
    content = subprocess.run(["dpkg-deb", "--fsys-tarfile", packages[0]], check=True, capture_output=True).stdout
    text = subprocess.run(["tar", "-xO", "./usr/share/doc/libequinox-launcher-java/copyright"], input=content,
                          check=True, capture_output=True).stdout.decode()
    if "Eclipse Public License - v 2.0" not in text:
        sys.exit(f"{packages[0]} does not have the text of the licence")
    (directory / "equinox.txt").write_text(with_common_texts(text))


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--name", required=True, help="name of the package")
    parser.add_argument("--version", required=True)
    parser.add_argument("--output", required=True, type=pathlib.Path, help="a directory")
    parser.add_argument("--real-platform", type=pathlib.Path, help="what cmake/real-platform.sh made, if it is there")
    parser.add_argument("--fetched", type=pathlib.Path, help="what it fetched for that")
    parser.add_argument("maps", nargs="+", type=pathlib.Path, help="<program>.map of the linker")
    options = parser.parse_args()
    programs = {path.stem: parts_of(path) for path in options.maps}
    parts = {part for parts in programs.values() for part in parts}
    unknown = sorted(part.package for part in parts if part.source not in LICENCES)
    if unknown:
        sys.exit("no licence is known for: " + " ".join(unknown))
    licences = options.output / "licences"
    licences.mkdir(parents=True, exist_ok=True)
    write_licences(parts, licences)
    has_real_platform = options.real_platform is not None and (options.real_platform / "made").exists()
    if has_real_platform:
        write_platform_licences(options.fetched, licences)
    document = document_of(options.name, options.version, programs, has_real_platform)
    (options.output / "bill-of-materials.spdx.json").write_text(json.dumps(document, indent=2) + "\n")


main()
