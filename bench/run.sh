#!/usr/bin/env bash
# Builds the benchmarks in release mode and runs them; prints medians.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/deps.sh
cmake -S . -B build-bench -DCMAKE_BUILD_TYPE=Release -DTALLYMO_TESTS=OFF -DTALLYMO_BENCH=ON >/dev/null
cmake --build build-bench -j"$(nproc)" --target tallymo_bench tallymo
build-bench/bench/tallymo_bench
