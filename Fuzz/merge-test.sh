#!/usr/bin/env bash
# Tests the archives of `run --merge`, with a stand-in for a fuzzer that keeps every input.
# Usage: merge-test.sh FUZZ_FOLDER
set -euo pipefail
fuzz=$1
target=Utf8Fuzz
place=$(mktemp -d)
trap 'rm -rf "$place"' EXIT

fail() { echo "$*" >&2; exit 1; }

mkdir -p "$place/build/Fuzz/mined/$target" "$place/build/runs/$target.corpus" "$place/mined"
# Merges like libFuzzer: copies the contents of the other folders to the first one.
cat >"$place/build/Fuzz/$target" <<'FUZZER'
#!/usr/bin/env bash
folders=()
for argument; do [[ $argument == -* ]] || folders+=("$argument"); done
for folder in "${folders[@]:1}"; do cp "$folder"/* "${folders[0]}"; done
FUZZER
chmod +x "$place/build/Fuzz/$target"
echo old >"$place/build/Fuzz/mined/$target/0123"
echo new >"$place/build/runs/$target.corpus/4567"

merge() { LOUDCALC_FUZZ_MINED=$place/mined "$fuzz/run" --no-build --build-dir "$place/build" --merge "$target"; }

said=$(merge)
[ "$said" = "$target: 2 mined seeds" ] || fail "said: $said"
[ "$(tar -tf "$place/mined/$target.tar.xz" | paste -sd' ')" = "0123 4567" ] ||
  fail "packed: $(tar -tf "$place/mined/$target.tar.xz")"
first=$(sha256sum <"$place/mined/$target.tar.xz")
touch -d '2001-01-01' "$place/build/runs/$target.corpus/4567"
merge >/dev/null
[ "$first" = "$(sha256sum <"$place/mined/$target.tar.xz")" ] || fail "the same seeds make another archive"

rm -r "$place/build/Fuzz/mined/$target" "$place/build/runs/$target.corpus/4567"
cp "$fuzz/corpus/$target/ascii" "$place/build/runs/$target.corpus"
merge >/dev/null
[ ! -e "$place/mined/$target.tar.xz" ] || fail "an archive of nothing"
