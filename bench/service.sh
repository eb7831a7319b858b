#!/usr/bin/env bash
# The background service's memory over a run of 10-second samples, beside vnstatd on the same
# machine: resident, proportional and private memory from /proc/PID/smaps_rollup, at the start
# and at the end.
#   bench/service.sh TALLYMO [SECONDS]   (default 3600)
set -euo pipefail
tallymo=$(realpath "$1")
seconds=${2:-3600}
work=$(mktemp -d)
trap 'kill $(jobs -p) 2>/dev/null || true; wait 2>/dev/null || true; rm -rf "$work"' EXIT
export TALLYMO_CONTAINER="$work/container" XDG_RUNTIME_DIR="$work/run" DBUS_SESSION_BUS_ADDRESS=unix:path=/nonexistent
mkdir -m 700 "$work/run"
"$tallymo" setup --bill-day 1 --cap 10GB --used 0 >/dev/null
"$tallymo" daemon --interval 10 >"$work/daemon.log" 2>&1 &
daemon=$!
vnpid=
if command -v vnstatd >/dev/null; then
    interface=$(ip -o route get 1.1.1.1 2>/dev/null | sed -n 's/.* dev \([^ ]*\).*/\1/p')
    mkdir -p "$work/vnstat/db"
    cat >"$work/vnstat.conf" <<CONF
DatabaseDir "$work/vnstat/db"
Interface "${interface:-lo}"
UseLogging 0
UpdateInterval 10
SaveInterval 1
AlwaysAddNewInterfaces 1
CONF
    vnstatd --config "$work/vnstat.conf" --nodaemon >/dev/null 2>&1 &
    vnpid=$!
fi
memory() { # kB: Rss Pss Private (clean + dirty) Private_Dirty
    awk '/^Rss:/{r=$2} /^Pss:/{p=$2} /^Private_Clean:/{c=$2} /^Private_Dirty:/{d=$2}
         END{printf "%d %d %d %d", r, p, c + d, d}' "/proc/$1/smaps_rollup"
}
# "private" counts library pages no other process maps (Private_Clean) as well; "dirty" is the
# memory the process itself wrote (heap, stacks, relocations).
report() {
    memory "$2" | awk -v who="$1" -v when="$3" \
        '{printf "  %-9s %-16s resident %5.1f MB  proportional %5.1f MB  private %5.1f MB  dirty %5.1f MB\n",
          who, when, $1/1024, $2/1024, $3/1024, $4/1024}'
}
sleep 30
echo "== the service's memory, $seconds s of 10-second samples"
report tallymo "$daemon" "after 30 s"
[ -n "$vnpid" ] && report vnstatd "$vnpid" "after 30 s"
sleep $((seconds > 30 ? seconds - 30 : 0))
report tallymo "$daemon" "after $seconds s"
[ -n "$vnpid" ] && report vnstatd "$vnpid" "after $seconds s"
echo "  samples taken: $(grep -c '  fetch: ' "$work/daemon.log" || true)"
