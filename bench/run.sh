#!/usr/bin/env bash
# Builds the benchmarks in release mode and runs them; prints medians.
#   bench/run.sh                  everything but the service's hour
#   bench/run.sh quick            the in-process benchmarks only (no vnStat comparison)
#   bench/run.sh service [SECS]   the service's memory over an hour (or SECS) of 10-second samples,
#                                 beside vnstatd
#   bench/run.sh allday [SECS]    what a machine pays all day (bench/allday.sh; SECS idle, default 600)
# The whole run prints every row of the README's performance table: the all-day costs, the app's
# animated themes (bench/app.sh) and the commands on five and ten years of records.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/deps.sh vnstat hyperfine time iproute2 util-linux linux-perf nftables
export CMAKE_GENERATOR=${CMAKE_GENERATOR:-Ninja} # for new build folders (why: scripts/deps.sh)
cmake -S . -B build-bench -DCMAKE_BUILD_TYPE=Release -DTALLYMO_TESTS=OFF -DTALLYMO_BENCH=ON >/dev/null
cmake --build build-bench -j"$(nproc)" --target tallymo_bench tallymo_floor tallymo tallymo-widget tallymo-app tallymo-screenshots >/dev/null
echo "== in-process"
build-bench/bench/tallymo_bench
echo "== connection table with 10,000 open TCP sockets"
bench/connections.sh build-bench/bench/tallymo_bench
echo "== UDP flows with 10,000 tracked flows and accounting on"
bench/conntrack.sh build-bench
[ "${1:-}" = quick ] && exit 0
[ "${1:-}" = service ] && exec bench/service.sh build-bench/programs/tallymo/tallymo "${2:-3600}"
bench/allday.sh build-bench "${2:-600}"
[ "${1:-}" = allday ] && exit 0
echo "== the app (bench/app.sh)"
bench/app.sh build-bench

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
# `--version` starts the program and its libraries and does nothing else: the floor under every
# command.
commands=("build-bench/programs/tallymo/tallymo --version"
          "build-bench/programs/tallymo/tallymo status" "build-bench/programs/tallymo/tallymo status --json"
          "build-bench/programs/tallymo/tallymo history cycles --json"
          "build-bench/programs/tallymo-widget/tallymo-widget --format waybar")
[ -d "$vn" ] && commands+=("vnstat --config $work/vnstat.conf -i eth0 --oneline"
                           "vnstat --config $work/vnstat.conf -i eth0 -m")
hyperfine -N --warmup 5 --runs 100 --export-json "$work/times.json" "${commands[@]}" >/dev/null
python3 - "$work/times.json" <<'PY'
import json, sys
for r in json.load(open(sys.argv[1]))["results"]:
    print(f"  {r['median'] * 1000:7.2f} ms median  {r['command'].split('/')[-1]}")
PY
echo "== export of the whole five-year store (61 monthly cycles)"
tallymo=build-bench/programs/tallymo/tallymo
hyperfine -N --warmup 1 --runs 5 --export-json "$work/export.json" "$tallymo export --cycles 61 -o $work/export.json.out" >/dev/null
peak=$(/usr/bin/time -f %M "$tallymo" export --cycles 61 -o "$work/export.json.out" 2>&1 >/dev/null | tail -1)
peak3=$(/usr/bin/time -f %M "$tallymo" export --cycles 3 -o "$work/small.json.out" 2>&1 >/dev/null | tail -1)
python3 - "$work/export.json" "$work/export.json.out" "$peak" "$peak3" <<'PY'
import json, os, sys
median = json.load(open(sys.argv[1]))["results"][0]["median"]
size = os.path.getsize(sys.argv[2]) / 1e6
print(f"  {median * 1000:7.0f} ms median for {size:.1f} MB: {size / median:.0f} MB/s; "
      f"peak memory {int(sys.argv[3]) / 1024:.1f} MB (3 cycles: {int(sys.argv[4]) / 1024:.1f} MB)")
PY
if [ -d "$vn" ]; then
    hyperfine -N --warmup 1 --runs 3 --export-json "$work/vnjson.json" \
        "vnstat --config $work/vnstat.conf -i eth0 --json" >/dev/null
    python3 -c "import json,sys; print(f\"  {json.load(open(sys.argv[1]))['results'][0]['median']*1000:7.0f} ms median  vnstat --json\")" "$work/vnjson.json"
fi

echo "== ten years of 10-second records (31.5 million)"
build-bench/bench/tallymo_bench --make-long-container "$work/long" 10 10
export TALLYMO_CONTAINER="$work/long"
hyperfine -N --warmup 3 --runs 30 --export-json "$work/long.json" \
    "build-bench/programs/tallymo/tallymo status --json" \
    "build-bench/programs/tallymo/tallymo history cycles --json" \
    "build-bench/programs/tallymo-widget/tallymo-widget --format waybar" \
    "build-bench/programs/tallymo/tallymo history days --json" >/dev/null
python3 - "$work/long.json" <<'PY'
import json, sys
for r in json.load(open(sys.argv[1]))["results"]:
    print(f"  {r['median'] * 1000:7.2f} ms median  {r['command'].split('/')[-1]}")
PY
hyperfine -N --warmup 1 --runs 3 --export-json "$work/longexport.json" \
    "$tallymo export --cycles 3 -o $work/long3.json.out" >/dev/null
peak=$(/usr/bin/time -f %M "$tallymo" export --cycles 3 -o "$work/long3.json.out" 2>&1 >/dev/null | tail -1)
python3 - "$work/longexport.json" "$work/long3.json.out" "$peak" <<'PY'
import json, os, sys
median = json.load(open(sys.argv[1]))["results"][0]["median"]
size = os.path.getsize(sys.argv[2]) / 1e6
print(f"  {median * 1000:7.0f} ms median to export 3 cycles ({size:.1f} MB): {size / median:.0f} MB/s; "
      f"peak memory {int(sys.argv[3]) / 1024:.1f} MB")
PY
