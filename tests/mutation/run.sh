#!/usr/bin/env bash
# Counts how many mutations of the sources the tests notice: src/properties, src/configuration and
# src/javalaunch, by the list in operators.txt.
#
#   tests/mutation/run.sh                      every mutant that is not known yet
#   tests/mutation/run.sh --sample 300         300 of them, drawn by a fixed seed (--seed S for another)
#   tests/mutation/run.sh src/properties/x.cpp only those of this file
#   tests/mutation/run.sh --report             what is known, without running anything
#
# More: --units (without whole starts, which is quicker; what lives is tried again by a run with them),
# --jobs N, --fresh (forget earlier results), --verbose (what killed each). It may be stopped at any moment;
# the next call goes on from there. Status 0: 90 % are killed, and each survivor has its reason in
# equivalents.txt. Headers must not change while it runs.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../.."
source cmake/setup.sh

preset=native-mutation
mkdir -p build
ensure_packages g++ clang lld cmake ninja-build googletest python3
cmake --preset "$preset" >"build/$preset.configure.log" 2>&1 || { cat "build/$preset.configure.log"; exit 1; }
cmake --build --preset "$preset" -j "${MUTATION_JOBS:-2}" --target \
    unit_properties unit_configuration unit_javalaunch scenarios >"build/$preset.build.log" 2>&1 ||
    { cat "build/$preset.build.log"; exit 1; }
PYTHONDONTWRITEBYTECODE=1 exec python3 tests/mutation/run.py "$@"
