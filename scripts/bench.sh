#!/bin/sh
# Runs all benchmarks: the bits of fast and plain kernels are compared first, then their ratios shown.
# Use: scripts/bench.sh <build directory> full|small
set -eu
build=$1
size=$2
for program in "$build"/bench/*_bench; do
    name=$(basename "$program")
    echo "== $name"
    case "$size $name" in
    "full scan_bench" | "full db_load_bench") "$program" --rows=full ;;
    "full layer_bench" | "full weights_bench") "$program" --full ;;
    *) "$program" ;;
    esac
done
