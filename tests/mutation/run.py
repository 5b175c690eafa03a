"""Builds and tests mutants of the launcher's sources. run.sh prepares the build and describes the options.

A mutant is one recompiled file, linked before the libraries of the build with the unit tests of its
subsystem and, if it survives them, with the scenarios. It is killed if a test program fails, crashes, or takes
much more processor time than without a mutant.
"""

import argparse
import collections
import concurrent.futures
import hashlib
import json
import os
import random
import re
import resource
import shlex
import subprocess
import sys
import threading
from dataclasses import dataclass
from pathlib import Path

from mutants import mutants_of, read_operators

HERE = Path(__file__).parent
BUILD = Path("build/native-mutation").resolve()
WORK = BUILD / "mutants"
SUBSYSTEMS = ("properties", "configuration", "javalaunch")
# Simulated processes are threads. Small stacks and one heap allow a low limit.
MEMORY_LIMIT = 4 << 30
STACK_LIMIT = 1 << 20
REQUIRED = 90  # per cent
# An index out of bounds ends the program.
CHECKS = ["-w", "-D_GLIBCXX_ASSERTIONS"]


@dataclass
class Program:
    name: str
    link: list  # the command that links it
    seconds: float = 0  # of processor time, without a mutant

    def limits(self):
        return int(self.seconds * 5) + 2


def run(command, **options):
    return subprocess.run(command, stdin=subprocess.DEVNULL, capture_output=True, **options)


def compile_flags(file):
    """The flags with which the build compiles a file, without warnings."""
    for entry in json.loads((BUILD / "compile_commands.json").read_text()):
        if entry["file"].endswith("/" + file):
            parts = shlex.split(entry["command"])
            parts = parts[parts.index(next(part for part in parts if part.endswith("clang++"))) :]
            return [part for part in parts[1 : parts.index("-o")] if not part.startswith("-W") and part != "-O1"]
    sys.exit(f"{file} is not part of the build")


def link_command(program):
    commands = run(["ninja", "-C", str(BUILD), "-t", "commands", f"tests/{program}"], text=True).stdout
    parts = shlex.split(commands.strip().splitlines()[-1])
    parts = [part for part in parts if part not in (":", "&&")]
    return parts[: parts.index("-o")] + parts[parts.index("-o") + 2 :]


class Builder:
    """Compiles and links mutants. Precompiles the headers."""

    def __init__(self, files):
        WORK.mkdir(parents=True, exist_ok=True)
        self.flags = compile_flags(files[0])
        includes = sorted({line for file in files for line in re.findall(r"^#include .*$", Path(file).read_text(), re.M)})
        header = WORK / "headers.h"
        header.write_text("\n".join(includes) + "\n")
        self.headers = WORK / "headers.pch"
        made = run(["clang++", *self.flags, *CHECKS, "-x", "c++-header", str(header), "-o", str(self.headers)])
        if made.returncode:
            sys.exit(made.stderr.decode())

    def compile(self, directory, file, text):
        """The object file and a digest of its code, or None if the text does not compile."""
        source, target = directory / Path(file).name, directory / "mutant.o"
        source.write_text(text)
        command = ["clang++", *self.flags, *CHECKS, "-include-pch", str(self.headers)]
        made = run([*command, "-c", str(source), "-o", str(target)], text=True)
        if "has been modified since" in made.stderr:
            raise RuntimeError("a header has changed; start again")
        if made.returncode:
            return None
        return target, hashlib.sha1(target.read_bytes()).hexdigest()

    def optimised_code(self, directory, file, text):
        source, target = directory / Path(file).name, directory / "optimised.o"
        source.write_text(text)
        made = run(["clang++", *self.flags, "-w", "-O2", "-c", str(source), "-o", str(target)])
        return None if made.returncode else hashlib.sha1(target.read_bytes()).hexdigest()

    def link(self, directory, program, mutant):
        target = directory / program.name
        made = run([*program.link[:1], str(mutant), *program.link[1:], "-o", str(target)], cwd=BUILD)
        return target if made.returncode == 0 else None


def run_tests(executable, cpu_seconds, directory):
    """How the program ended; empty if every test passed."""

    def limit():
        resource.setrlimit(resource.RLIMIT_CPU, (cpu_seconds, cpu_seconds + 1))
        resource.setrlimit(resource.RLIMIT_STACK, (STACK_LIMIT, STACK_LIMIT))
        resource.setrlimit(resource.RLIMIT_AS, (MEMORY_LIMIT, MEMORY_LIMIT))
        resource.setrlimit(resource.RLIMIT_CORE, (0, 0))

    try:
        # The limit of elapsed time is only for programs that wait forever, because the machine may be busy.
        ended = run([str(executable), "--gtest_brief=1", "--gtest_fail_fast"], cwd=directory, preexec_fn=limit,
                    timeout=60 + 10 * cpu_seconds, env={**os.environ, "MALLOC_ARENA_MAX": "1"})
    except subprocess.TimeoutExpired:
        return "hangs"
    if ended.returncode == 0:
        return ""
    if ended.returncode in (-24, -9):  # SIGXCPU, SIGKILL
        return "takes too long"
    if ended.returncode < 0:
        return f"crashes by signal {-ended.returncode}"
    failed = re.search(rb"\[  FAILED  \] ([\w/.]+)", ended.stdout)
    return f"fails {failed.group(1).decode() if failed else ended.returncode}"


class Results:
    """The results of all runs, kept in a file.

    A kill is valid until the source file changes. A survivor is tested again once the tests have changed.
    """

    def __init__(self, path, tests_digest, start_anew):
        self.path, self.tests_digest, self.lock = path, tests_digest, threading.Lock()
        self.known, self.codes, self.to_retry = {}, {}, set()
        if start_anew:
            path.unlink(missing_ok=True)
        if path.exists():
            for line in path.read_text().splitlines():
                record = json.loads(line)
                self.known[record["key"]] = record
            self.to_retry = {key for key, record in self.known.items()
                             if record["state"] == "survived" and record["tests"] != tests_digest}
            for key in self.to_retry:
                del self.known[key]

    def store(self, mutant, state, by=""):
        record = {"key": mutant.key, "state": state, "by": by, "tests": self.tests_digest, "file": mutant.file,
                  "line": mutant.line, "operator": mutant.operator}
        with self.lock:
            self.known[mutant.key] = record
            with self.path.open("a") as file:
                file.write(json.dumps(record) + "\n")
        return record

    def is_first_with(self, mutant, code):
        with self.lock:
            return self.codes.setdefault((mutant.file, code), mutant.key) == mutant.key


class Laboratory:
    def __init__(self, files, results, units_only):
        self.builder, self.results = Builder(files), results
        self.whole_starts = [] if units_only else [Program("scenarios", link_command("scenarios"))]
        self.units = {name: Program(f"unit_{name}", link_command(f"unit_{name}")) for name in SUBSYSTEMS}
        self.original_code = {}
        self.local = threading.local()

    def directory(self):
        if not hasattr(self.local, "directory"):
            self.local.directory = WORK / f"job-{threading.get_ident()}"
            self.local.directory.mkdir(exist_ok=True)
        return self.local.directory

    def prepare(self, files):
        """Runs the originals, built as mutants are: they must pass, and their times give the limits."""
        for file in files:
            mutant = self.builder.compile(self.directory(), file, Path(file).read_text())
            self.original_code[file] = mutant[1]
        programs = [(self.units[Path(file).parent.name], file) for file in files]
        for program, file in programs + [(program, files[0]) for program in self.whole_starts]:
            if program.seconds:
                continue
            mutant, _ = self.builder.compile(self.directory(), file, Path(file).read_text())
            executable = self.builder.link(self.directory(), program, mutant)
            before = resource.getrusage(resource.RUSAGE_CHILDREN)
            end = run_tests(executable, 300, self.directory())
            after = resource.getrusage(resource.RUSAGE_CHILDREN)
            if end:
                sys.exit(f"{program.name} {end} without a mutant")
            program.seconds = after.ru_utime - before.ru_utime + after.ru_stime - before.ru_stime
            print(f"{program.name}: {program.seconds:.1f} s of processor time", flush=True)

    def examine(self, mutant):
        compiled = self.builder.compile(self.directory(), mutant.file, mutant.text)
        if compiled is None:
            return self.results.store(mutant, "does not compile")
        target, code = compiled
        if code == self.original_code[mutant.file]:
            return self.results.store(mutant, "same code")
        if not self.results.is_first_with(mutant, code):
            return self.results.store(mutant, "same as another")
        for program in (self.units[Path(mutant.file).parent.name], *self.whole_starts):
            executable = self.builder.link(self.directory(), program, target)
            if executable is None:
                return self.results.store(mutant, "does not compile")
            end = run_tests(executable, program.limits(), self.directory())
            if end:
                return self.results.store(mutant, "killed", f"{program.name} {end}")
        original = Path(mutant.file).read_text()
        optimised = self.builder.optimised_code(self.directory(), mutant.file, mutant.text)
        if optimised == self.builder.optimised_code(self.directory(), mutant.file, original):
            return self.results.store(mutant, "same code")
        return self.results.store(mutant, "survived")


def tests_digest(units_only):
    digest = hashlib.sha1(str(units_only).encode())
    for name in ["scenarios", *(f"unit_{subsystem}" for subsystem in SUBSYSTEMS)]:
        digest.update((BUILD / "tests" / name).read_bytes())
    return digest.hexdigest()


def read_equivalents(path):
    """{(file, change): reason}"""
    equivalents = {}
    for number, line in enumerate(path.read_text().splitlines(), 1):
        if not line.strip() or line.startswith("#"):
            continue
        change, _, reason = line.rpartition(" | ")
        file, _, change = change.partition(" | ")
        if not reason or " => " not in change:
            sys.exit(f"{path}:{number}: not `file | line => mutated line | reason`")
        equivalents[file, change.strip()] = reason
    return equivalents


def unmatched(equivalents, mutants):
    """The entries whose source line or change no longer exists."""
    changes = {(mutant.file, mutant.change) for mutant in mutants}
    return [f"{file} | {change}" for file, change in equivalents if (file, change) not in changes]


def report(mutants, results, equivalents, verbose):
    table = collections.defaultdict(collections.Counter)
    survivors = []
    for mutant in sorted(mutants, key=lambda mutant: (mutant.file, mutant.line)):
        record = results.known.get(mutant.key)
        state = record["state"] if record else "not run"
        if state == "survived" and (mutant.file, mutant.change) in equivalents:
            state = "equivalent"
        elif state == "survived":
            survivors.append(mutant)
        table[mutant.file][state] += 1
        if verbose and state == "killed":
            print(f"{mutant.file}:{mutant.line}: {mutant.operator}: {record['by']}")
    print("\nSurvivors without a reason:" if survivors else "\nNo survivor without a reason.")
    for mutant in survivors:
        print(f"{mutant.file} | {mutant.change} | line {mutant.line}, {mutant.operator}")

    print(f"\n{'file':48}{'mutants':>8}{'killed':>8}{'equal':>8}{'alive':>8}{'not run':>8}{'killed':>9}")
    total = collections.Counter()
    for file, counts in sorted(table.items()):
        total.update(counts)
        print_row(file, counts)
    print_row("all", total)
    print(f"not counted: {total['does not compile']} that do not compile, {total['same code']} with the same code,"
          f" {total['same as another']} with the code of another mutant")
    counted = total["killed"] + total["survived"] + total["equivalent"]
    return counted > 0 and 100 * total["killed"] >= REQUIRED * counted and not survivors


def print_row(name, counts):
    counted = counts["killed"] + counts["survived"] + counts["equivalent"]
    share = f"{100 * counts['killed'] / counted:.1f} %" if counted else "-"
    print(f"{name:48}{counted:8}{counts['killed']:8}{counts['equivalent']:8}{counts['survived']:8}"
          f"{counts['not run']:8}{share:>9}")


def read_options():
    parser = argparse.ArgumentParser(prog="tests/mutation/run.sh")
    parser.add_argument("files", nargs="*", help="only these sources")
    parser.add_argument("--sample", type=int, help="only this number of mutants, drawn with the seed")
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--jobs", type=int, default=1)
    parser.add_argument("--units", action="store_true",
                        help="only unit tests; a later run without it tests the survivors again")
    parser.add_argument("--fresh", action="store_true", help="forget the results of earlier runs")
    parser.add_argument("--report", action="store_true", help="run nothing, print the known results")
    parser.add_argument("--verbose", action="store_true", help="print what killed each mutant")
    return parser.parse_args()


def main():
    options = read_options()
    files = options.files or sorted(str(file) for name in SUBSYSTEMS for file in Path("src", name).glob("*.cpp"))
    operators = read_operators(HERE / "operators.txt")
    mutants = [mutant for file in files for mutant in mutants_of(file, operators)]
    equivalents = read_equivalents(HERE / "equivalents.txt")
    unmatched_entries = [] if options.files else unmatched(equivalents, mutants)
    # In random order, so that a run that is stopped leaves a fair sample.
    random.Random(options.seed).shuffle(mutants)
    mutants = mutants[: options.sample]
    results = Results(BUILD / "mutants.jsonl", tests_digest(options.units), options.fresh)

    unknown = [mutant for mutant in mutants if mutant.key not in results.known]
    unknown.sort(key=lambda mutant: mutant.key not in results.to_retry)
    if unknown and not options.report:
        laboratory = Laboratory(files, results, options.units)
        laboratory.prepare(files)
        with concurrent.futures.ThreadPoolExecutor(options.jobs) as pool:
            for number, record in enumerate(pool.map(laboratory.examine, unknown), 1):
                if record["state"] == "survived" or number % 50 == 0:
                    print(f"{number} of {len(unknown)}: {record['file']}:{record['line']}: {record['operator']}:"
                          f" {record['state']}", flush=True)
    is_enough = report(mutants, results, equivalents, options.verbose)
    for entry in unmatched_entries:
        print(f"equivalents.txt: no such mutant: {entry}")
    sys.exit(0 if is_enough and not unmatched_entries else 1)


if __name__ == "__main__":
    main()
