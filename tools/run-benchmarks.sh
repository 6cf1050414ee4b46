#!/usr/bin/env bash
# Runs every benchmark program in BINDIR; prints the console table and keeps JSON results in
# OUTDIR/<name>.json.
set -euo pipefail
bindir=${1:?usage: run-benchmarks.sh BINDIR OUTDIR}
outdir=${2:?usage: run-benchmarks.sh BINDIR OUTDIR}
mkdir -p "$outdir"
shopt -s nullglob
for b in "$bindir"/bench_*; do
    name=$(basename "$b")
    echo "== $name"
    "$b" --benchmark_out="$outdir/$name.json" --benchmark_out_format=json
done
