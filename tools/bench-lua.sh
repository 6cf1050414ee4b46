#!/usr/bin/env bash
# Compares the program's interpreter with the stock one on CPU-heavy scripts.
# Usage: tools/bench-lua.sh KELO_LUA [REPETITIONS]
#   KELO_LUA     path of a Release build of kelo-lua (e.g. build-bench/bin/kelo-lua)
#   REPETITIONS  runs per script and interpreter (default 5); the best time counts
# Prints one line per script: the best wall time of each interpreter in seconds and the ratio
# kelo/stock (below 1.05 is within the 5% target). Output of the two must also agree.
set -euo pipefail

kelo=${1:?usage: tools/bench-lua.sh KELO_LUA [REPETITIONS]}
reps=${2:-5}
stock=${STOCK_LUA:-/usr/bin/lua5.1}
top=$(cd "$(dirname "$0")/.." && pwd)

best_time() { # program script -> best wall time in seconds over $reps runs
    local best="" t
    for _ in $(seq "$reps"); do
        t=$( { /usr/bin/time -f "%e" "$1" "$2" >/dev/null; } 2>&1 | tail -n 1)
        if [ -z "$best" ] || awk -v a="$t" -v b="$best" 'BEGIN { exit !(a < b) }'; then
            best=$t
        fi
    done
    echo "$best"
}

printf "%-18s %10s %10s %8s\n" script stock kelo ratio
for script in "$top"/bench/lua/*.lua; do
    name=$(basename "$script" .lua)
    if [ "$("$stock" "$script")" != "$("$kelo" "$script")" ]; then
        echo "bench-lua: $name prints different results" >&2
        exit 1
    fi
    s=$(best_time "$stock" "$script")
    k=$(best_time "$kelo" "$script")
    ratio=$(awk -v k="$k" -v s="$s" 'BEGIN { if (s > 0) printf "%.3f", k / s; else print "-" }')
    printf "%-18s %10s %10s %8s\n" "$name" "$s" "$k" "$ratio"
done
