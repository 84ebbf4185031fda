#!/bin/bash
# Runs in a clean root without systemd: installs the packages, starts the service and the gate by
# hand, upgrades and purges the packages.
set -euo pipefail
cd /test
export LOUDCALC_MAIN_BOARD_ADDRESS=127.0.0.1 LOUDCALC_OPTICAL_BOARD_ADDRESS=127.0.0.2
export DEBIAN_FRONTEND=noninteractive
mount -n -t tmpfs none /run  # -n: no table of mounts is written to /run

. ./inside-common.sh

fail() {
  printf '%s\n' "$*"
  tail -n 20 service.log gate.log 2>/dev/null
  exit 1
}

# Arguments: the name of what SIGTERM ends, its process.
expect_orderly_end() {
  local status=0
  kill -TERM "$2"
  wait "$2" || status=$?
  expect "status of $1" "$status" 0
}

quietly dpkg -i ./*.deb
expect "version" "$(LoudDesk --version)" "LoudDesk $(dpkg-query -W -f '${Version}' loudcalc-desk)"
expect "version" "$(LoudGate --version)" "LoudGate $(dpkg-query -W -f '${Version}' loudcalc-gate)"
expect "rights of the directory" "$(stat -c '%a %U:%G' /run/shm/mq)" "2770 root:loudcalc-peers"

# The recording's highest true peak is the same from the engine alone, through the service, over
# HTTP and in the record.
/usr/libexec/loudcalc/start 1 >service.log 2>&1 &
service=$!
mkdir -p /var/lib/loudgate  # as systemd would
LoudGate >gate.log 2>&1 &
gate=$!
measure_through_service
expect "true peak" "$peak" \
  "$(LoudDesk measure --format json Front_Center.wav | sed -nE 's/.*"MaxTruePeak":(-?[0-9.]+).*/\1/p')"
expect_figure_over_http 8128
expect_orderly_end "the gate" "$gate"
expect_closed_record
expect_orderly_end "the service" "$service"

# An upgrade keeps the settings, even if those of the new version differ. A removal also keeps them.
echo "LOUDCALC_OPTIONS=-i eth7" >>/etc/default/loudcalc
echo "LOUDGATE_OPTIONS=--name station.example" >>/etc/default/loudcalc-gate
settings() { cat /etc/default/loudcalc /etc/default/loudcalc-gate | sha256sum; }
before=$(settings)
record=$(sha256sum /var/lib/loudgate/*)
quietly dpkg --force-confdef -i newer/*.deb
expect "settings after the upgrade" "$(settings)" "$before"
case $(dpkg-query -W -f '${Version}' loudcalc) in
  *+newer) ;;
  *) fail "no upgrade" ;;
esac
expect "record after the upgrade" "$(sha256sum /var/lib/loudgate/*)" "$record"
quietly dpkg --remove loudcalc loudcalc-desk loudcalc-gate
for program in LoudCalc LoudDesk LoudGate; do
  [ ! -e "/usr/bin/$program" ] || fail "$program is not removed"
done
expect "settings after the removal" "$(settings)" "$before"
expect "record after the removal" "$(sha256sum /var/lib/loudgate/*)" "$record"

# The peers' files would keep the purge from removing their directory.
rm -f /run/shm/mq/hwmProbeLuRawDataPub-1.ipc /run/shm/mq/loggerSinkMq.ipc
quietly dpkg --purge loudcalc loudcalc-desk loudcalc-gate
[ -z "$(ls /etc/default/loudcalc* 2>/dev/null)" ] || fail "the settings are still there"
[ ! -e /var/lib/loudgate ] || fail "the record is still there"
[ ! -e /run/shm/mq ] || fail "still there: $(ls -A /run/shm/mq)"
! getent group loudcalc-peers || fail "the group is still there"
umount -n /run
