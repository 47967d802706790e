#!/bin/sh
# Runs the installed program from another directory with the installed data.
# Use: scripts/check-install.sh <prefix>
set -eu
prefix=$(cd "$1" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
. "$prefix/share/orvixn/examples/demo.conf"
cd "$work"
ORVIXN_DIR="$prefix/share/orvixn" "$prefix/bin/orvixn" \
    -in "$prefix/share/orvixn/examples/$name.tab" >run.log 2>&1
for table in predAdjCS predABP predSS predS2 pred predChi1 predAll; do
    test -s "$table.tab" || { echo "$table.tab was not written" >&2; exit 1; }
done
echo "the installed program wrote all seven tables"
