#!/usr/bin/env bash
# Makes the packages in two folders with different names, one of them without git, and compares them
# byte by byte. Then runs lintian, and checks the programs for a release's hardening and for paths
# of the folders. The packages of the first folder remain in SOURCES/build/packages. Usage:
# reproducible.sh SOURCES ARCHITECTURE
set -euo pipefail
sources=$1
architecture=$2
here=$(cd "$(dirname "$0")" && pwd)
place=$(mktemp -d)
trap 'rm -rf "$place"' EXIT

fail() { printf '%s\n' "$*"; exit 1; }

"$sources/package" "$architecture"
copy="$place/a folder of another length"
mkdir "$copy"
tar -c -C "$sources" --exclude=./build --exclude='./build-*' --exclude=./.git . | tar -x -C "$copy"
(umask 027 && "$copy/package" "$architecture" >/dev/null)

compared=0
for package in "$copy"/build/packages/*.deb; do
  cmp "$package" "$sources/build/packages/${package##*/}" || fail "not the same bytes: ${package##*/}"
  compared=$((compared + 1))
done
[ "$compared" = 6 ] || fail "$compared packages instead of three and their debug symbols"

lintian --allow-root --fail-on error,warning "$sources/build/packages/"*"_$architecture.changes" ||
  fail "lintian reports errors or warnings"

for package in "$sources"/build/packages/loudcalc{,-desk,-gate}_*"_$architecture.deb"; do
  dpkg-deb -x "$package" "$place/unpacked"
done
for program in LoudCalc LoudDesk LoudGate; do
  for folder in "$sources" "$place" /build/loudcalc; do
    "$here/hardening.sh" readelf "$place/unpacked/usr/bin/$program" "$folder"
  done
done
# An assertion names a file of the project, with the same path in every build.
grep -qaP '\x00LoudCalc/ReactorMain\.cpp\x00' "$place/unpacked/usr/bin/LoudCalc" || fail "assertions name other files"
echo "The packages for $architecture are the same bytes from two folders, and lintian reports no error or warning."
