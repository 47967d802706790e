#!/bin/sh
# Predicts the bundled example with the data directory of the build and shows the result.
# Use: scripts/demo.sh <build directory>
set -eu
build=$(cd "$1" && pwd)
source=$(cd "$(dirname "$0")/.." && pwd)
. "$source/examples/demo.conf"
out="$build/demo"
rm -rf "$out"
mkdir -p "$out"
cd "$out"
echo "\$ orvixn -in examples/$name.tab -ref examples/$name.pdb -excl ..."
ORVIXN_DIR="$build/share/orvixn" "$build/bin/orvixn" -in "$source/examples/$name.tab" \
    -inTitle "$name" -ref "$source/examples/$name.pdb" -refTitle "$name.pdb" \
    -excl "$source_word" 2>orvixn.log
echo
"$build/bin/orvix" show "$out" --ref "$source/examples/$name.pdb"
echo
echo "The tables are in $out:"
ls "$out"/*.tab
