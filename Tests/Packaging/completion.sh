#!/usr/bin/env bash
# Completes unfinished command lines of the tools, as the Tab key does.
# Usage: completion.sh COMPLETION LOUDDESK|LOUDGATE
set -euo pipefail
completion=$1
program=$2
name=$(basename "$program")
set +u  # the completion library uses unset variables
. /usr/share/bash-completion/bash_completion
. "$completion"

# Arguments: the expected completions, then the words of the line, the last one unfinished.
expect() {
  local expected=$1
  shift
  COMP_WORDS=("$program" "$@") COMP_CWORD=$# COMP_LINE="$program $*" COMPREPLY=()
  COMP_POINT=${#COMP_LINE}
  _loudcalc_tool
  [ "${COMPREPLY[*]}" = "$expected" ] ||
    { printf '%s %s: %s instead of %s\n' "$name" "$*" "${COMPREPLY[*]}" "$expected"; exit 1; }
}

# Bash looks completions up by the typed name.
[[ $(complete -p "$name") == *" -F _loudcalc_tool $name" ]] || { echo "$name has no completion"; exit 1; }

if [ "$name" = LoudGate ]; then
  expect "--listen" --li
  expect "--certificate" --listen 127.0.0.1:8128 --cert
  expect "" --listen ""
  exit
fi

expect measure mea
expect "unit" un
expect "--version" --ver
expect "--max-true-peak" measure --max-true
expect "json" measure --format j
expect "json" measure a.wav --format j
expect "3341-7" verify --case 3341-7
expect "3342-1 3342-2 3342-3 3342-4 3342-5 3342-6 3342-repeat" verify --case 3342
expect "ebu-r128 ebu-r128-v3 ebu-r128-s1" measure a.wav --profile ebu
expect "none" measure --profile n
expect "" measure --profile p
expect "9 18" watch --scale ""
expect "" watch --cluster ""
expect "" measure a
expect "config command" send co
expect "start stop" send command st
expect "start stop" send --cluster 2 command st
expect "--user" send command --us
expect "log" lo
expect "json" log --format j
expect "ebu-r128 ebu-r128-v3 ebu-r128-s1" log --profile ebu
expect "" log --from ""
