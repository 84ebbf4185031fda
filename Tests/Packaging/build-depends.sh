#!/usr/bin/env bash
# Checks that debian/control lists exactly the packages that ./package installs. Usage: build-depends.sh SOURCES
set -euo pipefail
sources=$1

# debian/control does not list packages that every Debian build has.
essential='^(g\+\+|dpkg-dev)$'
installed=$("$sources/Packaging/install-missing.sh" --list package | grep -vE "$essential" | sort -u)
listed=$(sed -n '/^Build-Depends:/,/^$/s/^ \([^ ,]*\).*/\1/p' "$sources/debian/control" |
  sed 's/^debhelper-compat$/debhelper/' | sort -u)
[ -n "$listed" ] || { echo "debian/control lists nothing"; exit 1; }
diff <(echo "$installed") <(echo "$listed") ||
  { echo "left: what Packaging/install-missing.sh installs for ./package; right: Build-Depends"; exit 1; }
