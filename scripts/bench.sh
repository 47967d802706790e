#!/bin/sh
# Runs all benchmarks: the bits of fast and plain kernels are compared first, then their ratios shown
# and held against the least that they have to be. Fails when bits differ or a ratio falls below.
# Use: scripts/bench.sh <build directory> full|small
set -eu
build=$1
size=$2
source=$(cd "$(dirname "$0")/.." && pwd)
failed=""
for program in "$build"/bench/*_bench; do
    name=$(basename "$program")
    echo "== $name"
    case "$size $name" in
    "full scan_bench" | "full db_load_bench") set -- --rows=full ;;
    "full layer_bench" | "full weights_bench" | "full candidates_bench") set -- --full ;;
    *" run_bench") set -- "$build/share/orvixn" "$source/examples/ci2.tab" ;;
    *) set -- ;;
    esac
    "$program" "$@" || failed="$failed $name"
done
[ -z "$failed" ] || {
    echo "failed:$failed" >&2
    exit 1
}
