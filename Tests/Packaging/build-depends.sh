#!/usr/bin/env bash
# The Debian packages are built with what ./package installs, no more and no less. Usage: build-depends.sh SOURCES
set -euo pipefail
sources=$1

# What every Debian build has is not listed in debian/control.
essential='^(g\+\+|dpkg-dev)$'
installed=$("$sources/Packaging/install-missing.sh" --list package | grep -vE "$essential" | sort -u)
listed=$(sed -n '/^Build-Depends:/,/^$/s/^ \([^ ,]*\).*/\1/p' "$sources/debian/control" |
  sed 's/^debhelper-compat$/debhelper/' | sort -u)
[ -n "$listed" ] || { echo "debian/control lists nothing"; exit 1; }
diff <(echo "$installed") <(echo "$listed") ||
  { echo "left: what Packaging/install-missing.sh installs for ./package; right: Build-Depends"; exit 1; }
