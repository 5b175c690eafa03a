"""Compares the JSON of zelexplain.exe under Wine with that of the Linux build, for the same install.

usage: wine_check.py ZELEXPLAIN ZELEXPLAIN_EXE
"""

import os
import subprocess
import sys
import tempfile

from example_install import ROOT, lay_out

PLACE = "C:\\Program Files\\framework\\Client"
WINE = os.path.join(ROOT, "cmake", "wine-run.sh")

VARIANTS = (
    [],
    ["--", "hello world", "vmarg.Xss=-Xss256k", "-debug"],
    ["--platform", "running", "--", "-open", "C:\\notes.txt"],
    ["--starts", "2"],
    ["--unset", "USERNAME"],
    ["--kiosk", "yes", "--administrator", "yes", "--explorer", "no"],
    ["--user", "J\u00fcrgen", "--env", "GREETING=gr\u00fc\u00df", "--", "\u65e5\u672c"],
    ["--redact", "--user", "ann"],
)


def explained(program, install, variant):
    separator = variant.index("--") if "--" in variant else len(variant)
    command = [*program, "start", install, "--json", "--at", PLACE, *variant[:separator], *variant[separator:]]
    done = subprocess.run(command, capture_output=True, check=False, env={**os.environ, "LC_ALL": "C.UTF-8"})
    return done.returncode, done.stdout


def main():
    native, windows = sys.argv[1:3]
    failures = 0
    with tempfile.TemporaryDirectory() as directory:
        install = lay_out(os.path.join(directory, "install"))
        for variant in VARIANTS:
            here = explained([native], install, variant)
            there = explained([WINE, os.path.abspath(windows)], "Z:" + install.replace("/", "\\"), variant)
            if here[0] != 0 or here != there:
                failures += 1
                print(f"wine: {variant}: the explanations differ: status {here[0]} and {there[0]}")
                for ours, theirs in zip(here[1].splitlines(), there[1].splitlines()):
                    if ours != theirs:
                        print(f"    {ours.decode()}\n    {theirs.decode(errors='replace')}")
                        break
    print(f"{len(VARIANTS)} starts under Wine, {failures} differ")
    sys.exit(1 if failures else 0)


main()
