"""Builds and tests mutants of the launcher's sources. run.sh prepares the build and describes the options.

A mutant is one recompiled file, or a header with some sources that use it. It is linked before the libraries of the
build with the unit tests of its subsystem and, if it survives them and equivalents.txt has no reason for that, with
the scenarios and with the whole starts with faults and stops. It is killed by a test that fails, crashes or does not
end. A test that takes too long is run again alone with a much higher limit before that counts.
"""

import argparse
import collections
import concurrent.futures
import functools
import hashlib
import json
import os
import random
import re
import resource
import shlex
import shutil
import subprocess
import sys
import threading
from dataclasses import dataclass, field
from pathlib import Path

from mutants import mutants_of, read_operators
from test_sources import TestSources

HERE = Path(__file__).parent
BUILD = Path("build/native-mutation").resolve()
WORK = BUILD / "mutants"
SUBSYSTEMS = ("cache", "configuration", "desktop", "foundation", "instance", "javalaunch", "kiosk", "launch",
              "properties", "provisioning")
NOT_MUTATED = ("src/launch/main.cpp",  # has no native build
               # Only on the simulated machine; tests/explain tests them.
               "src/foundation/explanation.cpp", "src/properties/lookup_explanation.cpp")
# The headers with constants; those that include one are compiled with a mutant of it.
HEADERS_WITH_CONSTANTS = (
    "src/configuration/install_kind.h", "src/configuration/own_program.h", "src/foundation/paths.h",
    "src/foundation/text_stream.h", "src/foundation/user_files.h", "src/javalaunch/jvm_root.h",
    "src/kiosk/shell_role.h", "src/properties/token_scan.h",
)
# The headers with code, and the sources that are compiled with a mutant of one: those that use its functions most,
# and its test, which has copies of its own otherwise.
HEADERS = {
    "src/foundation/byte_scan.h": ("src/foundation/text_stream.cpp", "src/properties/packed_text.cpp",
                                   "src/properties/property_list.cpp", "src/properties/property_reader.cpp",
                                   "tests/unit/foundation/byte_scan_test.cpp"),
    "src/foundation/log_channel.h": ("src/properties/property_reader.cpp",
                                     "tests/unit/foundation/log_channel_test.cpp"),
    "src/properties/expansions.h": ("src/properties/expansions.cpp", "src/properties/substitution.cpp",
                                    "src/properties/token_scan.cpp", "tests/unit/properties/expansions_test.cpp"),
    "src/properties/property_index.h": ("src/properties/property_list.cpp", "src/properties/property_reader.cpp",
                                        "tests/unit/properties/property_index_test.cpp"),
    "src/properties/property_list.h": ("src/properties/property_list.cpp", "src/properties/property_reader.cpp",
                                       "src/properties/substitution.cpp", "src/properties/token_scan.cpp",
                                       "src/properties/vmarg_overrides.cpp",
                                       "tests/unit/properties/property_list_test.cpp"),
}
WHOLE_STARTS = ("scenarios", "faults", "stops")
# Simulated processes are threads. Small stacks and one heap allow a low limit.
MEMORY_LIMIT = 4 << 30
STACK_LIMIT = 1 << 20
REQUIRED = 95  # per cent of each subsystem
SLOW_TEST = 0.2  # seconds; slower ones run after the others
# An index out of bounds ends the program.
CHECKS = ["-w", "-D_GLIBCXX_ASSERTIONS"]


@dataclass
class Part:
    """Some tests of a program."""

    tests: str  # as a filter
    seconds: float  # of processor time, without a mutant

    def limit(self):
        return int(self.seconds * 5) + 2


@dataclass
class Program:
    name: str
    link: list  # the command that links it
    parts: list = field(default_factory=list)  # the quick tests come first
    times: dict = field(default_factory=dict)  # seconds of each test, without a mutant

    def uses(self, source):
        """Whether the program needs this source: the mutant itself, a test of the program, or a part of a library."""
        folder = Path(source).parent.name
        if is_test(source):
            return f"unit_{folder}" == self.name
        return Path(source).is_absolute() or any(part.endswith(f"libzl_{folder}.a") for part in self.link)

    def limit_of_one_test(self, test):
        """For a test that is run alone because its part took too long: far more than it takes."""
        return int(self.times.get(test, sum(self.times.values())) * 20) + 3


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
    target = next(path for path in (BUILD / "tests").rglob(program) if path.is_file()).relative_to(BUILD)
    commands = run(["ninja", "-C", str(BUILD), "-t", "commands", str(target)], text=True).stdout
    parts = shlex.split(commands.strip().splitlines()[-1])
    parts = [part for part in parts if part not in (":", "&&")]
    return parts[: parts.index("-o")] + parts[parts.index("-o") + 2 :]


@functools.cache
def sources_of(file):
    """What is compiled for a mutant of this file."""
    if file in HEADERS_WITH_CONSTANTS:
        line = f'#include "{file.removeprefix("src/")}"'
        return tuple(path for path in all_sources() if line in Path(path).read_text())
    return HEADERS.get(file, (file,))


def all_sources():
    paths = sorted(str(path) for name in SUBSYSTEMS for path in Path("src", name).glob("*.cpp"))
    return [path for path in paths if path not in NOT_MUTATED]


def is_header(file):
    return file.endswith(".h")


def is_test(source):
    return str(source).startswith("tests/")


@functools.cache
def test_flags(source):
    return [*compile_flags(source), "-O1", "-w"]  # as their precompiled header


class Builder:
    """Compiles and links mutants. Precompiles the headers for those that are no header."""

    def __init__(self, files):
        WORK.mkdir(parents=True, exist_ok=True)
        self.flags = compile_flags(next(source for source in sources_of(files[0]) if source.startswith("src/")))
        texts = [Path(file).read_text() for file in files]
        includes = sorted({line for text in texts for line in re.findall(r"^#include .*$", text, re.M)})
        header = WORK / "headers.h"
        header.write_text("\n".join(includes) + "\n")
        self.headers = WORK / "headers.pch"
        made = run(["clang++", *self.flags, *CHECKS, "-x", "c++-header", str(header), "-o", str(self.headers)])
        if made.returncode:
            sys.exit(made.stderr.decode())

    def compile(self, directory, file, text):
        """The object files by their sources and a digest of their code, or None if the text does not compile."""
        precompiled = [] if is_header(file) else ["-include-pch", str(self.headers)]
        return self.run_compiler(directory, file, text, [*CHECKS, *precompiled])

    def optimised_code(self, directory, file, text):
        compiled = self.run_compiler(directory, file, text, ["-w", "-O2"])
        return compiled[1] if compiled else None

    def run_compiler(self, directory, file, text, options):
        includes = directory / "include"
        shutil.rmtree(includes, ignore_errors=True)
        if is_header(file):
            # It is found before the original.
            mutant, sources = includes / Path(file).relative_to("src"), sources_of(file)
            own = [f"-I{includes}"]
        else:
            mutant = directory / Path(file).name
            sources, own = (mutant,), []
        mutant.parent.mkdir(parents=True, exist_ok=True)
        mutant.write_text(text)
        objects, digest = {}, hashlib.sha1()
        for number, source in enumerate(sources):
            target = directory / f"mutant-{number}.o"
            flags = test_flags(source) if is_test(source) else [*options, *self.flags]
            made = run(["clang++", *own, *flags, "-c", str(source), "-o", str(target)], text=True)
            if "has been modified since" in made.stderr:
                raise RuntimeError("a header has changed; start again")
            if made.returncode:
                return None
            objects[source] = target
            digest.update(target.read_bytes())
        return objects, digest.hexdigest()

    def link(self, directory, program, objects):
        target = directory / program.name
        parts = {str(source): str(part) for source, part in objects.items() if program.uses(source)}
        replaced = tuple(f"{source.removeprefix('tests/')}.o" for source in parts if is_test(source))
        rest = [part for part in program.link[1:] if not part.endswith(replaced)]
        made = run([*program.link[:1], *parts.values(), *rest, "-o", str(target)], cwd=BUILD)
        return target if made.returncode == 0 else None


@dataclass
class End:
    """How a test program ended, and the test that it was running then or that failed first."""

    how: str  # empty if every test passed
    test: str = ""
    times: dict = field(default_factory=dict)  # seconds of each test that passed


def run_tests(executable, cpu_seconds, directory, test="*"):
    def limit():
        resource.setrlimit(resource.RLIMIT_CPU, (cpu_seconds, cpu_seconds + 1))
        resource.setrlimit(resource.RLIMIT_STACK, (STACK_LIMIT, STACK_LIMIT))
        resource.setrlimit(resource.RLIMIT_AS, (MEMORY_LIMIT, MEMORY_LIMIT))
        resource.setrlimit(resource.RLIMIT_CORE, (0, 0))

    command = [str(executable), "--gtest_fail_fast", f"--gtest_filter={test}"]
    try:
        # The limit of elapsed time is only for programs that wait forever, because the machine may be busy.
        ended = run(command, cwd=directory, preexec_fn=limit, timeout=60 + 10 * cpu_seconds,
                    env={**os.environ, "MALLOC_ARENA_MAX": "1"})
        status, output = ended.returncode, ended.stdout
    except subprocess.TimeoutExpired as expired:
        status, output = None, expired.stdout or b""
    if status == 0:
        return End("", times={name.decode(): int(time) / 1000
                              for name, time in re.findall(rb"\[       OK \] ([\w/.]+) \((\d+) ms\)", output)})
    begun = re.findall(rb"\[ RUN      \] ([\w/.]+)", output)
    running = begun[-1].decode() if begun else ""
    if status in (None, -24, -9):  # SIGXCPU, SIGKILL
        return End("does not end", running)
    if status < 0:
        return End(f"crashes by signal {-status}", running)
    failed = re.search(rb"\[  FAILED  \] ([\w/.]+)", output)
    return End("fails", failed.group(1).decode() if failed else running)


class Results:
    """The results of all runs, kept in a file.

    A kill is valid while its source file and the test that killed are unchanged; otherwise that test is run first.
    A survivor is tested again once a program that it survived has changed, or if it is to survive more of them.
    """

    def __init__(self, path, programs_of, sources, start_anew):
        self.path, self.programs_of, self.sources, self.lock = path, programs_of, sources, threading.Lock()
        self.known, self.codes, self.former_killers, self.digests = {}, {}, {}, {}
        if start_anew:
            path.unlink(missing_ok=True)
        if path.exists():
            for line in path.read_text().splitlines():
                record = json.loads(line)
                self.known[record["key"]] = record
        for key, record in list(self.known.items()):
            if record["state"] == "killed" and not self.is_unchanged(record):
                self.former_killers[key] = record["program"], record["test"]
                del self.known[key]

    def of(self, mutant):
        """The record of a mutant, or None if it has no valid one."""
        record = self.known.get(mutant.key)
        if record and record["state"] == "survived":
            survived = record.get("survived", {})
            if any(survived.get(program) != self.program_digest(program) for program in self.programs_of(mutant)):
                return None
        return record

    def program_digest(self, name):
        if name not in self.digests:
            path = next(path for path in (BUILD / "tests").rglob(name) if path.is_file())
            self.digests[name] = hashlib.sha1(path.read_bytes()).hexdigest()
        return self.digests[name]

    def is_unchanged(self, record):
        digest = self.sources.digest(record.get("program", ""), record.get("test", ""))
        return digest is not None and record.get("digest") == digest

    def store(self, mutant, state, program="", end=End("")):
        record = {"key": mutant.key, "state": state, "program": program, "test": end.test, "how": end.how,
                  "digest": self.sources.digest(program, end.test),
                  "file": mutant.file, "line": mutant.line, "operator": mutant.operator}
        if state == "survived":
            record["survived"] = {name: self.program_digest(name) for name in self.programs_of(mutant)}
        with self.lock:
            self.known[mutant.key] = record
            with self.path.open("a") as file:
                file.write(json.dumps(record) + "\n")
        return record

    def is_first_with(self, mutant, code):
        with self.lock:
            return self.codes.setdefault((mutant.file, code), mutant.key) == mutant.key


class Laboratory:
    def __init__(self, mutants, results):
        self.builder, self.results = Builder(sorted({mutant.file for mutant in mutants})), results
        self.programs = {}
        for mutant in mutants:
            for name in results.programs_of(mutant):
                if name not in self.programs:
                    self.programs[name] = Program(name, link_command(name))
        self.original_code, self.optimised = {}, {}
        self.local = threading.local()

    def directory(self):
        if not hasattr(self.local, "directory"):
            self.local.directory = WORK / f"job-{threading.get_ident()}"
            self.local.directory.mkdir(exist_ok=True)
        return self.local.directory

    def programs_for(self, mutant):
        return [self.programs[name] for name in self.results.programs_of(mutant)]

    def prepare(self, mutants):
        """Runs the originals, built as mutants are: they must pass, and their times give the limits."""
        for file in sorted({mutant.file for mutant in mutants}):
            original, code = self.builder.compile(self.directory(), file, Path(file).read_text())
            self.original_code[file] = code
            for mutant in mutants:
                for program in self.programs_for(mutant) if mutant.file == file else ():
                    if not program.parts:
                        self.measure(program, original)

    def measure(self, program, mutant):
        executable = self.builder.link(self.directory(), program, mutant)
        end = run_tests(executable, 300, self.directory())
        if end.how:
            sys.exit(f"{program.name}: {end.test} {end.how} without a mutant")
        program.times = end.times
        slow = ":".join(test for test, seconds in end.times.items() if seconds > SLOW_TEST)
        for tests in ("-" + slow, slow) if slow else ("*",):
            before = resource.getrusage(resource.RUSAGE_CHILDREN)
            run_tests(executable, 300, self.directory(), tests)
            after = resource.getrusage(resource.RUSAGE_CHILDREN)
            program.parts.append(Part(tests, after.ru_utime - before.ru_utime + after.ru_stime - before.ru_stime))
        print(f"{program.name}: {sum(part.seconds for part in program.parts):.1f} s of processor time", flush=True)

    def examine(self, mutant):
        compiled = self.builder.compile(self.directory(), mutant.file, mutant.text)
        if compiled is None:
            return self.results.store(mutant, "does not compile")
        target, code = compiled
        if code == self.original_code[mutant.file]:
            return self.results.store(mutant, "same code")
        if not self.results.is_first_with(mutant, code):
            return self.results.store(mutant, "same as another")
        killer, killer_test = self.results.former_killers.get(mutant.key, ("", ""))
        for program in sorted(self.programs_for(mutant), key=lambda program: program.name != killer):
            executable = self.builder.link(self.directory(), program, target)
            if executable is None:
                return self.results.store(mutant, "does not compile")
            end = self.run_mutant(executable, program, killer_test if program.name == killer else "")
            if end.how:
                return self.results.store(mutant, "killed", program.name, end)
        if self.optimised_code(mutant.file, mutant.text) == self.optimised_original(mutant.file):
            return self.results.store(mutant, "same code")
        return self.results.store(mutant, "survived")

    def optimised_code(self, file, text):
        return self.builder.optimised_code(self.directory(), file, text)

    def optimised_original(self, file):
        if file not in self.optimised:
            self.optimised[file] = self.optimised_code(file, Path(file).read_text())
        return self.optimised[file]

    def run_mutant(self, executable, program, first_test):
        if first_test:
            end = self.run_alone(executable, program, first_test)
            if end.how and end.test:
                return end
        for part in program.parts:
            end = run_tests(executable, part.limit(), self.directory(), part.tests)
            if end.how == "does not end":
                # The tests may only be slower. The one at which they were ended decides.
                end = self.run_alone(executable, program, end.test or part.tests)
                if not end.how:
                    end = run_tests(executable, 10 * part.limit(), self.directory(), part.tests)
                    if end.how == "does not end":
                        end = self.run_alone(executable, program, end.test or part.tests)
            if end.how:
                return end
        return End("")

    def run_alone(self, executable, program, test):
        return run_tests(executable, program.limit_of_one_test(test), self.directory(), test)


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
    """Prints what is known. True if all mutants were run, enough of each subsystem are killed, each survivor has a
    reason, and no reason is given for a mutant that is killed."""
    table = collections.defaultdict(collections.Counter)
    survivors, killed_with_reason = [], []
    for mutant in sorted(mutants, key=lambda mutant: (mutant.file, mutant.line)):
        record = results.of(mutant)
        state = record["state"] if record else "not run"
        if state == "survived" and (mutant.file, mutant.change) in equivalents:
            state = "equivalent"
        elif state == "survived":
            survivors.append(mutant)
        elif state == "killed" and (mutant.file, mutant.change) in equivalents:
            killed_with_reason.append(mutant)
        table[mutant.file][state] += 1
        if state == "killed" and record["how"] == "does not end":
            table[mutant.file]["endless"] += 1
        if verbose and state == "killed":
            print(f"{mutant.file}:{mutant.line}: {mutant.operator}: {record['test']} {record['how']}")
    print("\nSurvivors without a reason:" if survivors else "\nNo survivor without a reason.")
    for mutant in survivors:
        print(f"{mutant.file} | {mutant.change} | line {mutant.line}, {mutant.operator}")

    for mutant in killed_with_reason:
        print(f"equivalents.txt: {mutant.file} | {mutant.change} | is killed, line {mutant.line}")

    columns = ("mutants", "killed", "endless", "equal", "alive", "not run", "killed")
    print(f"\n{'file':48}" + "".join(f"{column:>9}" for column in columns))
    subsystems, total = collections.defaultdict(collections.Counter), collections.Counter()
    for file, counts in sorted(table.items()):
        subsystems[str(Path(file).parent)].update(counts)
        total.update(counts)
        print_row(file, counts)
    print()
    for name, counts in sorted(subsystems.items()):
        print_row(name, counts)
    print_row("all", total)
    print(f"not counted: {total['does not compile']} that do not compile, {total['same code']} with the same code,"
          f" {total['same as another']} with the code of another mutant")
    return (not survivors and not killed_with_reason and total["not run"] == 0 and
            all(is_enough(counts) for counts in subsystems.values()))


def counted(counts):
    return counts["killed"] + counts["survived"] + counts["equivalent"]


def is_enough(counts):
    return counted(counts) > 0 and 100 * counts["killed"] >= REQUIRED * counted(counts)


def print_row(name, counts):
    share = f"{100 * counts['killed'] / counted(counts):.1f} %" if counted(counts) else "-"
    print(f"{name:48}{counted(counts):9}{counts['killed']:9}{counts['endless']:9}{counts['equivalent']:9}"
          f"{counts['survived']:9}{counts['not run']:9}{share:>9}")


def read_options():
    parser = argparse.ArgumentParser(prog="tests/mutation/run.sh")
    parser.add_argument("files", nargs="*", help="only these sources")
    parser.add_argument("--sample", type=int, help="only this number of mutants of each subsystem, drawn with the seed")
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--jobs", type=int, default=1)
    parser.add_argument("--units", action="store_true",
                        help="only unit tests; a later run without it lets the survivors run the rest")
    parser.add_argument("--fresh", action="store_true", help="forget the results of earlier runs")
    parser.add_argument("--report", action="store_true", help="run nothing, print the known results")
    parser.add_argument("--verbose", action="store_true", help="print what killed each mutant")
    return parser.parse_args()


def draw(mutants, options):
    """In random order, so that a run that is stopped leaves a fair sample."""
    random.Random(options.seed).shuffle(mutants)
    drawn, taken = [], collections.Counter()
    for mutant in mutants:
        taken[Path(mutant.file).parent] += 1
        if options.sample is None or taken[Path(mutant.file).parent] <= options.sample:
            drawn.append(mutant)
    return drawn


def main():
    options = read_options()
    files = options.files or sorted([*all_sources(), *HEADERS, *HEADERS_WITH_CONSTANTS])
    operators = read_operators(HERE / "operators.txt")
    every = [mutant for file in files for mutant in mutants_of(file, operators)]
    equivalents = read_equivalents(HERE / "equivalents.txt")
    unmatched_entries = [] if options.files else unmatched(equivalents, every)
    mutants = draw(every, options)

    def programs_of(mutant):
        has_reason = (mutant.file, mutant.change) in equivalents
        units = sorted({f"unit_{Path(source).parent.name}" for source in sources_of(mutant.file)})
        return units if options.units or has_reason else [*units, *WHOLE_STARTS]

    results = Results(BUILD / "mutants.jsonl", programs_of, TestSources(), options.fresh)
    unknown = [mutant for mutant in mutants if results.of(mutant) is None]
    unknown.sort(key=lambda mutant: mutant.key not in results.former_killers)
    if unknown and not options.report:
        laboratory = Laboratory(unknown, results)
        laboratory.prepare(unknown)
        with concurrent.futures.ThreadPoolExecutor(options.jobs) as pool:
            for number, record in enumerate(pool.map(laboratory.examine, unknown), 1):
                if record["state"] == "survived" or number % 50 == 0:
                    print(f"{number} of {len(unknown)}: {record['file']}:{record['line']}: {record['operator']}:"
                          f" {record['state']}", flush=True)
    is_good = report(mutants, results, equivalents, options.verbose)
    for entry in unmatched_entries:
        print(f"equivalents.txt: no such mutant: {entry}")
    sys.exit(0 if is_good and not unmatched_entries else 1)


if __name__ == "__main__":
    main()
