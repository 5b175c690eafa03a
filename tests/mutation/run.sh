#!/usr/bin/env bash
# Applies the mutations of operators.txt to every subsystem of src, one at a time, and counts those that the
# native tests notice.
#
#   tests/mutation/run.sh                      every mutant without a valid result
#   tests/mutation/run.sh --sample 50          50 of each subsystem, drawn with a fixed seed (--seed S for another)
#   tests/mutation/run.sh src/properties/x.cpp only those of this file
#   tests/mutation/run.sh --report             prints the known results without running anything
#
# Further options: --units (only unit tests, which is faster; a later run without it lets the survivors without a
# reason run the rest), --jobs N, --fresh (forget earlier results), --verbose (what killed each mutant). A run may be
# stopped at any time; the next one continues it. Headers must not change during a run. The status is 0 if every
# mutant was run, 95 % of each subsystem are killed, each survivor has its reason in equivalents.txt, and each
# entry there matches a survivor.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../.."
source cmake/setup.sh

preset=native-mutation
mkdir -p build
ensure_packages g++ clang lld cmake ninja-build googletest python3
cmake --preset "$preset" >"build/$preset.configure.log" 2>&1 || { cat "build/$preset.configure.log"; exit 1; }
cmake --build --preset "$preset" -j "${MUTATION_JOBS:-2}" --target \
    unit_{cache,configuration,desktop,foundation,instance,javalaunch,kiosk,launch,properties,provisioning} \
    scenarios faults stops >"build/$preset.build.log" 2>&1 ||
    { cat "build/$preset.build.log"; exit 1; }
PYTHONDONTWRITEBYTECODE=1 exec python3 tests/mutation/run.py "$@"
