#!/usr/bin/env bash
# One read of the UDP flows connection tracking keeps, with 10,000 tracked UDP flows and byte
# accounting on, and a whole `tallymo sample` over the same table (the flows read, their totals
# kept for the next sample). Runs in a network namespace of its
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
