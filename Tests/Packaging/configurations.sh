#!/usr/bin/env bash
# Configures the project with every combination of its switches, and builds each switch on its own and
# the service alone, which looks for no library but its own two. What the build under test has compiled
# with the same command is not compiled again; everything is linked.
# Usage: configurations.sh CMAKE SOURCES BUILD
set -euo pipefail
cmake=$1
sources=$2
tested=$3
here=$(cd "$(dirname "$0")" && pwd)
place=$(mktemp -d)
trap 'rm -rf "$place"' EXIT

# A setting of the build under test.
cached() { sed -n "s/^$1:[A-Z]*=//p" "$tested/CMakeCache.txt"; }
settings=(-DCMAKE_CXX_COMPILER_LAUNCHER="$here/take-object.sh" -DCMAKE_EXPORT_COMPILE_COMMANDS=ON
  -DCMAKE_GTEST_DISCOVER_TESTS_DISCOVERY_MODE=PRE_TEST)
for variable in CMAKE_CXX_COMPILER CMAKE_BUILD_TYPE CMAKE_CXX_FLAGS CMAKE_COMPILE_WARNING_AS_ERROR LOUDCALC_SANITIZERS; do
  settings+=("-D$variable=$(cached "$variable")")
done

fail() { printf '%s\n' "$1"; cat "$place/log"; exit 1; }

configure() {
  "$cmake" -S "$sources" -B "$place/build" -G Ninja --fresh "${settings[@]}" "$@" >"$place/log" 2>&1 ||
    fail "does not configure with $*"
}

build() {
  "$here/made-objects.py" "$tested" "$place/build"
  "$cmake" --build "$place/build" --parallel 2 >"$place/log" 2>&1 || fail "does not build with $1"
}

for tools in ON OFF; do
  for tests in ON OFF; do
    for benchmarks in ON OFF; do
      switches="-DLOUDCALC_BUILD_TOOLS=$tools -DLOUDCALC_BUILD_TESTS=$tests -DLOUDCALC_BUILD_BENCHMARKS=$benchmarks"
      # shellcheck disable=SC2086
      configure $switches
      case $tools$tests$benchmarks in ONOFFOFF | OFFONOFF | OFFOFFON | OFFOFFOFF) build "$switches" ;; esac
    done
  done
done

# The last one was the service alone. Every package that was looked for leaves its path in the cache.
found=$(grep -oE '^[A-Za-z0-9_]+(_DIR:PATH|_FOUND:INTERNAL|_INCLUDE_DIR:PATH)=.+' "$place/build/CMakeCache.txt" |
  sed 's/_\(DIR\|FOUND\|INCLUDE_DIR\):.*//' | sort | paste -sd' ')
[ "$found" = "CZMQ RAPIDJSON" ] || { echo "the service alone wants: $found"; exit 1; }

# Who builds for a board is told to use the preset for that.
(cd "$sources" && "$cmake" --preset service -B "$place/service" >"$place/log" 2>&1) ||
  fail "the preset does not configure"
for switch in TOOLS TESTS BENCHMARKS; do
  grep -q "^LOUDCALC_BUILD_$switch:BOOL=OFF" "$place/service/CMakeCache.txt" ||
    { echo "the preset builds $switch"; exit 1; }
done
