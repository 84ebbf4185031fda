#!/bin/bash
# Run in a clean root in which no systemd runs: the packages from their installation to their purge, and the
# service started by hand.
set -euo pipefail
cd /test
export LOUDCALC_MAIN_BOARD_ADDRESS=127.0.0.1 LOUDCALC_OPTICAL_BOARD_ADDRESS=127.0.0.2
export DEBIAN_FRONTEND=noninteractive
mount -n -t tmpfs none /run  # writes no table of mounts into it

fail() { printf '%s\n' "$*"; exit 1; }
quietly() { "$@" >log 2>&1 || { cat log; fail "$* failed"; }; }

expect() {
  [ "$2" = "$3" ] || fail "$1: $2 instead of $3"
}

quietly dpkg -i ./*.deb
expect "version" "$(LoudDesk --version)" "LoudDesk $(dpkg-query -W -f '${Version}' loudcalc-desk)"
expect "rights of the directory" "$(stat -c '%a %U:%G' /run/shm/mq)" "2770 root:loudcalc-peers"

# The recording's highest true peak, by the engine alone and through the service.
/usr/libexec/loudcalc/start 1 >service.log 2>&1 &
service=$!
LoudDesk unit Front_Center.wav >unit.log 2>&1 || { cat unit.log service.log; fail "the service does not measure"; }
peak=$(LoudDesk measure --format json Front_Center.wav | sed -nE 's/.*"MaxTruePeak":(-?[0-9.]+).*/\1/p')
[ -n "$peak" ] || fail "the desk tool does not measure"
expect "true peak" "$(sed -nE 's/^Maximum true peak +(-?[0-9.]+) dBTP$/\1/p' unit.log)" "$peak"
kill -TERM "$service"
status=0
wait "$service" || status=$?
expect "status of the service" "$status" 0

# An upgrade keeps the settings, whether or not those of the new version differ; so does a removal.
echo "LOUDCALC_OPTIONS=-i eth7" >>/etc/default/loudcalc
before=$(sha256sum </etc/default/loudcalc)
quietly dpkg --force-confdef -i newer/*.deb
expect "settings after the upgrade" "$(sha256sum </etc/default/loudcalc)" "$before"
case $(dpkg-query -W -f '${Version}' loudcalc) in
  *+newer) ;;
  *) fail "no upgrade" ;;
esac
quietly dpkg --remove loudcalc loudcalc-desk
[ ! -e /usr/bin/LoudCalc ] || fail "not removed"
expect "settings after the removal" "$(sha256sum </etc/default/loudcalc)" "$before"

# The files of the peers stay.
rm -f /run/shm/mq/hwmProbeLuRawDataPub-1.ipc /run/shm/mq/loggerSinkMq.ipc
quietly dpkg --purge loudcalc loudcalc-desk
[ ! -e /etc/default/loudcalc ] || fail "the settings are still there"
[ ! -e /run/shm/mq ] || fail "still there: $(ls -A /run/shm/mq)"
! getent group loudcalc-peers || fail "the group is still there"
umount -n /run
