#!/bin/bash
# Installs the packages of build/deb in a minimal Debian root of their release and uses them there:
# the programs alone, then the Python module, then the library; follows docs/example.md word for word;
# removes all of it. Needs root, mmdebstrap and a Debian mirror.
# Use: scripts/test-packages.sh [DIRECTORY OF PACKAGES] [MIRROR]
set -euo pipefail
cd "$(dirname "$0")/.."
packages=$(cd "${1:-build/deb}" && pwd)
release=$(. /etc/os-release && echo "$VERSION_CODENAME")
fail() { echo "FAILED: $*" >&2; exit 1; }
step() { printf '\n=== %s (%ss)\n' "$1" "$SECONDS"; }

root=$(mktemp -d)
# Nothing may be removed through a mount that is still there.
leave() {
    umount "$root/proc" 2>/dev/null || true
    rm -rf --one-file-system "$root"
}
trap leave EXIT
step "a minimal root of $release"
mmdebstrap --quiet --variant=minbase "$release" "$root" ${2:+"$2"}
mount -t proc proc "$root/proc" 2>/dev/null || echo "/proc can't be mounted; it goes without"
mkdir "$root/packages"
cp "$packages"/*.deb "$root/packages"
cp -r docs tests/docs/follow.py "$root/packages"
printf 'APT::Install-Recommends "false";\nAPT::Sandbox::User "root";\n' >"$root/etc/apt/apt.conf.d/90test"
inside() { chroot "$root" env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root \
    DEBIAN_FRONTEND=noninteractive LC_ALL=C.UTF-8 bash -euc "$1"; }
inside 'apt-get -qq update'

step "orvix and orvix-data"
inside 'cd /packages; apt-get -qq install -y ./orvix_*.deb ./orvix-data_*.deb >/dev/null'
inside 'mkdir /root/work; cd /root/work
    orvix --version
    orvix predict /usr/share/orvixn/examples/ci2.tab -o ci2 2>said
    cat said
    test -s ci2/results.json
    orvixn -in /usr/share/orvixn/examples/ci2.tab >/dev/null
    cmp pred.tab ci2/pred.tab
    test -e /usr/share/bash-completion/completions/orvix'
for page in orvix orvixn orvix-predict orvix-batch orvix-data-list; do
    [ -s "$root/usr/share/man/man1/$page.1.gz" ] || fail "no man page $page"
done

step "python3-orvix"
inside 'cd /packages; apt-get -qq install -y ./python3-orvix_*.deb >/dev/null'
inside 'cd /root/work
    python3 -c "
import orvix
model = orvix.Model()
assert model.path == \"/usr/share/orvixn\", model.path
prediction = model.predict(\"/usr/share/orvixn/examples/ci2.tab\")
assert prediction.to_json() == open(\"ci2/results.json\", encoding=\"utf-8\").read()
print(orvix.__version__, len(prediction.residues), prediction.maps.shape)
"'

step "docs/example.md, word for word"
inside 'mkdir -p /packages/sources/tests/docs; cp /packages/follow.py /packages/sources/tests/docs
    python3 /packages/sources/tests/docs/follow.py /packages/docs/example.md'

step "liborvix-dev"
inside 'cd /packages; apt-get -qq install -y ./liborvix-dev_*.deb g++ cmake make pkg-config >/dev/null'
inside 'cd /root/work
    cmake -S /usr/share/orvixn/examples/library -B library >/dev/null
    cmake --build library >/dev/null
    library/residue_angles /usr/share/orvixn/examples/ci2.tab >angles
    test "$(grep -c phi angles)" -eq "$(grep -c "Strong$" ci2/pred.tab)"
    g++ -std=c++20 -DORVIX_DATA_DIR="\"$(pkg-config --variable=datadir orvix)\"" \
        /usr/share/orvixn/examples/library/residue_angles.cpp \
        $(pkg-config --cflags --libs orvix) -o plain
    ./plain /usr/share/orvixn/examples/ci2.tab | cmp - angles'

step "removal"
inside 'apt-get -qq purge -y orvix orvix-data liborvix-dev python3-orvix >/dev/null'
left=$(find "$root/usr" -iname '*orvix*' -not -path '*/__pycache__/*')
[ -z "$left" ] || fail "left behind: $left"
step "the packages serve"
