#!/usr/bin/env bash
# Checks that a program has the protections of a release and does not contain the name of the folder that
# it was built from. Usage: hardening.sh READELF PROGRAM FOLDER
set -euo pipefail
readelf=$1
program=$2
folder=$3
missing=0

listing=$(mktemp)
trap 'rm -f "$listing"' EXIT
"$readelf" --wide --file-header --program-headers --dynamic --syms "$program" >"$listing"

expect() {
  grep -qE "$2" "$listing" || { echo "$program: $1 missing"; missing=1; }
}

expect "position-independent code" '^ *Type: +DYN '
expect "flag of a position-independent executable" 'FLAGS_1.* PIE'
expect "binding of all functions at the start" 'FLAGS.*BIND_NOW|FLAGS_1.*NOW'
expect "read-only relocations" '^ *GNU_RELRO '
expect "stack that is not executable" '^ *GNU_STACK .* RW  '
expect "stack protector" '__stack_chk_fail'
expect "checked functions of the C library" ' __(snprintf|vsnprintf|memcpy|fprintf|printf|vfprintf)_chk'
if grep -qF -e "$folder" "$program"; then
  echo "$program names $folder"
  missing=1
fi
exit $missing
