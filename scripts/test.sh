#!/usr/bin/env bash
# Builds Tallymo with its tests and runs every one of them under CTest.
# TALLYMO_SANITIZE=1 builds with the address and undefined-behaviour sanitizers instead.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/deps.sh
export CMAKE_GENERATOR=${CMAKE_GENERATOR:-Ninja} # for new build folders (why: scripts/deps.sh)
dir=build-test
flags=(-DCMAKE_BUILD_TYPE=Debug -DTALLYMO_BENCH=OFF)
if [ "${TALLYMO_SANITIZE:-0}" = 1 ]; then
    dir=build-asan
    flags+=(-DTALLYMO_SANITIZE=ON)
    export ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
    export LSAN_OPTIONS=suppressions=$PWD/tests/lsan.supp:print_suppressions=0
fi
cmake -S . -B "$dir" "${flags[@]}" >/dev/null
cmake --build "$dir" -j"$(nproc)"
cd "$dir"
ctest --output-on-failure -j2 --timeout 600
