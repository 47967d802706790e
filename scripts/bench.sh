#!/bin/sh
# Runs all benchmarks at full size. Use: scripts/bench.sh <build directory> [options of the programs]
set -eu
build=$1
shift
for program in "$build"/bench/*_bench; do
    echo "== $(basename "$program")"
    "$program" --full "$@"
done
