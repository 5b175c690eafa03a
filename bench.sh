#!/usr/bin/env bash
# Builds the benchmarks, runs them and ends with a table; the plots are in docs/performance. The figures of
# docs/performance.md come from it. Close other programs, because they disturb what it measures.
#
#   ./bench.sh                   all parts
#   ./bench.sh reading queue     some of reading, growth, starts, platform, queue, waiting, removal, size
#   ./bench.sh --help            the options
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"
source cmake/setup.sh

ensure_packages python3
if [[ " $* " == *" --help "* || " $* " == *" -h "* ]]; then
    exec python3 bench/run.py --help
fi
parts=$(python3 bench/run.py --check "$@")  # ends the script if an option is wrong
ensure_packages g++ cmake ninja-build googletest libbenchmark-dev libboost-dev libpoco-dev default-jdk-headless \
    gnuplot-nox python3 g++-mingw-w64-x86-64-posix wine64 libcli11-dev nlohmann-json3-dev
mkdir -p build
for preset in native-bench windows; do
    cmake --preset "$preset" >"build/$preset.configure.log"
done
cmake --build --preset native-bench --target benchmarks >build/native-bench.build.log
cmake --build --preset windows --target zellauncher zellauncherw standin benchmarks >build/windows.build.log
if [[ " $parts " == *" platform "* ]]; then
    ./cmake/real-platform.sh || echo "The part platform is left out."
fi
python3 bench/run.py "$@"
