#!/usr/bin/env bash
# Runs feedwalk on a model under valgrind's memcheck and fails on any leak or
# memory error: scripts/valgrind-feedwalk.sh [feedwalk binary] [model.gdf]
# (by default the release build and examples/ieee123.gdf).
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
binary="${1:-$root/build/release/bin/feedwalk}"
model="${2:-$root/examples/ieee123.gdf}"
scratch="$(mktemp -d)"
trap 'rm -rf "$scratch"' EXIT
valgrind --leak-check=full --error-exitcode=1 --errors-for-leak-kinds=definite,indirect,possible \
  --quiet "$binary" "$model" "$scratch/edges.txt"
