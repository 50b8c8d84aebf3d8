#!/usr/bin/env bash
# Builds the GDF fuzz target (clang, libFuzzer, ASan, UBSan) into build/fuzz and
# runs it for a number of seconds: scripts/fuzz.sh [seconds, default 60]
#
# Installs clang and its sanitizer runtime when they are missing. Seeds are the
# GDF texts under tests/ and examples/ and the shared feeders (set
# FEEDWALK_SHARED to the folder that holds data/feeders; by default the
# repository's sibling ../shared). What libFuzzer learns is kept in
# build/fuzz/corpus for the next run.
#
# Exits non-zero on a finding (crash, sanitizer report, assertion stop, leak,
# time-out, memory blow-up); the input that caused it is left in
# build/fuzz/findings/ and replays with: build/fuzz/bin/gdf_fuzz <file>
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
seconds="${1:-60}"
shared="${FEEDWALK_SHARED:-$root/../shared}"
build="$root/build/fuzz"

install_clang() {
  "$root/scripts/install-deps.sh" clang
  local major
  major="$(clang --version | sed -n 's/.*clang version \([0-9]*\).*/\1/p' | head -n 1)"
  # libFuzzer and the sanitizer runtimes come in a package of their own.
  if ! echo 'int main(){}' | clang -x c - -fsanitize=fuzzer-no-link,address -o /dev/null 2>/dev/null; then
    "$root/scripts/install-deps.sh" "libclang-rt-${major}-dev"
  fi
}

# One seed per text: case files hold several, each starting at a "%==" line.
gather_seeds() {
  local seeds="$1" file n=0
  rm -rf "$seeds"
  mkdir -p "$seeds"
  for file in "$root"/tests/gdf/cases/*.gdf "$root"/tests/driver/cases/*.gdf "$root"/tests/driver/data/*.gdf \
              "$root"/examples/*.gdf "$shared"/data/feeders/*.gdf; do
    [ -f "$file" ] || continue
    # The tiled 40 MB feeder says nothing the smaller ones do not.
    [ "$(stat -c %s "$file")" -le 4194304 ] || continue
    n=$((n + 1))
    awk -v out="$seeds/seed$n" '/^%==/ { part++ } { print > (out "-" part+0 ".gdf") }' "$file"
  done
}

install_clang
cmake -S "$root/tests/fuzz" -B "$build" -G Ninja -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ >/dev/null
cmake --build "$build" --target gdf_fuzz

gather_seeds "$build/seeds"
mkdir -p "$build/corpus" "$build/findings"
echo "=== fuzzing the GDF reader for $seconds s; findings go to $build/findings/"
# Long lines and deep nesting need room: inputs up to 64 KB. The reader's own
# messages are closed away (-close_fd_mask=3); libFuzzer and the sanitizers
# keep theirs, and -verbosity=0 leaves out the line per new input.
if ! "$build/bin/gdf_fuzz" "$build/corpus" "$build/seeds" \
    -dict="$root/tests/fuzz/gdf.dict" -max_len=65536 -timeout=20 -rss_limit_mb=4096 \
    -max_total_time="$seconds" -close_fd_mask=3 -verbosity=0 -print_final_stats=1 \
    -artifact_prefix="$build/findings/"; then
  echo "=== fuzzing found a problem; its input: $build/findings/$(ls -t "$build/findings" | head -n 1)" >&2
  exit 1
fi
