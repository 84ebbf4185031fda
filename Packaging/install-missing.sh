#!/usr/bin/env bash
# Installs the Debian packages that a task needs and that are missing on this machine. Prints
# nothing if none is missing. With --list, only prints the packages that the task needs, one per
# line.
# For aarch64 it also creates build/aarch64-root, unless it exists: a root with the libraries that
# the build for the board links and loads. They need a separate root because libczmq-dev depends on
# libnss3-dev, which cannot be installed for two architectures side by side.
# Usage: install-missing.sh [--list]
#   service|desk|build|demo|package|cross-package|check|check-packages|docs|aarch64
set -euo pipefail

list=
if [ "${1:-}" = --list ]; then
  list=yes
  shift
fi

service=(g++ cmake ninja-build pkg-config libczmq-dev rapidjson-dev)
desk=("${service[@]}" libutfcpp-dev libavformat-dev libavcodec-dev libavutil-dev
      libcli11-dev libfmt-dev libncurses-dev libsodium-dev libsqlite3-dev libzstd-dev)
build=("${desk[@]}" libgnutls28-dev libmicrohttpd-dev prometheus-cpp-dev)
demo=(alsa-utils)
package=(dpkg-dev debhelper help2man)
cross_package=(dpkg-dev mmdebstrap)
check_packages=(lintian binutils mmdebstrap arch-test systemd-container iproute2 alsa-utils
                qemu-user-static)
check=(ccache clang clang-tidy cppcheck libclang-rt-dev llvm clang-format libgtest-dev libgmock-dev libbenchmark-dev
       nlohmann-json3-dev alsa-utils hex-a-hop-data sound-theme-freedesktop libsndfile1-dev ffmpeg
       flac lame opus-tools vorbis-tools wavpack libebur128-dev tmux libfaketime nftables
       valgrind iproute2 python3 python3-jsonschema python3-zmq systemd bash-completion xz-utils zstd
       curl openssl prometheus chromium chromium-driver
       libcli11-dev libfmt-dev libncurses-dev libsodium-dev libsqlite3-dev libzstd-dev libgnutls28-dev libmicrohttpd-dev
       prometheus-cpp-dev)
docs=(doxygen)
aarch64=(g++-aarch64-linux-gnu qemu-user-static mmdebstrap)

case "${1:-}" in
  service) wanted=("${service[@]}") ;;
  desk) wanted=("${desk[@]}") ;;
  build) wanted=("${build[@]}") ;;
  demo) wanted=("${build[@]}" "${demo[@]}") ;;
  docs) wanted=("${docs[@]}") ;;
  package) wanted=("${build[@]}" "${package[@]}") ;;
  cross-package) wanted=("${cross_package[@]}") ;;
  check-packages) wanted=("${build[@]}" "${package[@]}" "${check_packages[@]}") ;;
  check) wanted=("${build[@]}" "${check[@]}" "${docs[@]}") ;;
  aarch64) wanted=("${build[@]}" "${check[@]}" "${aarch64[@]}") ;;
  *)
    echo "usage: $0 [--list] service|desk|build|demo|package|cross-package|check|check-packages|docs|aarch64" >&2
    exit 2
    ;;
esac

if [ "$list" ]; then
  printf '%s\n' "${wanted[@]}"
  exit 0
fi

installed() { [ "$(dpkg-query -W -f='${db:Status-Status}' "$1" 2>/dev/null)" = installed ]; }

as_root() {
  if [ "$(id -u)" = 0 ]; then "$@"; else sudo "$@"; fi
}

log=$(mktemp)
trap 'rm -f "$log"' EXIT

# Runs a command and prints its output only if it fails.
quietly() {
  "$@" >"$log" 2>&1 || { cat "$log" >&2; exit 1; }
}

install_on_this_machine() {
  local package missing=()
  for package in "${wanted[@]}"; do
    installed "$package" || missing+=("$package")
  done
  [ ${#missing[@]} -gt 0 ] || return 0
  echo "Installing: ${missing[*]}"
  quietly as_root apt-get update -qq
  quietly as_root env DEBIAN_FRONTEND=noninteractive \
    apt-get install -y -qq --no-install-recommends "${missing[@]}"
}

# Packages that are linked and loaded. All other programs of a check run on this machine.
libraries_of_the_board() {
  printf '%s\n' libc6-dev libstdc++6 "${build[@]}" "${check[@]}" |
    grep -E -- '-dev$|^libstdc|^libfaketime$' | grep -v -x -e libclang-rt-dev -e libbenchmark-dev | paste -sd,
}

make_root_of_the_board() {
  local root packages suite
  root=$(cd "$(dirname "$0")/.." && pwd)/build/aarch64-root
  packages=$(libraries_of_the_board)
  [ "$(cat "$root/packages" 2>/dev/null)" != "$packages" ] || return 0
  echo "Making the root of the board: $packages"
  suite=$(. /etc/os-release && echo "$VERSION_CODENAME")
  mkdir -p "$root/.."
  as_root rm -rf "$root" "$root.new"
  quietly as_root mmdebstrap --variant=extract --architectures=arm64 --include="$packages" "$suite" "$root.new"
  as_root chown -R "$(id -u):$(id -g)" "$root.new"
  chmod 755 "$root.new"
  # The emulator looks up every file here first. Other folders would hide files of this machine.
  find "$root.new" -mindepth 1 -maxdepth 1 ! -name usr ! -name 'lib*' -exec rm -rf {} +
  # Absolute links would lead the linker out of this root.
  find "$root.new" -type l -lname '/*' -printf '%p %l\n' | while read -r link target; do
    ln -sfnr "$root.new$target" "$link"
  done
  echo "$packages" >"$root.new/packages"
  mv "$root.new" "$root"
}

install_on_this_machine
[ "$1" != aarch64 ] || make_root_of_the_board
