#!/usr/bin/env bash
# Builds Tallymo and runs its main job: the background service in the foreground, a line per sample.
# Extra arguments go to `tallymo daemon` (for example --interval 10).
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/deps.sh
export CMAKE_GENERATOR=${CMAKE_GENERATOR:-Ninja} # for new build folders (why: scripts/deps.sh)
cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTALLYMO_TESTS=OFF -DTALLYMO_BENCH=OFF >/dev/null
cmake --build build -j"$(nproc)" --target tallymo
exec build/programs/tallymo/tallymo daemon "$@"
