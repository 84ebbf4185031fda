#!/usr/bin/env bash
# Installs the packages in a clean Debian root, runs them and removes them, first without systemd
# and then in a booted container with it. Needs root. Usage: packages.sh SOURCES ARCHITECTURE
set -euo pipefail
sources=$1
architecture=$2
here=$(cd "$(dirname "$0")" && pwd)
packages=$sources/build/packages
recording=/usr/share/sounds/alsa/Front_Center.wav
place=$(mktemp -d)
formats=/proc/sys/fs/binfmt_misc
registered=
mounted=
tidy_up() {
  [ -z "$registered" ] || echo -1 >"$formats/qemu-aarch64"
  [ -z "$mounted" ] || umount "$formats"
  rm -rf --one-file-system "$place"
}
trap tidy_up EXIT

. "$here/inside-common.sh"

fail() { printf '%s\n' "$*"; exit 1; }

leave_out() {
  echo "LEFT OUT: $*"
  exit 0
}

# QEMU runs programs for the board's processor. It must be registered with the kernel.
let_emulator_run() {
  if [ ! -e "$formats/register" ]; then
    mount -t binfmt_misc none "$formats" ||
      leave_out "the packages in a clean root, because this machine's kernel does not support the emulator."
    mounted=yes
  fi
  if [ ! -e "$formats/qemu-aarch64" ]; then
    cat /usr/lib/binfmt.d/qemu-aarch64.conf >"$formats/register"
    registered=yes
  fi
}

# Debian's minimal system with the packages' dependencies, curl to read from the gate, and the
# programs that the manual's commands need.
make_root() {
  local needed= package
  for package in "$packages"/loudcalc{,-desk,-gate}_*"_$architecture.deb"; do
    needed+=", $(dpkg-deb -f "$package" Depends | sed 's/\bloudcalc, //')"
  done
  mmdebstrap --quiet --variant=minbase --architectures="$architecture" --include=systemd-sysv,curl,openssl,sudo \
    --customize-hook="chroot \"\$1\" apt-get satisfy -y -qq --no-install-recommends '${needed#, }'" \
    "$(. /etc/os-release && echo "$VERSION_CODENAME")" "$place/clean" >"$place/log" 2>&1 ||
    { cat "$place/log"; fail "no clean root"; }
}

# Copies the packages, the same packages with a higher version and changed settings files, and a
# recording.
put_in() {
  local package settings
  mkdir -p "$1/test/newer"
  cp "$packages"/loudcalc{,-desk,-gate}_*"_$architecture.deb" "$recording" "$here"/inside-*.sh \
    "$sources/Docs/OPERATIONS.md" "$1/test/"
  for package in "$1"/test/*.deb; do
    dpkg-deb -R "$package" "$place/repack"
    sed -i 's/^Version: .*/&+newer/' "$place/repack/DEBIAN/control"
    for settings in "$place"/repack/etc/default/*; do
      [ ! -f "$settings" ] || echo "# Of the newer version." >>"$settings"
    done
    dpkg-deb -b "$place/repack" "$1/test/newer/${package##*/}" >/dev/null
    rm -rf "$place/repack"
  done
}

# Separate namespaces keep the service's addresses free.
in_root() {
  unshare --net --mount --pid --fork --mount-proc="$place/$1/proc" sh -c \
    'ip link set lo up && mount --bind /dev "$0/dev" && exec chroot "$0" "$@"' "$place/$1" "${@:2}"
}

without_systemd() {
  cp -a "$place/clean" "$place/plain"
  put_in "$place/plain"
  files_of "$place/plain" >"$place/before"
  in_root plain /test/inside-plain.sh || fail "not well in a clean root without systemd"
  files_of "$place/plain" >"$place/after"
  diff "$place/before" "$place/after" || fail "purge leaves that behind"
  echo "Installed, started by hand, measured, read over HTTP, upgraded and purged without a trace" \
    "in a clean $architecture root."
}

under_systemd() {
  mv "$place/clean" "$place/booted"
  put_in "$place/booted"
  mkdir -p "$place/booted/etc/systemd/system/multi-user.target.wants"
  cat >"$place/booted/etc/systemd/system/inside.service" <<'END'
[Unit]
After=basic.target
[Service]
Type=oneshot
ExecStart=/test/inside-systemd.sh
ExecStopPost=/bin/systemctl --no-block start poweroff.target
StandardOutput=append:/test/report
StandardError=inherit
END
  ln -s ../inside.service "$place/booted/etc/systemd/system/multi-user.target.wants/"
  timeout 300 systemd-nspawn --quiet -D "$place/booted" --register=no --keep-unit --private-network -b \
    </dev/null >"$place/console" 2>&1 || true
  if [ ! -e "$place/booted/test/report" ]; then
    tail -n 20 "$place/console"
    leave_out "the service under systemd, since this machine boots no container. See the lines above."
  fi
  cat "$place/booted/test/report"
  grep -qx "All is well." "$place/booted/test/report" || fail "not well under systemd"
}

unshare --net --mount --pid --fork true ||
  leave_out "the packages in a clean root, since this machine allows no namespaces."
[ "$architecture" = "$(dpkg --print-architecture)" ] || let_emulator_run
make_root
without_systemd
[ "$architecture" = "$(dpkg --print-architecture)" ] ||
  leave_out "the service under systemd, which QEMU cannot boot as a user's program."
under_systemd
