#!/usr/bin/env bash
# Configures the project with every combination of its switches, and the service alone, which looks
# for no library but its own two. Usage: configurations.sh CMAKE SOURCES
set -euo pipefail
cmake=$1
sources=$2
place=$(mktemp -d)
trap 'rm -rf "$place"' EXIT

configure() {
  "$cmake" -S "$sources" -B "$place/build" -G Ninja --fresh "$@" >"$place/log" 2>&1 ||
    { printf 'does not configure with %s\n' "$*"; cat "$place/log"; exit 1; }
}

for tools in ON OFF; do
  for tests in ON OFF; do
    for benchmarks in ON OFF; do
      configure -DLOUDCALC_BUILD_TOOLS=$tools -DLOUDCALC_BUILD_TESTS=$tests \
        -DLOUDCALC_BUILD_BENCHMARKS=$benchmarks
    done
  done
done

# The last one was the service alone. A package that was looked for leaves its place in the cache.
found=$(grep -oE '^[A-Za-z0-9_]+(_DIR:PATH|_FOUND:INTERNAL|_INCLUDE_DIR:PATH)=.+' "$place/build/CMakeCache.txt" |
  sed 's/_\(DIR\|FOUND\|INCLUDE_DIR\):.*//' | sort | paste -sd' ')
[ "$found" = "CZMQ RAPIDJSON" ] || { echo "the service alone wants: $found"; exit 1; }

# A preset of that kind is what a board's builder is told to use.
(cd "$sources" && "$cmake" --preset service -B "$place/service" >"$place/log" 2>&1) ||
  { cat "$place/log"; exit 1; }
for switch in TOOLS TESTS BENCHMARKS; do
  grep -q "^LOUDCALC_BUILD_$switch:BOOL=OFF" "$place/service/CMakeCache.txt" ||
    { echo "the preset builds $switch"; exit 1; }
done
