#!/usr/bin/env bash
# Builds the library and the zoactor tool, and runs its demo: the demo actor
# saved to a fresh folder, loaded back and queried.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh
cmake --preset default >/dev/null
cmake --build --preset default --target zoactor_tool
exec build/default/tools/zoactor/zoactor demo
