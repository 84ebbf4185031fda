#!/bin/sh
# Compiler launcher: reuses the object if made-objects.py has found it; otherwise compiles it.
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
# The existing object may be a link to the other build's file, so it is replaced, never written to.
[ -z "$object" ] || rm -f "$object"
[ -e "$object.made" ] || exec "$@"
# Copies if a hard link is not possible, for example between file systems.
ln -L "$object.made" "$object" 2>/dev/null || cp "$object.made" "$object"
[ -z "$dependencies" ] || printf '%s: %s\n' "$object" "$source" >"$dependencies"
