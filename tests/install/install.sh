#!/bin/sh
# Installs into a directory of its own and uses what lies there: the programs from elsewhere, the
# library by find_package from a foreign project.
#   install.sh BUILD WORK CMAKE COMPILER
set -eu
build=$1
work=$2
cmake=$3
compiler=$4
here=$(cd "$(dirname "$0")" && pwd)
fail() { echo "FAILED: $*" >&2; exit 1; }
rm -rf "$work"
mkdir -p "$work"

# Moved after the installation: nothing may hold on to the first place.
"$cmake" --install "$build" --prefix "$work/first place" >"$work/install.log"
mv "$work/first place" "$work/a place"
prefix="$work/a place"
"$here/../../scripts/check-install.sh" "$prefix"

# Only what is meant for users.
for program in "$prefix"/bin/*; do
    case ${program##*/} in
    orvix | orvixn) ;;
    *) fail "$program is installed" ;;
    esac
done
include="$prefix/include/orvix"
for folder in cli import restraints results; do
    [ ! -e "$include/$folder" ] || fail "headers of $folder are installed"
done

# Every installed header compiles alone with what is installed.
(cd "$include" && find . -name '*.h' | sort) >"$work/headers.txt"
[ "$(wc -l <"$work/headers.txt")" -gt 10 ] || fail "no headers"
while read -r header; do
    echo "#include \"$header\"" |
        "$compiler" -std=c++20 -fsyntax-only -x c++ -I "$include" - ||
        fail "$header does not compile alone"
done <"$work/headers.txt"

# A foreign project, built in another directory against the installed tree.
cp -r "$prefix/share/orvixn/examples/library" "$work/foreign"
"$cmake" -S "$work/foreign" -B "$work/foreign/build" -DCMAKE_PREFIX_PATH="$prefix" \
    -DCMAKE_CXX_COMPILER="$compiler" >"$work/configure.log"
"$cmake" --build "$work/foreign/build" >"$work/build.log"
example="$prefix/share/orvixn/examples/ci2.tab"
"$work/foreign/build/residue_angles" "$example" >"$work/angles.txt"
"$prefix/bin/orvix" predict "$example" -o "$work/run" 2>"$work/run.log"
# The angles of the program, columns 3 and 4 of its table, in the same order.
awk '$NF == "Strong" { print $1, $2, $3, $4 }' "$work/run/pred.tab" >"$work/theirs.txt"
awk '{ print $1, $2, $4, $8 }' "$work/angles.txt" >"$work/own.txt"
[ "$(wc -l <"$work/own.txt")" -gt 10 ] || fail "few residues in class Strong"
cmp "$work/own.txt" "$work/theirs.txt" || fail "the library's angles are not the program's"
if "$work/foreign/build/residue_angles" "$work/nothing.tab" 2>"$work/error.txt"; then
    fail "a missing table was accepted"
fi
grep -q 'nothing.tab' "$work/error.txt" || fail "the error names no file"

# The same without CMake.
if command -v pkg-config >/dev/null; then
    PKG_CONFIG_PATH=$(dirname "$(find "$prefix" -name orvix.pc)")
    export PKG_CONFIG_PATH
    # The folders have blanks in their names, which pkg-config escapes for a shell.
    eval "$compiler -std=c++20 '-DORVIX_DATA_DIR=\"$prefix/share/orvixn\"'" \
        "'$work/foreign/residue_angles.cpp' $(pkg-config --cflags --libs orvix) -o '$work/plain'"
    "$work/plain" "$example" | cmp - "$work/angles.txt" || fail "pkg-config leads elsewhere"
    [ "$(pkg-config --modversion orvix)" = "$("$prefix/bin/orvix" --version | cut -d' ' -f2)" ] ||
        fail "versions differ"
else
    echo "skipped: there is no pkg-config to try orvix.pc with"
fi
sed 's/4.21 REQUIRED/5.0 REQUIRED/' "$prefix/share/orvixn/examples/library/CMakeLists.txt" \
    >"$work/foreign/CMakeLists.txt"
if "$cmake" -S "$work/foreign" -B "$work/foreign/other" -DCMAKE_PREFIX_PATH="$prefix" \
    >"$work/other.log" 2>&1; then
    fail "another version was accepted"
fi
echo "the installed tree serves"
