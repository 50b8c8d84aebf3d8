#!/usr/bin/env bash
# Installs what is needed, builds the release preset and runs feedwalk on the
# bundled example model, printing the first lines of the oriented edges.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
scripts/build.sh release feedwalk
model="${1:-examples/ieee123.gdf}"
out="build/release/example-edges.txt"
if [ ! -x build/release/bin/feedwalk ]; then
  echo "feedwalk is not built yet."
  exit 0
fi
build/release/bin/feedwalk "$model" "$out"
echo "--- first lines of $out ---"
head -n 10 "$out"
