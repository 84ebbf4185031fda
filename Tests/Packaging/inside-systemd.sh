#!/bin/bash
# Run by systemd in a clean root that was booted: what the unit of the packages promises.
set -euo pipefail
cd /test
export DEBIAN_FRONTEND=noninteractive

fail() {
  printf '%s\n' "$*"
  journalctl --no-pager -u 'loudcalc@*' | tail -n 60
  exit 1
}
quietly() { "$@" >log 2>&1 || { cat log; fail "$* failed"; }; }

expect() {
  [ "$2" = "$3" ] || fail "$1: $2 instead of $3"
}

# Waits for a condition. Arguments: seconds, what is waited for, a command that tests it.
within() {
  local end=$((SECONDS + $1)) what=$2
  shift 2
  until "$@" >/dev/null 2>&1; do
    [ "$SECONDS" -lt "$end" ] || fail "$what: not in time"
    sleep 0.1
  done
}

of_unit() { systemctl show --value -p "$1" "${2:-loudcalc@1}"; }
restarted() { [ "$(of_unit NRestarts)" = "$1" ] && [ "$(of_unit SubState)" = running ] && [ "$(of_unit MainPID)" != "$2" ]; }
status_line() { sed -n "s/^$2:[[:space:]]*//p" "/proc/$1/status"; }

quietly dpkg -i ./*.deb
cat >>/etc/default/loudcalc <<'END'
LOUDCALC_MAIN_BOARD_ADDRESS=127.0.0.1
LOUDCALC_OPTICAL_BOARD_ADDRESS=127.0.0.2
END

# The start returns once the service has said that it is ready, which its type waits for.
quietly systemctl enable --now loudcalc@1 loudcalc@2-1
expect "type" "$(of_unit Type)" notify
expect "state" "$(of_unit SubState)" running
first=$(of_unit MainPID)
expect "command line of loudcalc@2-1" "$(tr '\0' ' ' </proc/"$(of_unit MainPID loudcalc@2-1)"/cmdline)" \
  "/usr/bin/LoudCalc -s 1 -m 2 -c 1 "
echo "Ready notification, and instances by name."

# A user of its own while it runs, no privileges, a filter of system calls, and nothing that it may write to.
user=$(status_line "$first" Uid | cut -f 1)
[ "$user" -ge 61184 ] && [ "$user" -le 65519 ] || fail "user $user is none that systemd made for the time"
peers=$(getent group loudcalc-peers | cut -d: -f 3)
grep -qw "$peers" <<<"$(status_line "$first" Groups)" || fail "not in the group of the peers"
expect "capabilities" "$(status_line "$first" CapBnd)" 0000000000000000
expect "no new privileges" "$(status_line "$first" NoNewPrivs)" 1
expect "filter of system calls" "$(status_line "$first" Seccomp)" 2
in_its_view() { nsenter --target "$first" --mount -- "$@"; }
for folder in / /etc /usr /var /var/lib /opt /run /dev/shm /dev/mqueue; do
  said=$(in_its_view touch "$folder/trace" 2>&1) && fail "can write to $folder"
  grep -q 'Read-only file system' <<<"$said" || fail "$folder: $said"
done
expect "homes" "$(in_its_view ls -A /root /home 2>/dev/null | grep -v ':$' | tr -d '\n')" ""
in_its_view touch /run/shm/mq/trace || fail "cannot write to the directory of the sockets"
rm /run/shm/mq/trace
for publisher in Data State; do
  expect "rights of a socket" "$(stat -L -c '%a %u %G' "/run/shm/mq/ProbeLc1Loudness${publisher}Pub-m1c1.ipc")" \
    "660 $user loudcalc-peers"
done
echo "DynamicUser, rights, and a system that is read-only but for the sockets."

# The peers' sockets are for the group too.
export LOUDCALC_MAIN_BOARD_ADDRESS=127.0.0.1 LOUDCALC_OPTICAL_BOARD_ADDRESS=127.0.0.2
(umask 0117 && LoudDesk unit Front_Center.wav >unit.log 2>&1) || { cat unit.log; fail "the service does not measure"; }
grep -qE '^Maximum true peak +-[0-9]+[.][0-9]+ dBTP$' unit.log || { cat unit.log; fail "no figures"; }
echo "A recording measured."

kill -STOP "$first"
within 20 "restart by the watchdog" restarted 1 "$first"
journalctl --no-pager -u loudcalc@1 | grep -q 'Watchdog timeout' || fail "restarted, but not by the watchdog"
second=$(of_unit MainPID)
kill -KILL "$second"
within 20 "restart after a kill" restarted 2 "$second"
echo "Restart by the watchdog after SIGSTOP, and after SIGKILL."

# If it took too long, systemd would kill it and say so.
systemctl stop loudcalc@1
expect "state after SIGTERM" "$(of_unit SubState)" dead
expect "result of SIGTERM" "$(of_unit Result)" success
expect "status after SIGTERM" "$(of_unit ExecMainCode) $(of_unit ExecMainStatus)" "1 0"
systemctl start loudcalc@1
echo "SIGTERM within its time."

systemctl start loudcalc@2-9 >/dev/null 2>&1 && fail "loudcalc@2-9 started"
expect "status of loudcalc@2-9" "$(of_unit ExecMainStatus loudcalc@2-9)" 64
expect "state of loudcalc@2-9" "$(of_unit ActiveState loudcalc@2-9)" failed
systemctl reset-failed loudcalc@2-9

third=$(of_unit MainPID)
before=$(sha256sum </etc/default/loudcalc)
quietly dpkg --force-confdef -i newer/*.deb
within 10 "restart by the upgrade" restarted 0 "$third"
expect "settings after the upgrade" "$(sha256sum </etc/default/loudcalc)" "$before"
echo "Upgrade: the settings kept, the instances started again."

! journalctl --no-pager -b | grep -E 'loudcalc.*(Unknown|ignoring)' || fail "systemd has something to say of the files"

# The files of the peers stay.
rm -f /run/shm/mq/hwmProbeLuRawDataPub-1.ipc /run/shm/mq/loggerSinkMq.ipc
quietly dpkg --purge loudcalc loudcalc-desk
expect "state after the purge" "$(of_unit ActiveState)" inactive
! ls -l /proc/[0-9]*/exe 2>/dev/null | grep LoudCalc || fail "still running"
left=$(find /etc /run/shm/ /usr/lib/systemd /lib/systemd -name '*loudcalc*' -o -name 'mq')
expect "left by the purge" "$left" ""
! getent group loudcalc-peers || fail "the group is still there"
echo "Purged without a trace."
echo "All is well."
