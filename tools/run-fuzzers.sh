#!/usr/bin/env bash
# Runs every fuzz target in BINDIR for SECONDS each, starting from fuzz/corpus/<name>/.
# New inputs go to a scratch corpus (never into the repository); crashes are kept in
# fuzz/findings/<name>/ and fail the run.
set -euo pipefail
bindir=${1:?usage: run-fuzzers.sh BINDIR SECONDS}
seconds=${2:?usage: run-fuzzers.sh BINDIR SECONDS}
top=$(cd "$(dirname "$0")/.." && pwd)
status=0
shopt -s nullglob
for target in "$bindir"/fuzz_*; do
    name=$(basename "$target")
    name=${name#fuzz_}
    seeds=()
    [ -d "$top/fuzz/corpus/$name" ] && seeds=("$top/fuzz/corpus/$name")
    scratch=$(mktemp -d)
    findings="$top/fuzz/findings/$name"
    mkdir -p "$findings"
    echo "fuzz: $name for ${seconds}s"
    if ! "$target" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 \
            -artifact_prefix="$findings/" -print_final_stats=1 \
            "$scratch" "${seeds[@]}" >"$scratch.log" 2>&1; then
        echo "fuzz: $name FAILED; last lines of its log:"
        tail -n 40 "$scratch.log"
        status=1
    else
        grep -E '^stat::(number_of_executed_units|new_units_added)' "$scratch.log" | sed "s/^/fuzz: $name /"
    fi
    rm -rf "$scratch" "$scratch.log"
done
exit $status
