"""Measures zelexplain start: time and memory of a first start, of the example install and of a large one.

usage: benchmark.py ZELEXPLAIN

Fails if a measurement exceeds its bound.
"""

import os
import resource
import sys
import tempfile

from example_install import lay_out
from timing import best_time

RUNS = 7
DIRECTORIES = 1000
FILES = 100  # in each
MEGABYTE = 1024 * 1024


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
        start = [zelexplain, "start", install]
        page = ["--html", os.path.join(directory, "page.html")]
        results = [("the example install", best_time(start, RUNS), 0.050)]
        enlarge(install)
        results.append((f"an install with {DIRECTORIES * FILES} files", best_time(start, RUNS), 1.0))
        results.append(("the same as a page", best_time(start + page, RUNS), 1.0))
    memory = resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss * 1024
    is_good = memory < 100 * MEGABYTE
    for what, seconds, bound in results:
        print(f"{seconds * 1000:7.1f} ms  {what} (at most {bound * 1000:.0f} ms)")
        is_good = is_good and seconds < bound
    print(f"{memory / MEGABYTE:7.1f} MB  of memory at most (at most 100 MB)")
    sys.exit(0 if is_good else 1)


main()
