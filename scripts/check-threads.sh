#!/bin/sh
# Whole runs of the program on several threads in the build of the thread sanitizer.
# Use: scripts/check-threads.sh <build with the sanitizer> <build with the data directory>
set -eu
build=$(cd "$1" && pwd)
data=$(cd "$2" && pwd)/share/orvixn
examples=$(cd "$(dirname "$0")/../examples" && pwd)
work=$build/threads
rm -rf "$work"
mkdir -p "$work"
cd "$work"
OMP_NUM_THREADS=2 ORVIXN_DIR=$data "$build/bin/orvixn" -in "$examples/ci2.tab" >run.log
for table in predAdjCS predABP predSS predS2 pred predChi1 predAll; do
    test -s "$table.tab" || { echo "$table.tab was not written" >&2; exit 1; }
done
echo "no data race in a whole run"
