#!/bin/bash
# Run by systemd in a booted clean root: checks what the packages' units promise.
set -euo pipefail
cd /test
export DEBIAN_FRONTEND=noninteractive
. ./inside-common.sh

fail() {
  printf '%s\n' "$*"
  journalctl --no-pager -u 'loudcalc@*' -u loudgate | tail -n 60
  exit 1
}
of_unit() { systemctl show --value -p "$1" "${2:-loudcalc@1}"; }

# Arguments: expected number of restarts, the process before, the unit.
restarted() {
  [ "$(of_unit NRestarts "${3:-}")" = "$1" ] && [ "$(of_unit SubState "${3:-}")" = running ] &&
    [ "$(of_unit MainPID "${3:-}")" != "$2" ]
}
status_line() { sed -n "s/^$2:[[:space:]]*//p" "/proc/$1/status"; }

files_of / >before
quietly dpkg -i ./*.deb
cat >>/etc/default/loudcalc <<'END'
LOUDCALC_MAIN_BOARD_ADDRESS=127.0.0.1
LOUDCALC_OPTICAL_BOARD_ADDRESS=127.0.0.2
END

# With `Type=notify` the start returns when the service has reported that it is ready.
quietly systemctl enable --now loudcalc@1 loudcalc@2-1
expect "type" "$(of_unit Type)" notify
expect "state" "$(of_unit SubState)" running
first=$(of_unit MainPID)
expect "command line of loudcalc@2-1" "$(tr '\0' ' ' </proc/"$(of_unit MainPID loudcalc@2-1)"/cmdline)" \
  "/usr/bin/LoudCalc -s 1 -m 2 -c 1 "
echo "Ready notification, and instances by name."

# Expects a dynamic user, no privileges, a filter of system calls, and a read-only system.
# Arguments: the process, folders that must be read-only too.
expect_hardened() {
  local process=$1 user peers folder said
  shift
  in_its_view() { nsenter --target "$process" --mount -- "$@"; }
  user=$(status_line "$process" Uid | cut -f 1)
  [ "$user" -ge 61184 ] && [ "$user" -le 65519 ] || fail "user $user is none that systemd made for the time"
  peers=$(getent group loudcalc-peers | cut -d: -f 3)
  grep -qw "$peers" <<<"$(status_line "$process" Groups)" || fail "not in the group of the peers"
  expect "capabilities" "$(status_line "$process" CapBnd)" 0000000000000000
  expect "no new privileges" "$(status_line "$process" NoNewPrivs)" 1
  expect "filter of system calls" "$(status_line "$process" Seccomp)" 2
  for folder in / /etc /usr /var /var/lib /opt /run /dev/shm /dev/mqueue "$@"; do
    said=$(in_its_view touch "$folder/trace" 2>&1) && fail "can write to $folder"
    grep -q 'Read-only file system' <<<"$said" || fail "$folder: $said"
  done
  expect "homes" "$(in_its_view ls -A /root /home 2>/dev/null | grep -v ':$' | tr -d '\n')" ""
}
expect_hardened "$first"
systemd-analyze security --no-pager --threshold=16 loudcalc@1 >log 2>&1 || { tail -n 1 log; fail "less hardened"; }
user=$(status_line "$first" Uid | cut -f 1)
nsenter --target "$first" --mount -- touch /run/shm/mq/trace || fail "cannot write to the directory of the sockets"
rm /run/shm/mq/trace
for publisher in Data State; do
  expect "rights of a socket" "$(stat -L -c '%a %u %G' "/run/shm/mq/ProbeLc1Loudness${publisher}Pub-m1c1.ipc")" \
    "660 $user loudcalc-peers"
done
echo "DynamicUser, rights, and a system that is read-only but for the sockets."

# The peers' sockets are open to the group too.
export LOUDCALC_MAIN_BOARD_ADDRESS=127.0.0.1 LOUDCALC_OPTICAL_BOARD_ADDRESS=127.0.0.2
measure_through_service
echo "A recording measured."

# The installation has started the gate.
expect "type of the gate" "$(of_unit Type loudgate)" notify
expect "state of the gate" "$(of_unit SubState loudgate)" running
gate=$(of_unit MainPID loudgate)
expect_figure_over_http 8128
expect_hardened "$gate" /run/shm/mq
systemd-analyze security --no-pager --threshold=16 loudgate >log 2>&1 || { tail -n 1 log; fail "less hardened"; }
within 10 "the record" test -s /var/lib/loudgate/station.db
expect "rights of the record" "$(stat -L -c '%a %u' /var/lib/loudgate/station.db)" "600 $(status_line "$gate" Uid | cut -f 1)"
echo "The gate: the figure over HTTP, DynamicUser, rights, and a system that is read-only but for the record."

kill -STOP "$first"
within 20 "restart by the watchdog" restarted 1 "$first"
journalctl --no-pager -u loudcalc@1 | grep -q 'Watchdog timeout' || fail "restarted, but not by the watchdog"
second=$(of_unit MainPID)
kill -KILL "$second"
within 20 "restart after a kill" restarted 2 "$second"
echo "Restart by the watchdog after SIGSTOP, and after SIGKILL."

# A service that was started again publishes after reporting is enabled.
measure_through_service
expect_figure_over_http 8128
within 10 "restarts of the service over HTTP" gate_says 8128 /api/clusters '"Name":"1-1".*"Restarts":[1-9]'
expect "process of the gate" "$(of_unit MainPID loudgate)" "$gate"
systemctl stop loudgate
expect_closed_record
recorded=$(seconds_of_record | wc -l)
echo "LOUDGATE_OPTIONS=--listen 127.0.0.1:8130 --write-every 1" >>/etc/default/loudcalc-gate
systemctl start loudgate
gate=$(of_unit MainPID loudgate)
expect_figure_over_http 8130
within 20 "seconds in the record while the gate runs" more_seconds_than "$recorded"
kill -STOP "$gate"
within 20 "restart of the gate by the watchdog" restarted 1 "$gate" loudgate
recorded=$(seconds_of_record | wc -l)
within 20 "seconds in the record after a kill" more_seconds_than "$recorded"
echo "The gate outlives the service, takes its settings, and is restarted by the watchdog."
echo "SIGTERM closes the record; it goes on after a start, and after a kill."

# The commands of the manual, word for word.
manual=$(./inside-manual.sh OPERATIONS.md 2>&1) || fail "$manual"
order() {
  curl -s -o answer -w '%{http_code}' --json '{"Command":"Pause"}' "$@" http://127.0.0.1:8128/api/clusters/1-1
}
is_ordered() { [ "$(order -H @headers)" = 200 ]; }
echo "LOUDGATE_OPTIONS=" >>/etc/default/loudcalc-gate
systemctl restart loudgate
within 10 "the gate as it is installed" gate_says 8128 /api/clusters '"Name":"1-1"'
expect "answer to a command without --control" "$(order)" 405
echo "LOUDCALC_MAIN_BOARD_ADDRESS=127.0.0.1" >>/etc/default/loudcalc-gate
quietly bash -euc "$manual"
gate=$(of_unit MainPID loudgate)
within 10 "the gate with a token" gate_says 8128 /api/control '"Enabled":true'
expect "rights of the token" "$(stat -c '%a %U:%G' /etc/loudgate/token)" "600 root:root"
sed 's/^/Authorization: Bearer /' /etc/loudgate/token >headers
tr 0-9a-f 1-9a-f0 <headers >others  # another token
within 10 "the cluster" gate_says 8128 /api/clusters '"Name":"1-1"'
expect "answer to a command without the token" "$(order)" 401
expect "answer to a command with another token" "$(order -H @others)" 401
within 30 "a command with the token" is_ordered
grep -q '"Command":"Pause","Acknowledged":true' answer || fail "$(cat answer)"
within 10 "what it has caused" gate_says 8128 /api/clusters '"Name":"1-1",.*"State":"PAUSED"'
! journalctl --no-pager | grep -qF "$(cat /etc/loudgate/token)" || fail "the journal has the token"
echo "Commands over HTTP by the token that the unit hands over as the manual says, and by no other."

# If stopping took too long, systemd would kill the process and report it.
for unit in loudcalc@1 loudgate; do
  systemctl stop $unit
  expect "state of $unit after SIGTERM" "$(of_unit SubState $unit)" dead
  expect "result of SIGTERM to $unit" "$(of_unit Result $unit)" success
  expect "status of $unit after SIGTERM" "$(of_unit ExecMainCode $unit) $(of_unit ExecMainStatus $unit)" "1 0"
  systemctl start $unit
done
echo "SIGTERM within its time."

systemctl start loudcalc@2-9 >/dev/null 2>&1 && fail "loudcalc@2-9 started"
expect "status of loudcalc@2-9" "$(of_unit ExecMainStatus loudcalc@2-9)" 64
expect "state of loudcalc@2-9" "$(of_unit ActiveState loudcalc@2-9)" failed
systemctl reset-failed loudcalc@2-9

third=$(of_unit MainPID)
gate=$(of_unit MainPID loudgate)
settings() { cat /etc/default/loudcalc /etc/default/loudcalc-gate /etc/loudgate/token | sha256sum; }
before=$(settings)
recorded=$(seconds_of_record)
quietly dpkg --force-confdef -i newer/*.deb
within 10 "restart by the upgrade" restarted 0 "$third"
within 10 "restart of the gate by the upgrade" restarted 0 "$gate" loudgate
expect "settings after the upgrade" "$(settings)" "$before"
within 10 "the gate after the upgrade" gate_says 8128 /api/clusters '"Name":"1-1"'
expect "record after the upgrade" "$(seconds_of_record | head -n "$(wc -l <<<"$recorded")")" "$recorded"
echo "Upgrade: the settings and the record kept, the instances started again."

! journalctl --no-pager -b | grep -E 'loud(calc|gate).*(Unknown|ignoring)' || fail "systemd has something to say of the files"

# The peers' files would keep the purge from removing their directory.
rm -f /run/shm/mq/hwmProbeLuRawDataPub-1.ipc /run/shm/mq/loggerSinkMq.ipc
quietly dpkg --purge loudcalc loudcalc-desk loudcalc-gate
for unit in loudcalc@1 loudgate; do
  expect "state of $unit after the purge" "$(of_unit ActiveState $unit)" inactive
done
! ls -l /proc/[0-9]*/exe 2>/dev/null | grep -E 'LoudCalc|LoudGate' || fail "still running"
files_of / >after
diff before after || fail "purge leaves that behind"
expect "left by the purge in /run" "$(find /run /run/shm/ \( -name '*loud*' -o -name mq \) -print)" ""
! getent group loudcalc-peers || fail "the group is still there"
echo "Purged without a trace."
echo "All is well."
