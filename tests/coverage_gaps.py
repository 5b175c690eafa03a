"""Prints what the tests do not reach: `coverage_gaps.py LCOV JSON EXCEPTIONS`.

LCOV and JSON are llvm-cov's exports of one run; lines are read from the first, branches from the second.
EXCEPTIONS lists what cannot be reached, one per line, with four fields separated by ` | `:

    file | line, true or false | the source line without its indentation | why it cannot be reached

`line` is a line that no test runs, `true` or `false` the side of a condition in that line that no test takes.
An exception applies to every such gap in a line of the file with this text. An unused exception is an error.
"""

import functools
import json
import re
import sys
from collections import defaultdict
from pathlib import Path

ROOT = Path.cwd()


def relative(name):
    """The path in the repository; None for a file outside of src/ or without a native build."""
    try:
        path = Path(name).resolve().relative_to(ROOT).as_posix()
    except ValueError:
        return None
    return path if path.startswith("src/") and not path.startswith("src/platform/windows/") else None


@functools.cache
def source_lines(file):
    return Path(file).read_text().splitlines()


def source_line(file, line):
    return source_lines(file)[line - 1]


def read_lines(lcov):
    """{file: {line: count}}"""
    counts = defaultdict(dict)
    file = None
    for record in Path(lcov).read_text().splitlines():
        if record.startswith("SF:"):
            file = relative(record[3:])
        elif record.startswith("DA:") and file:
            line, count = record[3:].split(",")[:2]
            counts[file][int(line)] = max(counts[file].get(int(line), 0), int(count))
    return counts


def is_constant(file, line, column):
    """`while (true)` has one side."""
    return re.match(r"(true|false)\b", source_line(file, line)[column - 1 :]) is not None


def read_branches(exported):
    """{file: {(line, column): [count of true, count of false]}}; instantiations are added up."""
    counts = defaultdict(lambda: defaultdict(lambda: [0, 0]))
    for unit in json.loads(Path(exported).read_text())["data"]:
        for file in unit["files"]:
            name = relative(file["filename"])
            if not name:
                continue
            for branch in file["branches"]:
                if is_constant(name, branch[0], branch[1]):
                    continue
                sides = counts[name][branch[0], branch[1]]
                sides[0] += branch[4]
                sides[1] += branch[5]
    return counts


def read_exceptions(path):
    exceptions = {}
    for number, line in enumerate(Path(path).read_text().splitlines(), 1):
        if not line.strip() or line.startswith("#"):
            continue
        fields = line.split(" | ", 2)
        text, _, reason = fields[2].rpartition(" | ") if len(fields) == 3 else ("", "", "")
        if not text or not reason or fields[1] not in ("line", "true", "false"):
            sys.exit(f"{path}:{number}: not `file | line, true or false | source line | reason`")
        exceptions[fields[0], fields[1], text.strip()] = False
    return exceptions


class Gaps:
    def __init__(self, exceptions):
        self.exceptions = exceptions
        self.excused = 0
        self.unexcused = []

    def add(self, file, line, kind):
        text = source_line(file, line).strip()
        if (file, kind, text) in self.exceptions:
            self.exceptions[file, kind, text] = True
            self.excused += 1
        else:
            self.unexcused.append(f"{file}:{line}: {kind}: {text}")


def percent(reached, total):
    return f"{reached} of {total} ({100 * reached / total:.2f} %)" if total else "none"


def main():
    lcov, exported, exceptions_path = sys.argv[1:]
    lines, branches = read_lines(lcov), read_branches(exported)
    gaps = Gaps(read_exceptions(exceptions_path))
    for file in sorted(lines):
        for line, count in sorted(lines[file].items()):
            if count == 0:
                gaps.add(file, line, "line")
        for (line, _), (is_true, is_false) in sorted(branches[file].items()):
            # If a condition is never evaluated, its line is reported instead.
            if is_true == 0 and lines[file].get(line, 1) != 0:
                gaps.add(file, line, "true")
            if is_false == 0 and lines[file].get(line, 1) != 0:
                gaps.add(file, line, "false")

    all_lines = [count for file in lines.values() for count in file.values()]
    sides = [side for file in branches.values() for counts in file.values() for side in counts]
    for gap in gaps.unexcused:
        print(gap)
    unused = [key for key, is_used in gaps.exceptions.items() if not is_used]
    for file, kind, text in unused:
        print(f"unused exception: {file}: {kind}: {text}")
    print(f"files:    {len(lines)}")
    print(f"lines:    {percent(sum(1 for count in all_lines if count), len(all_lines))}")
    print(f"branches: {percent(sum(1 for side in sides if side), len(sides))}")
    print(f"gaps:     {gaps.excused} with a reason, {len(gaps.unexcused)} without")
    sys.exit(1 if gaps.unexcused or unused else 0)


main()
