#!/bin/sh
# Runs whole predictions and holds every table and both streams against the recorded ones.
#   golden.sh check BUILD WORK SUITE    shows every difference, line by line, and fails on the first
#   golden.sh update BUILD WORK SUITE   records anew, showing what changes
# SUITE is `made`, runs on the made data directory, whose recorded tables no training changes; or
# `shipped`, runs on the shipped one. Large tables are recorded packed, as NAME.xz.
set -eu
mode=$1
build=$2
work=$3
suite=$4
here=$(cd "$(dirname "$0")" && pwd)
expected=$here/expected/$suite
examples=$here/../../examples
. "$examples/demo.conf"
rm -rf "$work"
mkdir -p "$work/got"

run() { # run NAME ARGUMENTS...: one case in a directory of its own
    got=$work/got/$1
    shift
    mkdir "$got"
    status=0
    (cd "$got" && ORVIXN_DIR="$data" "$build/bin/orvixn" "$@" >stdout 2>stderr) || status=$?
    echo "$status" >"$got/status.txt"
    # The time of the run, and the place of the data directory, are not part of its result.
    sed -e '/^ Running time: /d' -e "s|$data|DATA|g" -e "s|$examples|EXAMPLES|g" "$got/stdout" >"$got/stdout.txt"
    sed -e "s|$data|DATA|g" -e "s|$examples|EXAMPLES|g" "$got/stderr" >"$got/stderr.txt"
    rm "$got/stdout" "$got/stderr"
}

case $suite in
made)
    data="$work/data"
    "$build/tests/made_data" "$data"
    run plain -in "$data/query.tab" -inTitle made -excl made100
    run noproton -in "$data/query.tab" -inTitle made -noproton -len 5
    run range -in "$data/query.tab" -inTitle made -first 4 -last 14 -iso -offset -verb
    run sequence -seqSS -blast_check "$data/query.check" -inTitle made
    ;;
shipped)
    data=$build/share/orvixn
    run ci2 -in "$examples/ci2.tab" -inTitle ci2 -excl "$source_word"
    run ci2_reference -in "$examples/ci2.tab" -inTitle ci2 -ref "$examples/ci2.pdb" -refTitle ref \
        -noproton -first 10 -last 40 -len 5
    run ci2_check -in "$examples/ci2.tab" -inTitle ci2 -check -offset
    run ci2_verbose -in "$examples/ci2.tab" -inTitle ci2 -verb -nopath -first 20 -last 32
    run fgf2 -in "$examples/fgf2.tab" -inTitle fgf2
    run fgf2_reference -in "$examples/fgf2.tab" -inTitle fgf2 -ref "$examples/fgf2.pdb" \
        -refTitle ref -first 60 -last 90
    run fgf2_check -in "$examples/fgf2.tab" -inTitle fgf2 -check -offset
    run fgf2_verbose -in "$examples/fgf2.tab" -inTitle fgf2 -verb -first 60 -last 72
    "$build/tests/made_data" "$work/made"
    run sequence -seqSS -blast_check "$work/made/query.check" -inTitle sequence
    ;;
*)
    echo "golden.sh: no suite $suite" >&2
    exit 2
    ;;
esac

# The recorded tables, unpacked, so that they can be compared line by line.
mkdir "$work/expected"
if [ -d "$expected" ]; then
    cp -r "$expected/." "$work/expected"
    find "$work/expected" -name '*.xz' -exec xz -d {} +
fi
same=yes
diff -r -U 1 "$work/expected" "$work/got" >"$work/difference.txt" || same=no
if [ $same = no ]; then
    # Rows of the map and match tables are long; their heads and the files say enough.
    cut -c 1-180 "$work/difference.txt" | head -n 200
    echo "$(grep -c '^[-+][^-+]' "$work/difference.txt") lines differ, all in $work/difference.txt"
fi

if [ "$mode" = update ]; then
    [ $same = no ] || { echo "nothing to record"; exit 0; }
    rm -rf "$expected"
    mkdir -p "$expected"
    cp -r "$work/got/." "$expected"
    find "$expected" -type f -size +40k -exec xz -9 {} +
    echo "recorded in $expected"
    exit 0
fi
[ $same = yes ] || exit 1

# The same bytes on one thread, on every instruction level, from the text and from an image.
case $suite in made) set -- "$data/query.tab" made made100 ;; *) set -- "$examples/ci2.tab" ci2 "$source_word" ;; esac
first=ci2
[ "$suite" = shipped ] || first=plain
again() { # again NAME VARIABLE=VALUE... COMMAND...
    other=$work/$1
    shift
    mkdir "$other"
    (cd "$other" && env ORVIXN_DIR="$data" "$@" >stdout.txt 2>stderr.txt)
    for table in pred predAll predABP predSS predS2 predChi1 predAdjCS; do
        cmp "$other/$table.tab" "$work/got/$first/$table.tab"
    done
}
# That of the shipped data was made by the build.
[ "$suite" = shipped ] || "$build/bin/orvix" data prepare "$data" 2>"$work/prepare.txt"
again one OMP_NUM_THREADS=1 taskset -c 0 "$build/bin/orvixn" -in "$1" -inTitle "$2" -excl "$3"
for level in portable avx2 avx512; do
    for image in no check; do
        again $level-$image ORVIX_INSTRUCTIONS=$level ORVIX_IMAGE=$image \
            "$build/bin/orvixn" -in "$1" -inTitle "$2" -excl "$3"
    done
done
echo "golden runs agree"
