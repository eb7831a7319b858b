#!/usr/bin/env bash
# The app on five years of 5-minute samples: time from process start to the main screen's first
# frame (median of 15 starts), from the main screen to the day view and to the periods view with
# their rows, resident memory, and CPU over 20 s idle and with each animated theme.
# Runs under Xvfb with Mesa's software OpenGL, as a desktop without a GPU would: the timings on a
# laptop-sized screen (the window shows the history beside the main screen), the CPU figures on a
# smaller one, where the window has a phone's proportions (420×820). Xvfb has no vertical
# blank, so Qt's threaded render loop would draw as fast as it can (about 200 frames a second here);
# with the basic loop the app asks for frames no faster than the screen's refresh (60 here).
#   bench/app.sh [build-dir]     (default build-bench, built here in release mode)
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/deps.sh xvfb xauth x11-utils linux-perf
export CMAKE_GENERATOR=${CMAKE_GENERATOR:-Ninja} # for new build folders (why: scripts/deps.sh)
build=${1:-build-bench}
if [ "$build" = build-bench ]; then
    cmake -S . -B build-bench -DCMAKE_BUILD_TYPE=Release -DTALLYMO_TESTS=OFF -DTALLYMO_BENCH=ON >/dev/null
    cmake --build build-bench -j"$(nproc)" --target tallymo_bench tallymo tallymo-app tallymo-screenshots >/dev/null
fi
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
"$build/bench/tallymo_bench" --make-container "$work/container" >/dev/null
export TALLYMO_CONTAINER="$work/container" TALLYMO_PROC_NET_DEV=/dev/null XDG_RUNTIME_DIR="$work" \
       QT_QUICK_CONTROLS_STYLE=Basic
app="$build/programs/tallymo-app/tallymo-app"
shots="$build/tools/screenshots/tallymo-screenshots"
tallymo="$build/programs/tallymo/tallymo"
"$tallymo" defaults write PREF_SHOWED_SETUP true --type bool >/dev/null
xvfb-run -a -s "-screen 0 1280x1024x24" bash -s "$app" "$tallymo" "$shots" <<'SH'
set -euo pipefail
app=$1 tallymo=$2 shots=$3
export QT_QPA_PLATFORM=xcb QSG_RENDER_LOOP=basic
times=()
for _ in $(seq 15); do times+=("$("$app" --first-frame 2>/dev/null)"); done
printf '%s\n' "${times[@]}" | sort -n | awk '{a[NR]=$1} END {printf "  %7.1f ms median  start to first frame (15 starts, min %.0f, max %.0f)\n", a[int((NR+1)/2)], a[1], a[NR]}'
for view in day periods; do
    times=()
    for _ in $(seq 15); do times+=("$("$shots" --first-frame-of "$view" 2>/dev/null)"); done
    printf '%s\n' "${times[@]}" | sort -n | awk -v view="$view" '{a[NR]=$1} END {printf "  %7.1f ms median  main screen up to the %s view with its rows (15 runs, min %.0f, max %.0f)\n", a[int((NR+1)/2)], view, a[1], a[NR]}'
done
SH
# CPU time from the kernel's scheduler clock (perf's task-clock), not from /proc's tick counts.
xvfb-run -a -s "-screen 0 800x1024x24" bash -s "$app" "$tallymo" <<'SH'
set -euo pipefail
app=$1 tallymo=$2
export QT_QPA_PLATFORM=xcb QSG_RENDER_LOOP=basic
cpu() { # theme font row, colour row, label
    "$tallymo" defaults write PREF_THEME_FONT "$1" --type int >/dev/null
    "$tallymo" defaults write PREF_THEME_COLOR "$2" --type int >/dev/null
    "$app" 2>/dev/null & pid=$!
    sleep 5
    ms=$(perf stat -x, -e task-clock -p "$pid" -- sleep 20 2>&1 >/dev/null | awk -F, '/task-clock/ {print $1}')
    size=$(xwininfo -root -tree 2>/dev/null | awk '/"Tallymo"/ && $(NF-1) !~ /^1x1[+]/ {split($(NF-1), g, "+"); print g[1]; exit}')
    rss=$(awk '/^VmRSS/ {print $2}' /proc/$pid/status)
    kill $pid; wait $pid 2>/dev/null || true
    awk -v ms="$ms" -v rss="$rss" -v l="$3" -v size="$size" \
        'BEGIN {printf "  %6.1f %% of one core over 20 s, %6.1f MB resident  %s (%s)\n", ms / 200, rss / 1024, l, size}'
}
cpu 0 0 "idle main screen"
cpu 13 18 "DONKEY Bounce"
cpu 14 19 "Winter Wonderland"
SH
