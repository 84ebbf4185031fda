#!/usr/bin/env bash
# Prints the commands by which OPERATIONS.md gives the gate its token, word for word. Fails unless there is one such
# list of commands and nothing of it is missing. Usage: inside-manual.sh OPERATIONS.md
set -euo pipefail
fail() { echo "$document: $*" >&2; exit 1; }
document=$1

# The indented lines below this one.
start='^[^ ].*from a file that only root can read:$'
[ "$(grep -cE "$start" "$document")" = 1 ] || fail "not exactly one line matches $start"
commands=$(sed -nE "/$start/,/^[^ ]/s/^    (.*)/\1/p" "$document")

for part in 'mkdir -p .*/etc/loudgate .*/loudgate.service.d$' 'openssl rand .* tee /etc/loudgate/token ' \
  'LoadCredential=token:/etc/loudgate/token' 'tee /etc/systemd/system/loudgate.service.d/token.conf$' \
  'LOUDGATE_OPTIONS=--control --token-file /run/credentials/loudgate.service/token' 'tee -a /etc/default/loudcalc-gate$' \
  'systemctl daemon-reload$' 'systemctl restart loudgate$'; do
  grep -qE -- "$part" <<<"$commands" || fail "the commands for the token have no line that matches $part"
done
printf '%s\n' "$commands"
