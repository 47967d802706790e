#!/bin/bash
# Each subcommand has a page with its own options, and completion offers what the help lists.
# Use: man.sh BUILD
set -euo pipefail
build=$1
for name in predict export import check show profile; do
    page=$build/man/orvix-$name.1
    grep -q '^\.TH ORVIX-' "$page"
    grep -q 'Usage: orvix '"$name" "$page" || { echo "$page has no usage" >&2; exit 1; }
done
grep -q 'noproton' "$build/man/orvixn.1" || { echo "orvixn.1 lists no options" >&2; exit 1; }
# shellcheck source=/dev/null
. "$build/man/orvix.bash"
offers() {
    COMP_WORDS=(orvix "$@") COMP_CWORD=$#
    _orvix
    echo "${COMPREPLY[*]}"
}
[ "$(offers pre)" = predict ] || { echo "orvix pre: $(offers pre)" >&2; exit 1; }
[ "$(offers predict --s2)" = --s2-threshold ] || { offers predict --s2 >&2; exit 1; }
[ "$(offers export --no-c)" = --no-chi1 ] && [ -z "$(offers show --s2)" ]
echo "pages and completion are there"
