#!/usr/bin/env bash
# Installs what the build, the tests and the benchmarks need on Debian 12,
# skipping what is already there. Safe to run again.
set -euo pipefail

packages=(cmake ninja-build g++ pkg-config libgtest-dev libgmock-dev libbenchmark-dev libeigen3-dev libfcl-dev
          libcli11-dev nlohmann-json3-dev libfmt-dev)
if [ "${ZOACTOR_WITH_CLANG:-0}" = "1" ]; then
  packages+=(clang libclang-rt-14-dev)
fi

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
    missing+=("$p")
  fi
done
[ ${#missing[@]} -eq 0 ] && exit 0

echo "Installing: ${missing[*]}"
sudo=""
if [ "$(id -u)" -ne 0 ]; then sudo="sudo"; fi
export DEBIAN_FRONTEND=noninteractive
if ! $sudo apt-get install -y --no-install-recommends "${missing[@]}"; then
  $sudo apt-get update
  $sudo apt-get install -y --no-install-recommends "${missing[@]}"
fi
