"""Times for the benchmarks of zelexplain."""

import subprocess
import time


def best_time(command, runs):
    """The seconds of the fastest run, so that other programs on the machine matter little. Each must succeed."""
    times = []
    for _ in range(runs):
        begin = time.perf_counter()
        subprocess.run(command, stdout=subprocess.DEVNULL, check=True)
        times.append(time.perf_counter() - begin)
    return min(times)
