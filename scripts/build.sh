#!/usr/bin/env bash
# Configures and builds one preset: scripts/build.sh <release|debug|asan> [target...]
set -euo pipefail
cd "$(dirname "$0")/.."
preset="${1:-release}"
shift || true
cmake --preset "$preset" >/dev/null
if [ $# -gt 0 ]; then
  cmake --build --preset "$preset" --target "$@"
else
  cmake --build --preset "$preset"
fi
