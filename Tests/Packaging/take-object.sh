#!/bin/sh
# Compiler launcher: if made-objects.py has found the object, it is taken; otherwise it is compiled.
# Usage: take-object.sh COMPILER ARGUMENTS...
set -eu
object=
dependencies=
previous=
for word in "$@"; do
  case $previous in
    -o) object=$word ;;
    -MF) dependencies=$word ;;
  esac
  source=$word
  previous=$word
done
# The present object may be the other build's own file: it is replaced, never written to.
[ -z "$object" ] || rm -f "$object"
[ -e "$object.made" ] || exec "$@"
# A link works on one file system only.
ln -L "$object.made" "$object" 2>/dev/null || cp "$object.made" "$object"
[ -z "$dependencies" ] || printf '%s: %s\n' "$object" "$source" >"$dependencies"
