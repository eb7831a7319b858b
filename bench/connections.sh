#!/usr/bin/env bash
# One connection-table read with 10,000 open TCP sockets, beside `ss -tin` on the same sockets.
# Runs in a network namespace of its own where 198.18.99.1 (a peer the filters count) is local.
set -euo pipefail
bench=$1
inner() {
    ip link set lo up
    ip addr add 198.18.99.1/32 dev lo
    exec 3> >(python3 bench/sockets.py 198.18.99.1 10000 > "$ready")
    for _ in $(seq 200); do grep -q ready "$ready" 2>/dev/null && break; sleep 0.1; done
    "$bench" --connections 100
    hyperfine -N --warmup 3 --runs 30 --export-json "$json" "$bench --connections 1" "ss -tin" >/dev/null
    exec 3>&-
}
export -f inner
export bench ready json
ready=$(mktemp) json=$(mktemp)
if unshare -n true 2>/dev/null; then
    unshare -n bash -c inner
else
    echo "  (no network namespace here: skipped)"
    exit 0
fi
python3 - "$json" <<'PY'
import json, sys
for r in json.load(open(sys.argv[1]))["results"]:
    print(f"  {r['median'] * 1000:7.2f} ms median  {r['command'].split('/')[-1]} (whole process)")
PY
rm -f "$ready" "$json"
