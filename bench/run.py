#!/usr/bin/env python3
"""Runs the benchmarks that ./bench.sh has built, prints a table, and writes the plots of docs/performance.

Each ratio compares programs of one run, whose rounds take turns on one processor. The table gives the median ratio
and, in parentheses, the 10th and 90th percentile over the rounds, or the lowest and the highest of fewer than ten.
"""

import argparse
import contextlib
import itertools
import json
import math
import os
import shutil
import statistics
import subprocess
import sys
import time
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
NATIVE = ROOT / "build/native-bench/bench"
WINDOWS = ROOT / "build/windows"
WORK = ROOT / "build/bench"
PLOTS = ROOT / "docs/performance"
PREFIX = "bench"
DRIVE = ROOT / "build" / PREFIX / "drive_c"
INSTALL = DRIVE / "Apps/framework/Client"
LAUNCHER = r"C:\Apps\framework\Client\zel\zellauncher.exe"

rows = []


def on_processor(command):
    return ["taskset", "-c", str(options.processor), *map(str, command)]


def wine(*command):
    return [str(ROOT / "cmake/wine-run.sh"), *map(str, command)]


def output(command):
    """What the command writes; a file, because a platform that stays would keep a pipe open."""
    written = WORK / "output"
    with open(written, "wb") as file:
        done = subprocess.run(on_processor(command), stdout=file, stdin=subprocess.DEVNULL,
                              stderr=subprocess.DEVNULL, check=False)
    if done.returncode != 0:
        sys.exit(f"{command} failed with {done.returncode}")
    return written.read_text(errors="replace")


def spread(ratios):
    ordered = sorted(ratios)
    low, high = ordered[0], ordered[-1]
    if len(ordered) >= 10:
        tenths = statistics.quantiles(ordered, n=10, method="inclusive")
        low, high = tenths[0], tenths[-1]
    return f"{statistics.median(ordered):.2f} ({low:.2f} to {high:.2f})"


def add_row(what, value):
    rows.append((what, value))
    print(f"  {what}: {value}", flush=True)


def processor_time(process):
    """Nanoseconds of all threads. Other programs on the processor do not count, unlike in elapsed time."""
    tasks = Path(f"/proc/{process}/task").iterdir()
    return sum(int((task / "schedstat").read_text().split()[0]) for task in tasks)


class Peer:
    """A program that measures once for each line of its input."""

    def __init__(self, command):
        self.process = subprocess.Popen(on_processor(command), stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                        stderr=subprocess.DEVNULL)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.process.stdin.close()
        self.process.wait()

    def round(self):
        self.process.stdin.write(b"\n")
        self.process.stdin.flush()
        return [float(number) for number in self.process.stdout.readline().split()]

    def processor_time_of_round(self):
        before = self.processor_time()
        self.round()
        return self.processor_time() - before

    def processor_time(self):
        return processor_time(self.process.pid)


def reading():
    """Against the peers, with the product's own reader under Wine and one megabyte."""
    file = WORK / "workload.properties"
    file.write_bytes(subprocess.run([NATIVE / "bench_workload", "1000000"], stdout=subprocess.PIPE,
                                    check=True).stdout)
    subprocess.run(["javac", "-d", WORK, ROOT / "bench/peers/JavaProperties.java"], check=True)
    commands = {
        "own": own_reader(file),
        "java.util.Properties": ["java", "-Xshare:auto", "-cp", WORK, "JavaProperties", file],
        "Boost.PropertyTree": [NATIVE / "bench_boost_ptree", file],
        "Poco": [NATIVE / "bench_poco_properties", file],
    }
    size = file.stat().st_size
    check_entries(commands)
    warm = warm_readings(commands)
    add_row("reading 1 MB, megabytes in a second of the processor",
            f"{size * 1000 / statistics.median(each['own'] for each in warm):.0f}")
    add_row("memory for each byte read", f"{memory_for_each_byte(file):.2f}")
    for line in (40, 20):
        short = WORK / f"lines{line}.properties"
        short.write_text("".join(f"s{number:07}=".ljust(line - 1, "v") + "\n" for number in range(1_000_000 // line)))
        add_row(f"the same, lines of {line} characters", f"{memory_for_each_byte(short):.2f}")
    first = [first_readings(commands) for _ in range(max(5, options.rounds // 5))]
    for name in list(commands)[1:]:
        add_row(f"reading speed against {name}, warm", spread(each[name] / each["own"] for each in warm))
        add_row("the same, best of each",
                f"{min(each[name] for each in warm) / min(each['own'] for each in warm):.2f}")
        add_row(f"the first reading of a process, against {name}",
                spread(each[name] / each["own"] for each in first))


def own_reader(file):
    return wine(WINDOWS / "bench/bench_read_properties.exe", "Z:" + str(file))


def memory_for_each_byte(file):
    with Peer(own_reader(file)) as own:
        return own.round()[1] / file.stat().st_size


def check_entries(commands):
    """The keys of the file differ, so that both kinds of list have as many."""
    entries = {}
    for name in ("own", "java.util.Properties"):
        with Peer(commands[name]) as peer:
            entries[name] = peer.round()[2]
    if len(set(entries.values())) != 1:
        sys.exit(f"the readers found different numbers of entries: {entries}")


def warm_readings(commands):
    """The processor time of each round, by name, after 200 rounds for Java's compiler."""
    with contextlib.ExitStack() as stack:
        peers = {name: stack.enter_context(Peer(command)) for name, command in commands.items()}
        for _ in range(200):
            for peer in peers.values():
                peer.round()
        return [{name: peer.processor_time_of_round() for name, peer in peers.items()}
                for _ in range(options.rounds)]


def first_readings(commands):
    """The time that each program measures for its first reading, whose processes are started for it."""
    times = {}
    for name, command in commands.items():
        with Peer(command) as peer:
            times[name] = peer.round()[0]
    return times


def exponent(first, last):
    """Of the growth from one point to another."""
    return math.log(last[1] / first[1]) / math.log(last[0] / first[0])


def exponents(points):
    steepest = max(itertools.pairwise(points), key=lambda pair: exponent(*pair))
    return (f"exponent {exponent(points[0], points[-1]):.2f}, at most {exponent(*steepest):.2f}"
            f" (from {steepest[0][0]} to {steepest[1][0]})")


GROWTH = {
    "readProperties": ("Reading a property file", "bytes"),
    "lookUpProperty": ("One lookup", "properties"),
    "substituteProperties": ("Substituting the values of a list", "properties with a token, and as many without"),
    "substituteTokens": ("Substituting one value", "tokens"),
    "formatText": ("Formatting a line", "characters"),
    "logLine": ("Writing a line to the log", "characters"),
    "convertPath": ("Converting a path", "components"),
    "assembleCommand": ("Writing the command", "arguments"),
    "writeBootClassPath": ("Writing the boot class path", "jars"),
    "writeExtensionJars": ("Listing the extension jars", "jars, of which the launcher takes 100"),
    "removeFiles": ("Removing a directory tree", "files"),
}


def plot(name, title, label, points, unit="microseconds of the processor"):
    data = WORK / f"{name}.dat"
    data.write_text("".join(f"{x} {y}\n" for x, y in points))
    ticks = "set format '10^{%L}'"
    if points[-1][0] < 100 * points[0][0]:
        ticks = f"set xtics ({', '.join(str(x) for x, _ in points)})"
    script = f"""set terminal svg size 480,320 font 'sans,11'
set output '{PLOTS / (name + ".svg")}'
set title "{title}\\n{{/*0.85 {exponents(points)}}}"
set xlabel '{label}'
set ylabel '{unit}'
set logscale xy
{ticks}
set xrange [{0.9 * points[0][0]}:{1.1 * points[-1][0]}]
set grid
unset key
plot '{data.name}' with linespoints lw 2 pt 7
"""
    subprocess.run(["gnuplot"], input=script.encode(), cwd=WORK, check=True)


def growth():
    result = json.loads(output([NATIVE / "bench_growth", "--benchmark_format=json", "--benchmark_min_time=0.1"]))
    series = {}
    for each in result["benchmarks"]:
        name, size = each["name"].split("/")[:2]
        factor = {"ns": 1e-3, "us": 1, "ms": 1e3}[each["time_unit"]]
        series.setdefault(name, []).append((int(size), each["cpu_time"] * factor))
    PLOTS.mkdir(exist_ok=True)
    for name, (title, label) in GROWTH.items():
        points = series[name]
        plot(name, title, label, points)
        add_row(f"growth, {title.lower()}, {points[0][0]} to {points[-1][0]} {label.split(',')[0]}",
                exponents(points))


def lay_out(platform):
    output(wine("cmd", "/c", "ver"))
    shutil.rmtree(INSTALL, ignore_errors=True)
    shutil.rmtree(DRIVE / "ws", ignore_errors=True)
    INSTALL.parent.mkdir(parents=True, exist_ok=True)
    shutil.copytree(ROOT / "examples/install", INSTALL)
    executable = INSTALL / "zel/eclipse/plugins/base_1.0/win32/x86_64/eclipse.exe"
    executable.parent.mkdir(parents=True, exist_ok=True)
    shutil.copy(platform, executable)
    (INSTALL / "jvm/bin").mkdir(parents=True)
    for name in ("java.exe", "javaw.exe"):
        (INSTALL / "jvm/bin" / name).touch()
    shutil.copy(WINDOWS / "zellauncher.exe", INSTALL / "zel")
    return executable


def starts():
    """From process start to the child, against a program that only starts it."""
    child = WINDOWS / "bench/bench_child.exe"
    lay_out(child)
    measure = WINDOWS / "bench/bench_start_time.exe"
    bare = wine(measure, WINDOWS / "bench/bench_bare_starter.exe", child)
    own = wine(measure, LAUNCHER, "-data", r"C:\ws")
    if options.other:
        shutil.copy(options.other, INSTALL / "zel/other.exe")
    for _ in range(3):
        output(own)
    rounds = []
    for _ in range(options.rounds):
        times = {"bare": float(output(bare)), "own": float(output(own))}
        if options.other:
            times["other"] = float(output(wine(measure, LAUNCHER.replace("zellauncher.exe", "other.exe"),
                                               "-data", r"C:\ws")))
        rounds.append(times)
    add_row("from process start to the child, against a bare starter",
            spread(each["own"] / each["bare"] for each in rounds))
    add_row("the same, milliseconds more", f"{statistics.median((e['own'] - e['bare']) / 1e6 for e in rounds):.1f}")
    if options.other:
        add_row("against the other launcher", spread(each["own"] / each["other"] for each in rounds))


def queue():
    """Launchers that are started at once while a platform runs."""
    executable = lay_out(WINDOWS / "standin.exe")
    (executable.parent / "standin.script").write_text("live 120000\n")
    at_once = WINDOWS / "bench/bench_at_once.exe"
    points = []
    for count in (10, 20, 50):
        output(wine(at_once, 1, "in-turn", LAUNCHER, "-data", r"C:\ws"))  # starts the platform if none runs
        ratios = []
        seconds = []
        for _ in range(max(1, options.rounds // 10)):
            in_turn = output(wine(at_once, count, "in-turn", LAUNCHER, "-data", r"C:\ws")).split()
            together = output(wine(at_once, count, "together", LAUNCHER, "-data", r"C:\ws")).split()
            if in_turn[2] != "0" or together[2] != "0":
                sys.exit("a launcher failed")
            ratios.append(float(together[0]) / float(in_turn[0]))
            seconds.append(float(together[0]))
        points.append((count, statistics.median(seconds)))
        add_row(f"{count} launchers at once, against one after the other", spread(ratios))
    PLOTS.mkdir(exist_ok=True)
    plot("launchersAtOnce", "Launchers at once on one platform", "launchers", points, "seconds until the last one")
    (DRIVE / "ws/standin.stop").touch()


def fill(directory, files):
    for number in range(files):
        if number % 100 == 0:
            part = directory / str(number // 100)
            part.mkdir(parents=True)
        (part / f"file{number}").touch()


def removal():
    output(wine("cmd", "/c", "ver"))
    tree = DRIVE / "tree"
    shutil.rmtree(tree, ignore_errors=True)
    removers = ["bench_bare_remover", "bench_remove_tree"]
    for files in options.files:
        ratios = []
        for _ in range(options.removals):
            times = {}
            removers.reverse()  # each is first in every other round
            for name in removers:
                fill(tree, files)
                times[name] = float(output(wine(WINDOWS / f"bench/{name}.exe", r"C:\tree")))
            ratios.append(times["bench_remove_tree"] / times["bench_bare_remover"])
        add_row(f"removal of {files} files, against a bare remover", spread(ratios))


def platform():
    """Whose share of the time until the real platform is up is how large, at later starts of a user."""
    real = WINDOWS / "real-platform"
    if not (real / "made").exists():
        print("  left out, because cmake/real-platform.sh has not made the platform")
        return
    lay_out(real / "install/zel/eclipse/plugins/base_1.0/win32/x86_64/eclipse.exe")
    for part, place in (("install", INSTALL), ("jvm", INSTALL / "jvm")):
        shutil.copytree(real / part, place, dirs_exist_ok=True)
    with open(INSTALL / "zel/deploy/jvm.properties", "a") as file:
        file.write("-Dcom.example.platform.idleSeconds=120\n")  # a platform that is left over ends
    start = wine(WINDOWS / "bench/bench_platform_time.exe", r"C:\ws", LAUNCHER)
    idle = wine(WINDOWS / "bench/bench_run_time.exe", r"C:\Apps\framework\Client\jvm\bin\java.exe", "-version")
    output(start)  # the user's first start
    shares = {}
    seconds = []
    for _ in range(max(3, options.rounds // 5)):
        created, jvm_created, up = map(float, output(start).split())
        jvm = float(output(idle)) / 1e6
        parts = {"launcher": created, "native platform launcher": jvm_created - created, "JVM": jvm,
                 "framework and platform": up - jvm_created - jvm}
        for name, part in parts.items():
            shares.setdefault(name, []).append(100 * part / up)
        seconds.append(up / 1000)
    for name, values in shares.items():
        add_row(f"until the real platform is up, share of the {name}, per cent", spread(values))
    add_row("until the real platform is up, seconds", spread(seconds))


def wine_server():
    """The process id of the Wine server that serves the programs of this script."""
    prefix = (ROOT / "build" / PREFIX).stat()
    directory = f"server-{prefix.st_dev:x}-{prefix.st_ino:x}"
    for process in Path("/proc").glob("[0-9]*"):
        with contextlib.suppress(OSError):  # of processes that have ended
            if (process / "comm").read_text().startswith("wineserver") and \
                    (process / "cwd").readlink().name == directory:
                return process.name
    sys.exit("there is no Wine server")


def waiting_shares(launcher):
    """Per cent of ten seconds that the launcher uses the processor, without and with the Wine server."""
    server = wine_server()
    before = time.monotonic_ns(), processor_time(launcher), processor_time(server)
    time.sleep(10)
    elapsed, own, server_time = (after - former for after, former in zip(
        (time.monotonic_ns(), processor_time(launcher), processor_time(server)), before))
    return 100 * own / elapsed, 100 * (own + server_time) / elapsed


def waiting():
    """A launcher that finds the lock taken."""
    lay_out(WINDOWS / "bench/bench_child.exe")
    (DRIVE / "ws").mkdir()
    shares = []
    for _ in range(max(3, options.rounds // 10)):
        with Peer(wine(WINDOWS / "bench/bench_hold_lock.exe", r"C:\ws")) as holder:
            if not holder.round():
                sys.exit("the lock is not held")
            with Peer(wine(LAUNCHER, "-data", r"C:\ws")) as launcher:
                time.sleep(2)  # until it is at the lock
                shares.append(waiting_shares(launcher.process.pid))
                launcher.process.kill()
        if (DRIVE / "ws/.zel.main").exists():
            sys.exit("the launcher did not wait")
    add_row("processor time of a launcher that waits, per cent", spread(own for own, _ in shares))
    add_row("the same, with the Wine server's time for its attempts", spread(both for _, both in shares))


def size():
    for name in ("zellauncher.exe", "zellauncherw.exe"):
        add_row(f"size of {name}, bytes", (WINDOWS / name).stat().st_size)


PARTS = {each.__name__: each for each in (reading, growth, starts, platform, queue, waiting, removal, size)}


def main():
    os.environ["ZELLAUNCHER_WINE_PREFIX"] = PREFIX
    WORK.mkdir(parents=True, exist_ok=True)
    for name in options.parts or PARTS:
        print(f"{name}:", flush=True)
        PARTS[name]()
    print("\n| Measured | Value |\n| --- | --- |")
    for what, value in rows:
        print(f"| {what} | {value} |")


def positive(text):
    number = int(text)
    if number < 1:
        raise ValueError
    return number


positive.__name__ = "positive number"  # in the message about a wrong one
parser = argparse.ArgumentParser(prog="./bench.sh", description=__doc__,
                                 formatter_class=argparse.RawDescriptionHelpFormatter)
parser.add_argument("parts", nargs="*", metavar="part", help=f"{', '.join(PARTS)}; without one, all of them")
parser.add_argument("--rounds", type=positive, default=50, help="of each comparison (default: 50)")
parser.add_argument("--processor", type=int, default=0, help="that the programs run on (default: 0)")
parser.add_argument("--other", type=Path, help="another launcher, whose start is measured beside")
parser.add_argument("--files", type=positive, action="append", help="in a removed tree (default: 10000 and 100000)")
parser.add_argument("--removals", type=positive, default=4, help="rounds of each removal, an even number (default: 4)")
parser.add_argument("--check", action="store_true", help="only check these options, and print the parts")
options = parser.parse_args()
options.files = options.files or [10_000, 100_000]
if unknown := [part for part in options.parts if part not in PARTS]:
    parser.error(f"there is no part {unknown[0]}; the parts are {', '.join(PARTS)}")
if options.processor not in os.sched_getaffinity(0):
    parser.error(f"there is no processor {options.processor}")
if options.removals % 2 == 1:
    parser.error("the number of removals must be even, so that each remover is first as often")
if options.other and not options.other.is_file():
    parser.error(f"there is no file {options.other}")
if options.check:
    print(*(options.parts or PARTS))
elif __name__ == "__main__":
    main()
