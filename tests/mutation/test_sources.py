"""Finds the source of a test, so that a result is valid only while the test is unchanged."""

import functools
import hashlib
import re
from pathlib import Path

TESTS = Path("tests")
FOLDERS = {"scenarios": "scenarios", "faults": "reliability", "stops": "reliability"}  # of unit_x: unit/x


class TestSources:
    def digest(self, program, test):
        """Of the file with this test and of the project's test files that it includes; None if there is none."""
        file = self.files_of(program).get(plain_name(test))
        if file is None:
            return None
        digest = hashlib.sha1()
        for path in sorted(closure(file)):
            digest.update(path.read_bytes())
        return digest.hexdigest()

    @functools.cache
    def files_of(self, program):
        """{Suite.Name: file} of the program's tests"""
        folder = TESTS / (f"unit/{program[5:]}" if program.startswith("unit_") else FOLDERS.get(program, "-"))
        files = {}
        for file in folder.glob("*_test.cpp"):
            for suite, name in re.findall(r"\bTEST(?:_[FP])?\(\s*(\w+),\s*(\w+)\s*\)", file.read_text()):
                files[f"{suite}.{name}"] = file
        return files


def plain_name(test):
    """Without the prefix and the number of a test with parameters."""
    return re.sub(r"^\w+/|/\w+$", "", test)


@functools.cache
def closure(file):
    """The file, the other sources of its folder that are no tests, what these include from the folders of the tests,
    and the sources of those headers."""
    found = set()
    open_files = [file, *(path for path in file.parent.glob("*.cpp") if not path.name.endswith("_test.cpp"))]
    while open_files:
        path = open_files.pop()
        if path in found:
            continue
        found.add(path)
        for name in re.findall(r'^#include "([^"]+)"', path.read_text(), re.M):
            header = TESTS / name
            open_files += [part for part in (header, header.with_suffix(".cpp")) if part.exists()]
    return frozenset(found)
