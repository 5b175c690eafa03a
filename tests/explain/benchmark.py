"""Measures zelexplain start: time and memory of a first start, of the example install and of a large one.

usage: benchmark.py ZELEXPLAIN

Fails if a measurement exceeds its bound. Each time is the best of several runs, so that other programs on the
machine count little.
"""

import os
import resource
import subprocess
import sys
import tempfile
import time

from example_install import lay_out

RUNS = 7
DIRECTORIES = 1000
FILES = 100  # in each
MEGABYTE = 1024 * 1024


def measure(zelexplain, install, *options):
    best = None
    for _ in range(RUNS):
        begin = time.perf_counter()
        subprocess.run([zelexplain, "start", install, *options], stdout=subprocess.DEVNULL, check=True)
        seconds = time.perf_counter() - begin
        best = seconds if best is None else min(best, seconds)
    return best


def enlarge(install):
    for directory in range(DIRECTORIES):
        path = os.path.join(install, "zel", "eclipse", "plugins", f"bundle_{directory}")
        os.makedirs(path)
        for file in range(FILES):
            with open(os.path.join(path, f"{file}.class"), "wb"):
                pass
    # Its size is what counts, not its content: a file of five gigabytes with nothing in it.
    with open(os.path.join(install, "zel", "large.bin"), "wb") as large:
        large.truncate(5 * 1024 * MEGABYTE)


def main():
    zelexplain = sys.argv[1]
    with tempfile.TemporaryDirectory() as directory:
        install = lay_out(os.path.join(directory, "install"))
        results = [("the example install", measure(zelexplain, install), 0.050)]
        enlarge(install)
        results.append((f"an install with {DIRECTORIES * FILES} files", measure(zelexplain, install), 1.0))
        results.append(("the same as a page",
                        measure(zelexplain, install, "--html", os.path.join(directory, "page.html")), 1.0))
    memory = resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss * 1024
    is_good = memory < 100 * MEGABYTE
    for what, seconds, bound in results:
        print(f"{seconds * 1000:7.1f} ms  {what} (at most {bound * 1000:.0f} ms)")
        is_good = is_good and seconds < bound
    print(f"{memory / MEGABYTE:7.1f} MB  of memory at most (at most 100 MB)")
    sys.exit(0 if is_good else 1)


main()
