"""Measures zelexplain log: 10,000 logs of mixed kinds, as a table and as JSON.

usage: log_benchmark.py ZELEXPLAIN

Fails if a measurement exceeds its bound.
"""

import os
import sys
import tempfile

from timing import best_time

RUNS = 3
LOGS = 10_000
BOUND_SECONDS = 5.0

BEGINNING = (
    'ZLNCH0030I: zellauncher wmain arguments="C:\\Apps\\framework\\Client\\zel\\zellauncher.exe, \r\n'
    "ZLNCH0303I: lock file captured @ 20260131_235900_000\r\n"
    "ZLNCH0090E: Existing platform lock file found - checking validity.\r\n"
)
RELEASED = "ZLNCH0306I: lock file released @ 20260131_235901_000\r\n"
COMMAND = "ZLNCH0072I: Command = '\"C:/Apps/eclipse.exe\" " + " ".join(
    f'-Dname{i}="{"v" * 60}"' for i in range(40)) + "'\r\n"
DEBUG = "".join(f'ZLNCH0032I: Prop Line = "key{i}=value"\r\nZLNCH0023I:   attrib = "key{i}"\r\n'
                f'ZLNCH0024I:   value  = "value"\r\n' for i in range(60))
KINDS = [
    BEGINNING + "ZLNCH0304I: We are main process\r\n\r\n" + COMMAND + RELEASED,
    BEGINNING + "ZLNCH0304I: We are main process\r\n\r\n" + DEBUG + COMMAND + RELEASED,
    BEGINNING + "ZLNCH0305I: We are daemon process\r\n" + RELEASED,
    BEGINNING + "ZLNCH0007E: C:/Apps/eclipse.exe is not executable or does not exist.\r\n",
    BEGINNING + "ZLNCH0304I: We are ma",
    "Started Sat Jan 31 23:59:00 2026\r\n",
]


def lay_out(directory):
    for i in range(LOGS):
        with open(os.path.join(directory, f"pc{i:05}.log"), "w", newline="", encoding="ascii") as log:
            log.write(KINDS[i % len(KINDS)])


def main():
    zelexplain = sys.argv[1]
    with tempfile.TemporaryDirectory() as directory:
        lay_out(directory)
        results = [("as a table", best_time([zelexplain, "log", directory], RUNS)),
                   ("as JSON", best_time([zelexplain, "log", directory, "--json"], RUNS))]
    for name, seconds in results:
        print(f"{LOGS} logs {name}: {seconds:.2f} s (bound {BOUND_SECONDS:.0f} s)")
    return 1 if any(seconds > BOUND_SECONDS for _, seconds in results) else 0


if __name__ == "__main__":
    sys.exit(main())
