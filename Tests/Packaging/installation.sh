#!/usr/bin/env bash
# Installs the built project under a separate prefix and into the root of a package, and checks the
# installed files: the command that the unit file starts, for each kind of instance name, and that
# systemd's own tools report nothing. Usage: installation.sh CMAKE BUILD VERSION
set -euo pipefail
cmake=$1
build=$2
version=$3
place=$(mktemp -d)
trap 'rm -rf "$place"' EXIT

fail() { printf '%s\n' "$*"; exit 1; }

expect() {
  [ "$2" = "$3" ] || fail "$1: $2 instead of $3"
}

# The command that the installed unit file starts. Arguments: its root, the prefix below it.
start_of_unit() {
  sed -n 's/^ExecStart=\([^ ]*\) .*/\1/p' "$1$2/lib/systemd/system/loudcalc@.service"
}

"$cmake" --install "$build" --prefix "$place/opt" >/dev/null
start=$place/opt/libexec/loudcalc/start
expect "with --prefix the unit starts" "$(start_of_unit "" "$place/opt")" "$start"
usage=$("$start" 2-1 -h 2>&1 >/dev/null) && fail "-h: no status"
expect "with --prefix the service answers as" "${usage%% -s*}" "Usage: $place/opt/bin/LoudCalc"
expect "version" "$("$place/opt/bin/LoudDesk" --version)" "LoudDesk $version"
expect "version" "$("$place/opt/bin/LoudGate" --version)" "LoudGate $version"
expect "with --prefix the gate's unit starts" "$place/opt/bin/LoudGate" \
  "$(sed -n 's/^ExecStart=\([^ ]*\) .*/\1/p' "$place/opt/lib/systemd/system/loudgate.service")"

DESTDIR=$place/package "$cmake" --install "$build" --prefix /usr >/dev/null
expect "in a package the unit starts" "$(start_of_unit "$place/package" /usr)" /usr/libexec/loudcalc/start
expect "in a package that starts" /usr/bin/LoudCalc \
  "$(sed -n 's/^exec \([^ ]*\) .*/\1/p' "$place/package/usr/libexec/loudcalc/start")"
for program in bin/LoudCalc bin/LoudDesk bin/LoudGate libexec/loudcalc/start; do
  [ -x "$place/package/usr/$program" ] || fail "in a package there is no $program"
done
for tool in LoudDesk LoudGate; do
  cmp "$(dirname "$0")/../../Packaging/completion.bash" \
    "$place/package/usr/share/bash-completion/completions/$tool" || fail "in a package nothing completes $tool"
done
diff -r "$(dirname "$0")/../../Packaging/prometheus" "$place/package/usr/share/loudcalc-gate/prometheus" ||
  fail "in a package the files for Prometheus are not as they were"

# The names of instances, with a stand-in for the service that prints its arguments.
printf '#!/bin/sh\necho "$@"\n' >"$place/opt/bin/LoudCalc"
while read -r instance arguments; do
  expect "loudcalc@$instance" "$("$start" "$instance" -i eth1)" "$arguments -i eth1"
done <<'END'
1 -s 1 -m 1 -c 1
8 -s 1 -m 1 -c 8
2-1 -s 1 -m 2 -c 1
0-3 -s 1 -m 0 -c 3
12-8 -s 1 -m 12 -c 8
0-2-1 -s 0 -m 2 -c 1
1-9999-4 -s 1 -m 9999 -c 4
END
for instance in '' 0 9 10 01 1-0 2-9 02-1 10000-1 2-1-1 1-1-1-1 -1 1- 1--1 a 1a x-1; do
  status=0
  said=$("$start" "$instance" 2>&1) || status=$?
  expect "status of loudcalc@$instance" "$status" 64
  expect "loudcalc@$instance says" "${said%%;*}" "loudcalc@$instance: no such instance"
done
expect "status that is not tried again" 64 \
  "$(sed -n 's/^RestartPreventExitStatus=//p' "$place/opt/lib/systemd/system/loudcalc@.service")"

# systemd makes the group and reports no fault in the unit, nor in the directory on any kind of machine.
mkdir -p "$place/users/etc"
said=$(systemd-sysusers --root="$place/users" "$place/opt/lib/sysusers.d/loudcalc.conf" 2>&1) ||
  fail "systemd-sysusers: $said"
grep -q '^loudcalc-peers:' "$place/users/etc/group" || fail "systemd-sysusers makes no group loudcalc-peers"
ln -s loudcalc@.service "$place/opt/lib/systemd/system/loudcalc@2-1.service"
for unit in loudcalc@2-1 loudgate; do
  said=$(systemd-analyze verify --recursive-errors=no --man=no \
    "$place/opt/lib/systemd/system/$unit.service" 2>&1) || fail "systemd-analyze verify: $said"
  expect "systemd-analyze verify says of $unit" "$said" ""
done
for machine in bare link directory; do
  root=$place/$machine
  mkdir -p "$root/run" "$root/dev/shm" "$root/etc"
  case $machine in
    link) ln -s /dev/shm "$root/run/shm" ;;
    directory) mkdir -m 1777 "$root/run/shm" ;;
  esac
  echo "loudcalc-peers:x:$(id -g):" >"$root/etc/group"
  echo "root:x:$(id -u):$(id -g)::/:/bin/sh" >"$root/etc/passwd"
  said=$(systemd-tmpfiles --create --root="$root" "$place/opt/lib/tmpfiles.d/loudcalc.conf" 2>&1) ||
    fail "systemd-tmpfiles on a $machine machine: $said"
  expect "systemd-tmpfiles on a $machine machine says" "$said" ""
  directory=$root/run/shm/mq
  [ $machine != link ] || directory=$root/dev/shm/mq
  expect "rights of the directory on a $machine machine" "$(stat -c %a "$directory")" 2770
done
