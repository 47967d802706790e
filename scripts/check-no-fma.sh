#!/bin/sh
# Fused multiply-adds round once where the results are defined to round twice; no object of the
# library may hold one, whatever the instruction set of its unit.
# Use: scripts/check-no-fma.sh <library>
set -eu
listing=$(mktemp)
trap 'rm -f "$listing"' EXIT
objdump -d --no-show-raw-insn "$1" >"$listing"
# An empty listing would pass whatever the compiler did.
instructions=$(grep -c '^ *[0-9a-f]*:' "$listing") || true
[ "$instructions" -gt 10000 ] || { echo "only $instructions instructions in $1" >&2; exit 1; }
# x86: vfmadd, vfmsub, vfnmadd, vfnmsub, vfmaddsub, vfmsubadd; ARM: fmadd, fmsub, fnm..., fmla, fmls.
if awk '/:     file format/ { object = $1 }
    $2 ~ /^v?fn?m(add|sub|la$|ls$)/ { print object " " $0; found = 1 }
    END { exit !found }' "$listing"; then
    echo "fused multiply-adds in $1" >&2
    exit 1
fi
echo "$instructions instructions, no fused multiply-add"
