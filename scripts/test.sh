#!/usr/bin/env bash
# Sets up, builds and runs every test. `scripts/test.sh asan` does the same under
# AddressSanitizer and UndefinedBehaviorSanitizer.
set -euo pipefail
cd "$(dirname "$0")/.."
preset="${1:-default}"

scripts/setup.sh
cmake --preset "$preset"
cmake --build --preset "$preset" -j "$(nproc)"
ctest --preset "$preset" -j "$(nproc)"
