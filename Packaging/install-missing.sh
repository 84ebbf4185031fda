#!/usr/bin/env bash
# Installs the Debian packages that a task needs and this machine lacks; prints nothing if none is missing.
# With --list it only prints what the task needs, one package a line.
# Usage: install-missing.sh [--list] service|build|demo|package|cross-package|check|check-packages|docs
set -euo pipefail

list=
if [ "${1:-}" = --list ]; then
  list=yes
  shift
fi

service=(g++ cmake ninja-build pkg-config libczmq-dev rapidjson-dev)
build=("${service[@]}" libutfcpp-dev libavformat-dev libavcodec-dev libswresample-dev libavutil-dev
       libcli11-dev libfmt-dev libncurses-dev libsodium-dev)
demo=(alsa-utils)
package=(dpkg-dev debhelper help2man)
cross_package=(dpkg-dev mmdebstrap)
check_packages=(lintian binutils mmdebstrap arch-test systemd-container iproute2 alsa-utils
                qemu-user-static)
check=(clang clang-tidy cppcheck libclang-rt-dev llvm clang-format libgtest-dev libgmock-dev libbenchmark-dev
       nlohmann-json3-dev alsa-utils hex-a-hop-data sound-theme-freedesktop libsndfile1-dev ffmpeg
       flac lame opus-tools vorbis-tools wavpack libebur128-dev tmux libfaketime nftables
       valgrind iproute2 python3 python3-jsonschema systemd bash-completion xz-utils)
docs=(doxygen)

case "${1:-}" in
  service) wanted=("${service[@]}") ;;
  build) wanted=("${build[@]}") ;;
  demo) wanted=("${build[@]}" "${demo[@]}") ;;
  docs) wanted=("${docs[@]}") ;;
  package) wanted=("${build[@]}" "${package[@]}") ;;
  cross-package) wanted=("${cross_package[@]}") ;;
  check-packages) wanted=("${build[@]}" "${package[@]}" "${check_packages[@]}") ;;
  check) wanted=("${build[@]}" "${check[@]}" "${docs[@]}") ;;
  *) echo "usage: $0 [--list] service|build|demo|package|cross-package|check|check-packages|docs" >&2; exit 2 ;;
esac

if [ "$list" ]; then
  printf '%s\n' "${wanted[@]}"
  exit 0
fi

installed() { [ "$(dpkg-query -W -f='${db:Status-Status}' "$1" 2>/dev/null)" = installed ]; }

as_root() {
  if [ "$(id -u)" = 0 ]; then "$@"; else sudo "$@"; fi
}

missing=()
for package in "${wanted[@]}"; do
  installed "$package" || missing+=("$package")
done
[ ${#missing[@]} -gt 0 ] || exit 0

echo "Installing: ${missing[*]}"
log=$(mktemp)
trap 'rm -f "$log"' EXIT
install() {
  as_root apt-get update -qq &&
    as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}"
}
if ! install >"$log" 2>&1; then
  cat "$log" >&2
  exit 1
fi
