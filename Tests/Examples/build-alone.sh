#!/usr/bin/env bash
# Copies the examples out of the tree, builds them there, and checks that they start.
# Usage: build-alone.sh CMAKE EXAMPLES
set -euo pipefail
cmake=$1
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cp -r "$2" "$folder/Examples"
"$cmake" -S "$folder/Examples" -B "$folder/build"
"$cmake" --build "$folder/build"
for example in DataClient CommandSender; do
  status=0
  "$folder/build/$example" wrong words here 2>"$folder/errors" || status=$?
  cat "$folder/errors"
  [ "$status" = 2 ] && grep -q '^usage: ' "$folder/errors"
done
