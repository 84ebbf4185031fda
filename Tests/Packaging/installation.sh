#!/usr/bin/env bash
# Installs the built project under a prefix of its own, and into the root of a package, and asks the unit
# file what it starts. Usage: installation.sh CMAKE BUILD
set -euo pipefail
cmake=$1
build=$2
place=$(mktemp -d)
trap 'rm -rf "$place"' EXIT

# What the installed unit file starts. Arguments: its root, the prefix below it.
program_of_unit() {
  sed -n 's/^ExecStart=\([^ ]*\) .*/\1/p' "$1$2/lib/systemd/system/loudcalc@.service"
}

expect() {
  [ "$2" = "$3" ] || { printf '%s: %s instead of %s\n' "$1" "$2" "$3"; exit 1; }
}

"$cmake" --install "$build" --prefix "$place/opt" >/dev/null
expect "with --prefix the unit starts" "$(program_of_unit "" "$place/opt")" "$place/opt/bin/LoudCalc"
[ -x "$place/opt/bin/LoudCalc" ] || { echo "and there is nothing to start"; exit 1; }

DESTDIR=$place/package "$cmake" --install "$build" --prefix /usr >/dev/null
expect "in a package the unit starts" "$(program_of_unit "$place/package" /usr)" /usr/bin/LoudCalc
[ -x "$place/package/usr/bin/LoudCalc" ] || { echo "and there is nothing to start"; exit 1; }
