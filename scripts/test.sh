#!/usr/bin/env bash
# Builds and runs the test suite. The optional argument names the preset:
# default (optimised, assertions on), asan (AddressSanitizer + UBSan) or
# scalar (the SIMD code on its scalar path).
set -euo pipefail
cd "$(dirname "$0")/.."
preset="${1:-default}"
scripts/setup.sh
cmake --preset "$preset"
cmake --build --preset "$preset"
ctest --preset "$preset"
