#!/usr/bin/env bash
# Installs the Debian 12 packages that building and testing the toolkit need.
# Idempotent: does nothing when every package is already present.
set -euo pipefail

packages=(
  g++ cmake ninja-build make pkg-config
  flex bison
  libgtest-dev libgmock-dev libbenchmark-dev
  unixodbc unixodbc-dev odbc-postgresql libsqliteodbc sqlite3
  postgresql
  valgrind
  python3
)
packages+=("$@")

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
    missing+=("$p")
  fi
done

if [ ${#missing[@]} -eq 0 ]; then
  exit 0
fi

SUDO=""
if [ "$(id -u)" -ne 0 ]; then SUDO="sudo"; fi
export DEBIAN_FRONTEND=noninteractive
$SUDO apt-get update -q
$SUDO apt-get install -y --no-install-recommends "${missing[@]}"
