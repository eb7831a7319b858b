#!/usr/bin/env bash
# Lists every include from one folder of src/ into another and fails on one against the layer order:
#   core → plans → desktop → services → history → map, connections → day → cli, screens
# A folder may include its own files and those of the folders before it; map and connections are
# siblings and do not include each other, nor do cli and screens. platform/ implements services for the programs and may
# include anything, but nothing else in src/ includes platform/. (The CMake libraries link in the
# same order, so an upward call fails to link as well.)
set -euo pipefail
cd "$(dirname "$0")/../src"
declare -A rank=([core]=0 [plans]=1 [desktop]=2 [services]=3 [history]=4 [map]=5 [connections]=5 [day]=6 [cli]=7
                 [screens]=7)
status=0
declare -A edges=()
while IFS=: read -r file line text; do
    file=${file#./}
    from=${file%%/*}
    to=$(sed -E 's/.*#include "([a-z]+)\/.*/\1/' <<<"$text")
    [ "$from" = "$to" ] && continue
    edges["$from → $to"]=$(( ${edges["$from → $to"]:-0} + 1 ))
    if [ "$from" = platform ]; then
        continue
    elif [ "$to" = platform ]; then
        echo "$file:$line: $from includes platform/ ($text)"; status=1
    elif [ -z "${rank[$from]:-}" ] || [ -z "${rank[$to]:-}" ]; then
        echo "$file:$line: folder not in the layer order: $from → $to"; status=1
    elif (( rank[$to] >= rank[$from] )); then
        echo "$file:$line: $from may not include $to ($text)"; status=1
    fi
done < <(grep -rnE '^#include "[a-z]+/' --include='*.h' --include='*.cpp' .)
for e in "${!edges[@]}"; do printf '%4d  %s\n' "${edges[$e]}" "$e"; done | sort -k2
if [ "$status" -ne 0 ]; then echo "layer check: includes against the order above" >&2; fi
exit "$status"
