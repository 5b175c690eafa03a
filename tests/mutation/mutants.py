"""Makes the mutants of a source file from the list of mutations in operators.txt."""

import collections
import dataclasses
import hashlib
import re
from pathlib import Path

LITERAL_MARK = "\x01"
BALANCED = r"\((?:[^()]|\((?:[^()]|\((?:[^()]|\([^()]*\))*\))*\))*\)"
PARENS = r"\(((?:[^()]|" + BALANCED + r")*)\)"
TOKENS = re.compile(
    r"//[^\n]*|/\*.*?\*/|^[ \t]*#[^\n]*|\"(?:\\.|[^\"\\\n])*\"|'(?:\\.|[^'\\\n])*'", re.MULTILINE | re.DOTALL
)

# What records a start on the simulated machine: code for that machine only, and calls of foundation/explanation.h
# and properties/lookup_explanation.h. The product has none of it, so it is not mutated; tests/explain tests it.
SIMULATION_ONLY = re.compile(r"^#ifdef ZELLAUNCHER_SIMULATION\n(.*?)^#endif", re.MULTILINE | re.DOTALL)
RECORDER_CALLS = re.compile(
    r"\b(?:explain[A-Z]\w*|takeSource\w*|\w+\.made)\([^;]*;|\b(?:const )?Decision \w+\([^;]*;"
)


@dataclasses.dataclass(frozen=True)
class Operator:
    name: str
    pattern: re.Pattern
    replacement: str


@dataclasses.dataclass(frozen=True)
class Mutant:
    file: str  # below the repository
    operator: str
    line: int
    before: str  # the lines that change, on one line
    after: str
    text: str  # the whole mutated file
    number: int = 0  # its place among the same changes in the file, from 1; 0 if it is the only one

    @property
    def change(self):
        return f"{self.before} => {self.after}" + (f" #{self.number}" if self.number else "")

    @property
    def key(self):
        return hashlib.sha1(f"{self.file}\n{self.text}".encode()).hexdigest()


def read_operators(path):
    operators = []
    for line in Path(path).read_text().splitlines():
        if not line.strip() or line.startswith("#"):
            continue
        name, pattern, replacement = (field.strip() for field in (line + " ").split("~> ", 2))
        pattern = pattern.replace("{parens}", PARENS).replace("{marks}", LITERAL_MARK + "+")
        operators.append(Operator(name, re.compile(pattern), replacement))
    return operators


def masked(text):
    """The text at the same length, with blanks for comments, preprocessor lines and the recorder, and marks in
    literals."""

    def mask(match):
        token = match.group(0)
        if token[0] in "\"'":
            return token[0] + LITERAL_MARK * (len(token) - 2) + token[-1]
        return blanked(match)

    def blanked(match):
        return re.sub(r"[^\n]", " ", match.group(0))

    return RECORDER_CALLS.sub(blanked, TOKENS.sub(mask, SIMULATION_ONLY.sub(blanked, text)))


def expand(operator, match, text):
    """The replacement with its groups replaced by their original text."""

    def group(reference):
        start, end = match.span(int(reference.group(1)))
        return text[start:end]

    return re.sub(r"\\(\d)", group, operator.replacement)


def on_one_line(text, start, end):
    """The whole lines from start to end, without indentation and line ends."""
    begin = text.rfind("\n", 0, start) + 1
    finish = text.find("\n", end)
    return " ".join(text[begin : finish if finish >= 0 else len(text)].split())


def mutants_of(file, operators):
    mutants = list(changes_of(file, operators))
    alike = collections.defaultdict(list)
    for mutant in sorted(mutants, key=lambda mutant: mutant.line):
        alike[mutant.before, mutant.after].append(mutant.key)
    for mutant in mutants:
        keys = alike[mutant.before, mutant.after]
        yield mutant if len(keys) == 1 else dataclasses.replace(mutant, number=keys.index(mutant.key) + 1)


def changes_of(file, operators):
    text = Path(file).read_text()
    mask = masked(text)
    seen = set()
    for operator in operators:
        position = 0
        while (match := operator.pattern.search(mask, position)) is not None:
            position = match.start() + 1
            start, end = match.span()
            replacement = expand(operator, match, text)
            # What the pattern matches before the changed text is not part of the change.
            while start < end and replacement and text[start] == replacement[0]:
                start, replacement = start + 1, replacement[1:]
            mutated = text[:start] + replacement + text[end:]
            if mutated == text or mutated in seen:
                continue
            seen.add(mutated)
            yield Mutant(
                file=file,
                operator=operator.name,
                line=text.count("\n", 0, start) + 1,
                before=on_one_line(text, start, end),
                after=on_one_line(mutated, start, start + len(replacement)),
                text=mutated,
            )
