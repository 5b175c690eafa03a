"""Prints what the tests do not reach: `coverage_gaps.py COUNTS EXCEPTIONS`.

COUNTS is a directory with the counters of g++ (*.gcda) of one run. EXCEPTIONS lists what cannot be reached,
one per line, with four fields separated by ` | `:

    file | kind | the source line without its indentation | why it cannot be reached

The kind is `line` for a line that no test runs, `part` for a line of which a part never runs, and `branch N` for a
way out of a condition that is never taken, counted from 1 in its line. An exception applies to every such gap in
a line of the file with this text. An unused exception is an error.
"""

import collections
import functools
import re
import subprocess
import sys
from pathlib import Path

ROOT = Path.cwd()


# What records a start for zelexplain. tests/explain tests it.
NOT_IN_THE_PRODUCT = ("src/foundation/explanation.cpp", "src/foundation/sourced_text.h",
                      "src/properties/lookup_explanation.cpp")


def relative(name, build):
    """The path in the repository; None for a file outside of src/ or without a native build. With ccache, names may
    be relative to the directory of the build."""
    try:
        path = Path(build, name).resolve().relative_to(ROOT).as_posix()
    except ValueError:
        return None
    is_measured = path.startswith("src/") and not path.startswith("src/platform/windows/")
    return path if is_measured and path not in NOT_IN_THE_PRODUCT else None


@functools.cache
def source_lines(file):
    return Path(file).read_text().splitlines()


class Line:
    """The counts of one line, added up over the functions and objects that contain it."""

    def __init__(self):
        self.count = 0
        self.has_unrun_part = True  # a part has run if it has in one object
        self.branches = {}  # by their number: [count of each way out]

    def add_count(self, text):
        """Of gcov: `12`, `12*` with a part that never ran, `#####` if nothing ran."""
        count = int(text.rstrip("*")) if text[0].isdigit() else 0
        self.count += count
        self.has_unrun_part = self.has_unrun_part and not (count > 0 and not text.endswith("*"))

    def add_branches(self, ways):
        """Each is a count, or None if the condition was never evaluated."""
        known = self.branches.get(len(ways), [None] * len(ways))
        self.branches[len(ways)] = [sum(found) if (found := [count for count in pair if count is not None]) else None
                                    for pair in zip(known, ways)]

    def ways(self):
        return [count for ways in self.branches.values() for count in ways if count is not None]


def read_object(counters, build, files):
    """Adds the counts of one object file. The way of an exception out of a call is not a branch of the source."""
    shown = subprocess.run(["gcov", "--stdout", "--branch-probabilities", "--branch-counts", counters],
                           cwd=build, capture_output=True, check=True, text=True).stdout
    name, current, ways = None, None, []
    for text in [*shown.splitlines(), "-:0:end"]:
        branch = re.match(r"branch +\d+ (?:taken (\d+)|never executed)(.*)", text)
        if branch:
            if "throw" not in branch.group(2):
                ways.append(None if branch.group(1) is None else int(branch.group(1)))
            continue
        fields = text.split(":", 2)
        if len(fields) < 3 or not fields[1].strip().isdigit():
            continue
        if current and ways:
            current.add_branches(ways)
        current, ways = None, []
        count, number = fields[0].strip(), int(fields[1])
        if fields[2].startswith("Source:"):
            name = relative(fields[2].removeprefix("Source:"), build)
        elif name and number > 0 and count not in ("-", "=====", "=====*"):  # the last are only clean-up
            current = files[name][number]
            current.add_count(count)


def read_counts(directory):
    """{file: {line number: Line}}"""
    files = collections.defaultdict(lambda: collections.defaultdict(Line))
    for counters in sorted(Path(directory).resolve().rglob("*.gcda")):
        read_object(counters, directory, files)
    return files


def has_condition(file, number):
    """The compiler makes branches of its own, such as the loop that destroys an array, where there is none."""
    code = re.sub(r'"(?:\\.|[^"\\])*"|//.*', "", source_lines(file)[number - 1])
    return re.search(r"\b(?:if|while|for|switch)\b|\?|&&|\|\|", code) is not None


def read_exceptions(path):
    exceptions = {}
    for number, line in enumerate(Path(path).read_text().splitlines(), 1):
        if not line.strip() or line.startswith("#"):
            continue
        fields = line.split(" | ", 2)
        text, _, reason = fields[2].rpartition(" | ") if len(fields) == 3 else ("", "", "")
        if not text or not reason or not re.fullmatch(r"line|part|branch \d+", fields[1]):
            sys.exit(f"{path}:{number}: not `file | line, part or branch N | source line | reason`")
        exceptions[fields[0], fields[1], text.strip()] = False
    return exceptions


class Gaps:
    def __init__(self, exceptions):
        self.exceptions = exceptions
        self.excused = 0
        self.unexcused = []

    def add(self, file, line, kind):
        text = source_lines(file)[line - 1].strip()
        if (file, kind, text) in self.exceptions:
            self.exceptions[file, kind, text] = True
            self.excused += 1
        else:
            self.unexcused.append(f"{file}:{line}: {kind}: {text}")


def find_gaps(files, exceptions):
    gaps = Gaps(exceptions)
    for file in sorted(files):
        for number, line in sorted(files[file].items()):
            if line.count == 0:
                gaps.add(file, number, "line")
                continue
            if line.has_unrun_part:
                gaps.add(file, number, "part")
            for way, count in enumerate(line.ways() if has_condition(file, number) else [], 1):
                if count == 0:
                    gaps.add(file, number, f"branch {way}")
    return gaps


def percent(counts):
    reached = sum(1 for count in counts if count)
    return f"{reached} of {len(counts)} ({100 * reached / len(counts):.2f} %)" if counts else "none"


def main():
    counts_path, exceptions_path = sys.argv[1:]
    files = read_counts(counts_path)
    gaps = find_gaps(files, read_exceptions(exceptions_path))
    lines = [line for file in files.values() for line in file.values()]
    ways = [count for file, found in files.items() for number, line in found.items() if has_condition(file, number)
            for count in line.ways()]
    for gap in gaps.unexcused:
        print(gap)
    unused = [key for key, is_used in gaps.exceptions.items() if not is_used]
    for file, kind, text in unused:
        print(f"unused exception: {file}: {kind}: {text}")
    print(f"files:    {len(files)}")
    print(f"lines:    {percent([line.count for line in lines])}")
    print(f"branches: {percent(ways)}")
    print(f"gaps:     {gaps.excused} with a reason, {len(gaps.unexcused)} without")
    sys.exit(1 if gaps.unexcused or unused else 0)


main()
