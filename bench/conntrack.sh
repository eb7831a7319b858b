#!/usr/bin/env bash
# One read of the UDP flows connection tracking keeps, with 10,000 tracked UDP flows and byte
# accounting on, and a whole `tallymo sample` over the same table (the flows read, their totals
# kept for the next sample), and the service's CPU per check over it. Runs in a network namespace of its
# own: a ruleset that tracks connections, accounting switched on before the flows start, and the
# flows sent from one socket to 10,000 ports of 198.18.99.1 (a peer the filters count), a local
# address whose datagrams the ruleset drops on arrival.
set -euo pipefail
bench=$1/bench/tallymo_bench tallymo=$1/programs/tallymo/tallymo flows=${2:-10000}
inner() {
    set -euo pipefail
    ip link set lo up
    ip addr add 198.18.99.1/32 dev lo
    nft -f - <<'NFT'
table inet bench {
    chain out { type filter hook output priority 0; ct state new counter; }
    chain in { type filter hook input priority 0; ip daddr 198.18.99.1 udp dport >= 1024 drop; }
}
NFT
    sysctl -qw net.netfilter.nf_conntrack_acct=1 net.netfilter.nf_conntrack_udp_timeout=600
    python3 - "$flows" <<'PY'
import socket, sys
s = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
for port in range(1024, 1024 + int(sys.argv[1])):
    s.sendto(b"x" * 100, ("198.18.99.1", port))
PY
    echo "  $(cat /proc/sys/net/netfilter/nf_conntrack_count) tracked flows, $(cat /proc/sys/net/netfilter/nf_conntrack_buckets) buckets"
    "$bench" --conntrack 30
    export TALLYMO_CONTAINER=$work/container XDG_RUNTIME_DIR=$work/run DBUS_SESSION_BUS_ADDRESS=unix:path=/nonexistent
    mkdir -m 700 "$work/run"
    "$tallymo" setup --bill-day 1 --cap 10GB --used 0 >/dev/null
    "$tallymo" sample >/dev/null
    hyperfine -N --warmup 3 --runs 20 --export-json "$json" "$bench --conntrack 1" "$tallymo sample" "$tallymo --version" >/dev/null
    # The service over the same table: CPU of every thread per check at a 1-second interval.
    "$tallymo" daemon --interval 1 >"$work/daemon.log" 2>&1 &
    local daemon=$! t0 t1 c0 c1
    sleep 5
    t0=$(awk '{n += $1} END{printf "%.0f", n}' /proc/$daemon/task/*/schedstat) c0=$(grep -c '  fetch: ' "$work/daemon.log" || true)
    sleep 20
    t1=$(awk '{n += $1} END{printf "%.0f", n}' /proc/$daemon/task/*/schedstat) c1=$(grep -c '  fetch: ' "$work/daemon.log" || true)
    kill $daemon && wait $daemon || true
    awk -v a="$t0" -v b="$t1" -v n=$((c1 - c0)) \
        'BEGIN{printf "  %7.2f ms per check of the service at a 1-second interval (%d checks)\n", (b - a) / 1e6 / n, n}' >"$work/service"
}
export -f inner
export bench tallymo flows json work
work=$(mktemp -d) json=$(mktemp)
trap 'rm -rf "$json" "$work"' EXIT
if ! unshare -n true 2>/dev/null || ! command -v nft >/dev/null; then
    echo "  (no network namespace or no nft here: skipped)"
    exit 0
fi
if ! unshare -n bash -c inner; then
    echo "  (connection tracking could not be set up in a namespace here: skipped)"
    exit 0
fi
python3 - "$json" <<'PY'
import json, sys
for r in json.load(open(sys.argv[1]))["results"]:
    print(f"  {r['median'] * 1000:7.2f} ms median  {r['command'].split('/')[-1]} (whole process)")
PY
cat "$work/service"
