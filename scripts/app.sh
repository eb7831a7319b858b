#!/usr/bin/env bash
# Builds Tallymo and opens the app. Arguments go to tallymo-app (for example --action history).
#   TALLYMO_CONTAINER=/tmp/tallymo-demo scripts/app.sh      the app on another data container
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/deps.sh
export CMAKE_GENERATOR=${CMAKE_GENERATOR:-Ninja} # for new build folders (why: scripts/deps.sh)
cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTALLYMO_TESTS=OFF -DTALLYMO_BENCH=OFF >/dev/null
cmake --build build -j"$(nproc)" --target tallymo tallymo-app
exec build/programs/tallymo-app/tallymo-app "$@"
