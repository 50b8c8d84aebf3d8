#!/usr/bin/env bash
# Runs feedwalk on a model under valgrind's memcheck and fails on any leak or
# memory error: scripts/valgrind-feedwalk.sh [feedwalk binary] [model.gdf]
set -euo pipefail
cd "$(dirname "$0")/.."
binary="${1:-build/release/bin/feedwalk}"
model="${2:-examples/ieee123.gdf}"
scratch="$(mktemp -d)"
trap 'rm -rf "$scratch"' EXIT
valgrind --leak-check=full --error-exitcode=1 --errors-for-leak-kinds=definite,indirect,possible \
  --quiet "$binary" "$model" "$scratch/edges.txt"
