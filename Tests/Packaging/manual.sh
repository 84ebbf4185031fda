#!/usr/bin/env bash
# Checks that the commands for the gate's token are found in OPERATIONS.md, and that none of them can be missing without
# being noticed. Usage: manual.sh OPERATIONS.md
set -euo pipefail
document=$1
here=$(cd "$(dirname "$0")" && pwd)
place=$(mktemp -d)
trap 'rm -rf "$place"' EXIT
fail() { printf '%s\n' "$*"; exit 1; }

"$here/inside-manual.sh" "$document" >"$place/commands"
bash -n "$place/commands" || fail "the commands are not a script"

# Without each of the commands, and without the line above them.
while IFS= read -r line; do
  grep -vxF "$line" "$document" >"$place/cut.md"
  ! "$here/inside-manual.sh" "$place/cut.md" >/dev/null 2>"$place/told" || fail "not noticed to be missing: $line"
  grep -q "^$place/cut.md: " "$place/told" || fail "$(cat "$place/told")"
done < <(sed 's/^/    /' "$place/commands"; grep -E 'from a file that only root can read:$' "$document")
