#!/bin/sh
# Installs the Debian packages that building and testing need, those that are not there yet.
set -eu
packages="g++ make cmake ninja-build xz-utils libcli11-dev nlohmann-json3-dev zlib1g-dev libsqlite3-dev libxxhash-dev node-d3 gemmi-dev tao-pegtl-dev"
missing=""
for package in $packages ${ORVIX_EXTRA_PACKAGES:-}; do
    dpkg-query -W -f='${db:Status-Status}\n' "$package" 2>/dev/null | grep -qx installed ||
        missing="$missing $package"
done
[ -n "$missing" ] || exit 0
if [ "$(id -u)" -eq 0 ]; then
    run=""
elif command -v sudo >/dev/null 2>&1; then
    run="sudo"
else
    echo "These packages are missing and need root or sudo to install:$missing" >&2
    exit 1
fi
export DEBIAN_FRONTEND=noninteractive
$run apt-get update -q
# shellcheck disable=SC2086  # the list is meant to be split
$run apt-get install -y -q --no-install-recommends $missing
