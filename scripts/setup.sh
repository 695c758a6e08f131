#!/usr/bin/env bash
# Installs what the build, the tests and the benchmarks need on Debian 12,
# skipping what is already there. Safe to run again.
# - Debian packages: the compiler and build tools, the test and benchmark
#   libraries, the tool's libraries (CLI11, nlohmann-json, fmt, tinygltf),
#   and Chromium for the viewer's browser test.
# - Node and npm from Debian, only when `node` or `npm` is missing (a
#   machine may have them from elsewhere).
# - The viewer's npm packages (three.js, the glTF validator, playwright-core
#   to drive Debian's Chromium) with `npm ci` on the committed lock file,
#   again only when the lock file changed since the last install.
set -euo pipefail
cd "$(dirname "$0")/.."

packages=(cmake ninja-build g++ pkg-config libgtest-dev libgmock-dev libbenchmark-dev libeigen3-dev libfcl-dev
          libcli11-dev nlohmann-json3-dev libfmt-dev libtinygltf-dev chromium)
if [ "${ZOACTOR_WITH_CLANG:-0}" = "1" ]; then
  packages+=(clang libclang-rt-14-dev)
fi
command -v node >/dev/null 2>&1 || packages+=(nodejs)
command -v npm >/dev/null 2>&1 || packages+=(npm)

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
    missing+=("$p")
  fi
done

if [ ${#missing[@]} -gt 0 ]; then
  echo "Installing: ${missing[*]}"
  sudo=""
  if [ "$(id -u)" -ne 0 ]; then sudo="sudo"; fi
  export DEBIAN_FRONTEND=noninteractive
  if ! $sudo apt-get install -y --no-install-recommends "${missing[@]}"; then
    $sudo apt-get update
    $sudo apt-get install -y --no-install-recommends "${missing[@]}"
  fi
fi

# The viewer's npm packages. The stamp is a copy of the lock file that was
# installed; no browser is ever downloaded (the tests use /usr/bin/chromium).
viewer=tools/viewer
stamp=$viewer/node_modules/.zoactor-installed-lock.json
if ! cmp -s "$viewer/package-lock.json" "$stamp"; then
  echo "Installing the viewer's npm packages (npm ci in $viewer)"
  (cd "$viewer" && PLAYWRIGHT_SKIP_BROWSER_DOWNLOAD=1 npm ci --no-audit --no-fund)
  cp "$viewer/package-lock.json" "$stamp"
fi
