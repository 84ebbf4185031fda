#!/usr/bin/env bash
# Checks that all programs that the tests run come from packages that `./check` installs on a fresh machine. A
# machine that already has them all would not notice a missing package. Usage: needed-packages.sh SOURCES
set -euo pipefail
sources=$1
PATH=/usr/bin:/usr/sbin

needed=(bash ccache chromedriver chromium clang clang++ clang-format clang-tidy cppcheck curl doxygen ffmpeg flac g++
        ip lame nft oggenc openssl opusenc prometheus promtool python3 readelf setpriv systemd-analyze
        systemd-tmpfiles tar tmux valgrind wavpack xz zstd
        /usr/share/bash-completion/bash_completion
        /usr/lib/python3/dist-packages/jsonschema/__init__.py /usr/lib/python3/dist-packages/zmq/__init__.py)

# Every Debian machine has the essential packages; g++ brings binutils, and python3 its program.
installed_for_it=$("$sources/Packaging/install-missing.sh" --list check
                   dpkg-query -W -f='${Essential} ${Package}\n' | sed -n 's/^yes //p'
                   printf '%s\n' binutils python3-minimal)

# places NAME: where a package may have put it: some still name /bin, and a name may lead to a version's file.
places() {
  local path
  path=$(command -v "$1" || echo "$1")
  echo "$path" "${path#/usr}" "$(readlink -f "$path")"
}

read -ra all < <(for name in "${needed[@]}"; do places "$name"; done | paste -sd' ')
# "package: path" or "package:architecture: path", of those packages that the check installs.
held=$(dpkg-query -S "${all[@]}" 2>/dev/null | awk -F': ' '
  NR == FNR { wanted[$0]; next }
  { sub(/:.*/, "", $1) } $1 in wanted { print $2 }' <(echo "$installed_for_it") - || true)

missing=
for name in "${needed[@]}"; do
  read -ra its < <(places "$name")
  grep -qxFf <(printf '%s\n' "${its[@]}") <<<"$held" ||
    { echo "$name is in none of the packages that Packaging/install-missing.sh installs for ./check"; missing=yes; }
done
[ -z "$missing" ]
