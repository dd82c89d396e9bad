#!/usr/bin/env bash
# CI: the clang build (clang 14, warnings as errors, AddressSanitizer and UndefinedBehaviorSanitizer,
# libFuzzer coverage) with every test, then each fuzz target for a bounded time on its seeds.
# The window is not part of this build (see the clang preset): g++ builds it in the other jobs.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh
scripts/install-packages.sh clang-14 libclang-rt-14-dev
cmake --preset clang
cmake --build --preset clang -j "$(nproc)"
ctest --preset clang -j "$(nproc)"
bash fuzz/run.sh build-clang 20
