#!/bin/bash
# Each subcommand has a page with its own options, and completion offers what the help lists.
# Use: man.sh BUILD
set -euo pipefail
build=$1
fail() { echo "FAILED: $*" >&2; exit 1; }
subcommands=$("$build/bin/orvix" --help | sed -n '/^Subcommands:/,/^$/s/^  \([a-z]*\)  .*/\1/p')
[ "$(wc -w <<<"$subcommands")" -gt 8 ] || fail "subcommands: $subcommands"
for name in $subcommands "data list"; do
    page=$build/man/orvix-${name// /-}.1
    grep -q '^\.TH ORVIX-' "$page"
    grep -q "Usage: orvix $name" "$page" || fail "$page has no usage"
    while read -r option; do
        grep -qe "${option//-/\\\\-}" "$page" || fail "$page lacks $option"
    done < <("$build/bin/orvix" $name --help | grep -oE '^  -[^ ]+' | grep -oE -e '--[a-z0-9-]+')
done
grep -q 'noproton' "$build/man/orvixn.1" || fail "orvixn.1 lists no options"
# shellcheck source=/dev/null
. "$build/man/orvix.bash"
offers() {
    COMP_WORDS=(orvix "$@") COMP_CWORD=$#
    _orvix
    echo "${COMPREPLY[*]}"
}
expect() {
    local expected=$1
    shift
    [ "$(offers "$@")" = "$expected" ] || fail "orvix $* offers: $(offers "$@")"
}
expect predict pre
expect --s2-threshold predict --s2
expect --s2-threshold predict shifts.tab -o out --s2
expect --no-chi1 export --no-c
expect "" show --s2
expect list data l
expect --data-dir data list --data
expect --shard batch folder --shar
expect --version --ver
echo "pages and completion are there"
