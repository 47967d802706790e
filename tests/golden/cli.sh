#!/bin/sh
# The programs as a user meets them: exit statuses, streams, and what bad input does.
set -eu
build=$1
work=$2
here=$(cd "$(dirname "$0")" && pwd)
examples=$here/../../examples
. "$examples/demo.conf"
rm -rf "$work"
mkdir -p "$work"
cd "$work"
ORVIXN_DIR=$build/share/orvixn
export ORVIXN_DIR
fail() { echo "FAILED: $*" >&2; exit 1; }

expect() { # expect STATUS TEXT STREAM-FILE ARGUMENTS...
    want=$1 text=$2 stream=$3
    shift 3
    status=0
    "$build/bin/orvixn" "$@" >out.txt 2>err.txt </dev/null || status=$?
    [ "$status" -eq "$want" ] || fail "orvixn $*: status $status, expected $want"
    grep -qF -- "$text" "$stream.txt" || fail "orvixn $*: no '$text' in $stream"
}

expect 255 "Input Options:" err
expect 255 "Input Options:" err -help
expect 0 "	Can't open file  for reading" err -verb
expect 0 "	Can't open file missing.tab for reading" err -in missing.tab
expect 0 " Invaid arg name -rc" err -rc nowhere.tab -in "$examples/$name.tab"
expect 255 "out of range" err -in "$examples/$name.tab" -len 9

# Input that is no table, in many ways: an orderly end, whatever it is.
: >empty.tab
head -c 3000000 /dev/zero >zeros.tab
head -c 200000 "$build/bin/orvixn" >binary.tab
sed 's/$/\r/' "$examples/$name.tab" >crlf.tab
head -c 1500 "$examples/$name.tab" >cut.tab
sed 's/^VARS.*/VARS RESID RESNAME ATOMNAME VALUE/' "$examples/$name.tab" >noshift.tab
sed 's/[0-9]$/x/' "$examples/$name.tab" >words.tab
expect 255 "A full amino acid sequence is required" err -in empty.tab -check
expect 255 "A full amino acid sequence is required" err -in zeros.tab -check
expect 255 "SHIFT" err -in noshift.tab -check
for input in binary crlf cut words; do
    status=0
    "$build/bin/orvixn" -in $input.tab -check >out.txt 2>err.txt || status=$?
    [ "$status" -eq 255 ] || fail "$input.tab: status $status"
done
"$build/bin/orvixn" -in "$examples/$name.tab" -check >plain.txt 2>&1 || true
"$build/bin/orvixn" -in crlf.tab -check >crlf.txt 2>&1 || true
cmp plain.txt crlf.txt || fail "DOS line ends change the check"

# Input in a directory that can't be written: messages, no crash, status 0.
expect 0 "!!!" err -in "$examples/$name.tab" -sum missing/dir/pred.tab

# The sequence-only mode from an alignment.
cat >family.fasta <<'END'
>query
MKTAYIAKQRQISFVKSHFSRQ
>other
MRTAYLAKQRQ-SFVRSHFARQ
END
"$build/bin/orvix" profile family.fasta -o family.check
"$build/bin/orvixn" -seqSS -blast_check family.check -inTitle family >out.txt 2>err.txt
[ "$(grep -c '^ *[0-9]* [A-Z] .*[hec]$' predSS.tab)" -eq 22 ] || fail "sequence-only rows"
status=0
"$build/bin/orvix" profile "$examples/$name.tab" -o x.check 2>err.txt || status=$?
[ "$status" -eq 3 ] || fail "orvix profile took a shift table"
printf '\377\377\377\177abc' >bad.check
expect 255 "expected 0 to 1279" err -seqSS -blast_check bad.check
expect 255 "Unable to open file" out -seqSS -blast_check none.check
echo "the programs behave"
