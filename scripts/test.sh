#!/usr/bin/env bash
# Installs what is needed, fuzzes the GDF reader for 60 seconds, then builds and
# runs the whole test suite under the release and the asan presets. Exits
# non-zero on the first failure.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
jobs="$(nproc)"
echo "=== fuzz ==="
scripts/fuzz.sh 60
for preset in release asan; do
  echo "=== $preset ==="
  scripts/build.sh "$preset"
  ctest --preset "$preset" -j "$jobs"
done
