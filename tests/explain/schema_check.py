"""Validates what `zelexplain start --json` prints against docs/explain.schema.json.

usage: schema_check.py ZELEXPLAIN DIRECTORY

The native tests leave the JSON of every start that they explained in DIRECTORY.
"""

import copy
import json
import os
import subprocess
import sys
import tempfile

import jsonschema

from example_install import ROOT, lay_out, make_mistakes

FEWEST_STARTS = 100  # of the native tests

VARIANTS = (
    [],
    ["--starts", "2"],
    ["--platform", "running"],
    ["--platform", "hangs"],
    ["--unset", "USERNAME"],
    ["--at", "C:\\Elsewhere\\Client"],
    ["--redact", "--user", "ann"],
)


def explained(zelexplain, directory):
    install = lay_out(os.path.join(directory, "install"))
    for options in VARIANTS:
        done = subprocess.run([zelexplain, "start", install, "--json", *options], capture_output=True, check=True)
        yield " ".join(options) or "example install", json.loads(done.stdout)
    make_mistakes(install)
    done = subprocess.run([zelexplain, "start", install, "--json"], capture_output=True, check=True)
    yield "mistaken install", json.loads(done.stdout)


def recorded(directory):
    for name in sorted(os.listdir(directory)):
        with open(os.path.join(directory, name), encoding="utf-8") as file:
            yield name, json.load(file)


def broken(explanation):
    """Changes of an explanation that the schema must refuse."""
    for key in explanation:
        without = copy.deepcopy(explanation)
        del without[key]
        yield "without " + key, without
    for key, value in (("outcome", "ended"), ("status", "0"), ("status", 4294967295), ("unknown", 1),
                       ("log", "text"), ("command", 1)):
        yield f"{key} is {value}", {**explanation, key: value}
    for path, value in ((("decisions", 0, "subject"), "colour"), (("elements", 0, "source", "kind"), "guess"),
                        (("files", 0, "change"), "touched"), (("decisions", 0, "source", "line"), 0),
                        (("findings", 0, "severity"), "fatal"), (("findings", 0, "line"), 0)):
        changed = copy.deepcopy(explanation)
        place = changed
        for step in path[:-1]:
            place = place[step]
        place[path[-1]] = value
        yield f"{path} is {value}", changed


def main():
    zelexplain, tests = sys.argv[1:3]
    with open(os.path.join(ROOT, "docs", "explain.schema.json"), encoding="utf-8") as file:
        schema = json.load(file)
    jsonschema.Draft7Validator.check_schema(schema)
    validator = jsonschema.Draft7Validator(schema)
    failures = []
    count = 0
    with tempfile.TemporaryDirectory() as directory:
        starts = list(explained(zelexplain, directory))
    for name, explanation in starts + list(recorded(tests)):
        count += 1
        for error in validator.iter_errors(explanation):
            failures.append(f"{name}: {list(error.absolute_path)}: {error.message[:200]}")
    if count < FEWEST_STARTS:
        failures.append(f"only {count} starts were explained")
    failures += [f"the schema accepts a start {what}" for what, explanation in broken(starts[-1][1])
                 if validator.is_valid(explanation)]
    for failure in failures:
        print("schema: " + failure)
    print(f"{count} explanations follow the schema" if not failures else f"{len(failures)} failures")
    sys.exit(1 if failures else 0)


main()
