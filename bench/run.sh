#!/usr/bin/env bash
# Builds the benchmarks in release mode and runs them; prints medians.
#   bench/run.sh          everything
#   bench/run.sh quick    the in-process benchmarks only (no vnStat comparison)
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/deps.sh vnstat hyperfine
cmake -S . -B build-bench -DCMAKE_BUILD_TYPE=Release -DTALLYMO_TESTS=OFF -DTALLYMO_BENCH=ON >/dev/null
cmake --build build-bench -j"$(nproc)" --target tallymo_bench tallymo >/dev/null
echo "== in-process"
build-bench/bench/tallymo_bench
[ "${1:-}" = quick ] && exit 0

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
echo "== whole commands on five years of 5-minute samples (medians of hyperfine runs)"
build-bench/bench/tallymo_bench --make-container "$work/container"
vn=../shared/bench/vnstat
if [ -d "$vn" ]; then
    sed "s|/tmp/vnbench|$work/vnstat|" "$vn/vnstat.conf" > "$work/vnstat.conf"
    mkdir -p "$work/vnstat/db"
    vnstatd --config "$work/vnstat.conf" --initdb >/dev/null
    vnstat --config "$work/vnstat.conf" --add -i eth0 >/dev/null
    vnstat --config "$work/vnstat.conf" --add -i ifb0 >/dev/null
    sqlite3 "$work/vnstat/db/vnstat.db" < "$vn/build_db.sql" >/dev/null
fi
export TALLYMO_CONTAINER="$work/container" TALLYMO_PROC_NET_DEV=/dev/null
commands=("build-bench/programs/tallymo/tallymo status" "build-bench/programs/tallymo/tallymo status --json")
[ -d "$vn" ] && commands+=("vnstat --config $work/vnstat.conf -i eth0 --oneline")
hyperfine -N --warmup 5 --runs 100 --export-json "$work/times.json" "${commands[@]}" >/dev/null
python3 - "$work/times.json" <<'PY'
import json, sys
for r in json.load(open(sys.argv[1]))["results"]:
    print(f"  {r['median'] * 1000:7.2f} ms median  {r['command'].split('/')[-1]}")
PY
