#!/bin/sh
# Builds the Debian packages from the sources into build/deb, and lets lintian look at them.
# Needs the build dependencies of packaging/debian/control; `make deb` installs them. With BUILD, a build
# directory that has programs, Python module and man pages, these are packed instead of built anew: a
# quick check of the packaging, without the compiler options of the distribution.
# Use: scripts/build-deb.sh [BUILD]
set -eu
cd "$(dirname "$0")/.."
if [ $# -gt 0 ]; then
    ORVIX_BUILT=$(cd "$1" && pwd)
    export ORVIX_BUILT
fi
version=$(sed -n 's/^project(orvix VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
out=$PWD/build/deb
tree=$out/orvix-$version
rm -rf "$out"
mkdir -p "$tree"
if [ -e .git ]; then
    git ls-files -z
else
    find . -path ./build -prune -o -type f -print0
fi | tar --null -T - -cf - | tar -xf - -C "$tree"

# The version, the date and the licence stand once, in the sources.
cp -r packaging/debian "$tree/debian"
sed '1,/^$/d; s/^$/./; s/^/ /' LICENSE >"$out/licence"
sed -i -e "/^@LICENSE@/{r $out/licence
d}" "$tree/debian/copyright"
rm "$out/licence"
maintainer=$(sed -n 's/^Maintainer: //p' packaging/debian/control)
written=$(date -R -u -d "@${SOURCE_DATE_EPOCH:-$(git log -1 --format=%ct 2>/dev/null || date +%s)}")
cat >"$tree/debian/changelog" <<END
orvix ($version-1) unstable; urgency=medium

  * Packages of version $version; upstream's changelog says what changed.

 -- $maintainer  $written
END

(cd "$tree" && dpkg-buildpackage -b -us -uc </dev/null) >"$out/build.log" 2>&1 || {
    tail -n 40 "$out/build.log" >&2
    echo "The packages were not built; all of it is in $out/build.log" >&2
    exit 1
}
lintian --fail-on error --allow-root "$out"/*.changes
rm -rf "$tree"
ls -l "$out"/*.deb
