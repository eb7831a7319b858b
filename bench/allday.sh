#!/usr/bin/env bash
# What a laptop, a phone or a router pays all day, beside vnStat where vnStat has a figure:
#   - CPU of one `tallymo sample` beyond `tallymo --version` (perf stat, 60 alternating pairs, median)
#     and the floor under it: the same steps with SQLite, ICU and the kernel alone (tallymo_floor)
#   - CPU per check of the service at a 1-second interval over 30 checks, beside vnstatd
#   - the service's memory (proportional, private clean, private dirty), beside vnstatd
#   - wake-ups of the service between two checks at the 300-second interval (every thread)
#   - CPU per hour of `tallymo-widget --follow` beside a bar polling `vnstat --oneline` every 30 s
#   bench/allday.sh TALLYMO_BUILD [IDLE_SECONDS]   (default 600: ten idle minutes)
set -euo pipefail
build=$(realpath "$1")
idle=${2:-600}
tallymo=$build/programs/tallymo/tallymo
widget=$build/programs/tallymo-widget/tallymo-widget
work=$(mktemp -d)
trap 'kill $(jobs -p) 2>/dev/null || true; wait 2>/dev/null || true; rm -rf "$work"' EXIT
export TALLYMO_CONTAINER="$work/container" XDG_RUNTIME_DIR="$work/run" DBUS_SESSION_BUS_ADDRESS=unix:path=/nonexistent
mkdir -m 700 "$work/run"
"$tallymo" setup --bill-day 1 --cap 10GB --used 0 >/dev/null
"$tallymo" sample >/dev/null
# CPU time of every thread of a process so far, in nanoseconds (schedstat: finer than the clock
# ticks of /proc/PID/stat).
cpu_ns() { cat /proc/"$1"/task/*/schedstat | awk '{n += $1} END{printf "%.0f", n}'; }
wakeups() { cat /proc/"$1"/task/*/status | awk '/^voluntary_ctxt_switches/{n += $2} END{print n}'; }

# The median of the numbers on standard input, one a line.
median() { sort -g | awk '{a[NR] = $1} END{print NR % 2 ? a[(NR + 1) / 2] : (a[NR / 2] + a[NR / 2 + 1]) / 2}'; }

echo "== one sample, CPU beyond \`tallymo --version\` (perf stat, 60 of each, alternating)"
# Alternating pairs, so that a slow minute of the machine weighs on both; the median difference,
# so that a run disturbed by something else does not decide.
task_clock() { perf stat -x, -e task-clock "$@" 2>&1 >/dev/null | awk -F, '/task-clock/{print $1}'; }
pairs=60
for _ in $(seq $pairs); do
    echo "$(task_clock "$tallymo" --version) $(task_clock "$tallymo" sample)"
done >"$work/pairs"
awk '{print $2 - $1}' "$work/pairs" | sort -g >"$work/beyond"
printf "  sample %.2f ms, --version %.2f ms (medians); beyond: %.2f ms (median of the pairs; middle half %.2f to %.2f ms)\n" \
    "$(awk '{print $2}' "$work/pairs" | median)" "$(awk '{print $1}' "$work/pairs" | median)" \
    "$(median <"$work/beyond")" "$(sed -n $((pairs / 4 + 1))p "$work/beyond")" "$(sed -n $((pairs * 3 / 4))p "$work/beyond")"

floor=$build/bench/tallymo_floor
if [ -x "$floor" ]; then
    echo "== the floor under it: the same steps with SQLite, ICU and the kernel alone (tallymo_floor, medians of 30)"
    mkdir "$work/floor"
    cp "$TALLYMO_CONTAINER"/*.sqlite* "$TALLYMO_CONTAINER"/*.plist "$work/floor/"
    store=$(ls "$work"/floor/*.sqlite) settings=$(ls "$work"/floor/*.plist)
    for _ in $(seq 30); do
        "$floor" store "$store" >>"$work/floor/store.ms"
        "$floor" settings "$settings" >>"$work/floor/settings.ms"
        "$floor" dates en_US >>"$work/floor/dates.ms"
    done
    printf "  the store opened %.2f ms, the settings file written %.2f ms, a month formatter %.2f ms\n" \
        "$(median <"$work/floor/store.ms")" "$(median <"$work/floor/settings.ms")" "$(median <"$work/floor/dates.ms")"
fi

interface=$(ip -o route get 1.1.1.1 2>/dev/null | sed -n 's/.* dev \([^ ]*\).*/\1/p')
vnstatd_start() { # interval in seconds
    command -v vnstatd >/dev/null || return 0
    rm -rf "$work/vnstat" && mkdir -p "$work/vnstat/db"
    printf 'DatabaseDir "%s"\nInterface "%s"\nUseLogging 0\nUpdateInterval %s\nSaveInterval 1\nPollInterval %s\nAlwaysAddNewInterfaces 1\n' \
        "$work/vnstat/db" "${interface:-lo}" "$1" "$1" >"$work/vnstat.conf"
    vnstatd --config "$work/vnstat.conf" --nodaemon >/dev/null 2>&1 &
    echo $!
}

echo "== the service at a 1-second interval: CPU per check over 30 checks"
"$tallymo" daemon --interval 1 >"$work/fast.log" 2>&1 &
daemon=$!
vn=$(vnstatd_start 1)
sleep 5
t0=$(cpu_ns $daemon) c0=$(grep -c '  fetch: ' "$work/fast.log" || true)
v0=${vn:+$(cpu_ns "$vn")}
sleep 30
t1=$(cpu_ns $daemon) c1=$(grep -c '  fetch: ' "$work/fast.log" || true)
v1=${vn:+$(cpu_ns "$vn")}
awk -v a="$t0" -v b="$t1" -v n=$((c1 - c0)) \
    'BEGIN{printf "  tallymo daemon: %.2f ms per check (%d checks)\n", (b - a) / 1e6 / n, n}'
[ -n "$vn" ] && awk -v a="$v0" -v b="$v1" \
    'BEGIN{printf "  vnstatd:        %.3f ms per second (UpdateInterval and PollInterval at 1 s)\n", (b - a) / 1e6 / 30}'
kill $daemon ${vn:-}; wait $daemon ${vn:-} 2>/dev/null || true

echo "== the service at the 300-second interval: memory and wake-ups over $idle idle seconds"
"$tallymo" daemon --interval 300 >"$work/slow.log" 2>&1 &
daemon=$!
vn=$(vnstatd_start 300)
sleep 10
memory() {
    awk '/^Rss:/{r=$2} /^Pss:/{p=$2} /^Private_Clean:/{c=$2} /^Private_Dirty:/{d=$2}
         END{printf "resident %5.2f MB  proportional %5.2f MB  private clean %5.2f MB  private dirty %5.2f MB", r/1024, p/1024, c/1024, d/1024}' "/proc/$1/smaps_rollup"
}
w0=$(wakeups $daemon) vw0=${vn:+$(wakeups "$vn")}
"$widget" --follow --format waybar >/dev/null 2>&1 &
follower=$!
sleep 2
f0=$(cpu_ns $follower)
sleep "$idle"
w1=$(wakeups $daemon) vw1=${vn:+$(wakeups "$vn")}
f1=$(cpu_ns $follower)
echo "  tallymo daemon: $(memory $daemon)"
[ -n "$vn" ] && echo "  vnstatd:        $(memory "$vn")"
awk -v a="$w0" -v b="$w1" -v s="$idle" -v checks="$(grep -c '  fetch: ' "$work/slow.log" || true)" \
    'BEGIN{printf "  tallymo daemon: %d wake-ups in %d s (%d timed checks among them)\n", b - a, s, checks}'
[ -n "$vn" ] && awk -v a="$vw0" -v b="$vw1" -v s="$idle" 'BEGIN{printf "  vnstatd:        %d wake-ups in %d s\n", b - a, s}'
awk -v a="$f0" -v b="$f1" -v s="$idle" \
    'BEGIN{printf "  tallymo-widget --follow: %.1f ms CPU per hour\n", (b - a) / 1e6 * 3600 / s}'
if command -v vnstat >/dev/null && [ -n "$vn" ]; then
    one=$(perf stat -r 20 -x, -e task-clock vnstat --config "$work/vnstat.conf" --oneline 2>&1 >/dev/null | awk -F, '/task-clock/{print $1}')
    awk -v one="$one" 'BEGIN{printf "  a bar polling `vnstat --oneline` every 30 s: %.1f ms CPU per hour (%.2f ms a call)\n", one * 120, one}'
fi
