#!/usr/bin/env bash
# Configures the project with every combination of its switches. Builds each switch on its own, the tools without the
# gate, which must then need none of its libraries, and the service alone, which must look for no libraries but its own
# two and must compile nothing when it is configured again. Objects that the build under test has compiled with the
# same command are reused; everything is linked.
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

# Configures and builds again, like ./demo and ./check, which always configure. Nothing may be compiled.
expect_nothing_new() {
  "$cmake" "$place/build" >"$place/log" 2>&1 || fail "does not configure again"
  "$cmake" --build "$place/build" >"$place/log" 2>&1 || fail "does not build again"
  ! grep -q ' Building ' "$place/log" || fail "compiles again after a second configuration"
}

# The packages that CMake looked for. Each leaves its path in the cache.
packages() {
  grep -oE '^[A-Za-z0-9_]+(_DIR:PATH|_FOUND:INTERNAL|_INCLUDE_DIR:PATH)=.+' "$place/build/CMakeCache.txt" |
    sed 's/_\(DIR\|FOUND\|INCLUDE_DIR\):.*//' | sort
}

# Switches: tools, gate, tests, benchmarks.
for switches in {ON,OFF}\ {ON,OFF}\ {ON,OFF}\ {ON,OFF}; do
  read -r tools gate tests benchmarks <<<"$switches"
  configure "-DLOUDCALC_BUILD_TOOLS=$tools" "-DLOUDCALC_BUILD_GATE=$gate" "-DLOUDCALC_BUILD_TESTS=$tests" \
    "-DLOUDCALC_BUILD_BENCHMARKS=$benchmarks"
  case $switches in
    "ON ON OFF OFF") packages >"$place/of-gate"; build "the tools" ;;
    "ON OFF OFF OFF") packages >"$place/of-desk"; build "the tools without the gate" ;;
    "OFF OFF ON OFF") build "the tests" ;;
    "OFF OFF OFF ON") build "the benchmarks" ;;
    "OFF OFF OFF OFF") packages >"$place/of-service"; build "the service alone"; expect_nothing_new ;;
  esac
done
of_gate_alone=$(comm -23 "$place/of-gate" "$place/of-desk")
for package in MICROHTTPD PROMETHEUS; do
  grep -qx $package <<<"$of_gate_alone" || { echo "the desk tool also needs $package"; exit 1; }
done
[ "$(paste -sd' ' "$place/of-service")" = "CZMQ RAPIDJSON" ] ||
  { echo "the service alone needs:" $(cat "$place/of-service"); exit 1; }

# Checks the presets for a board and for a desk. Arguments: the preset, the switches that it turns off.
expect_preset() {
  local switch
  (cd "$sources" && "$cmake" --preset "$1" -B "$place/$1" >"$place/log" 2>&1) ||
    fail "the preset $1 does not configure"
  for switch in "${@:2}"; do
    grep -q "^LOUDCALC_BUILD_$switch:BOOL=OFF" "$place/$1/CMakeCache.txt" ||
      { echo "the preset $1 builds $switch"; exit 1; }
  done
}
expect_preset service TOOLS TESTS BENCHMARKS
expect_preset desk GATE TESTS BENCHMARKS
