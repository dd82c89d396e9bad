#!/usr/bin/env bash
# CI: the clang build (clang 14, warnings as errors, AddressSanitizer and UndefinedBehaviorSanitizer,
# libFuzzer coverage) with every test, then each fuzz target for a bounded time on its seeds.
# The window is not part of this build (see the clang preset): g++ builds it in the other jobs.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh
packages=(clang-14 libclang-rt-14-dev)
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  sudo=""
  if [ "$(id -u)" -ne 0 ]; then sudo="sudo"; fi
  $sudo apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi
cmake --preset clang
cmake --build --preset clang -j "$(nproc)"
ctest --preset clang -j "$(nproc)"
bash fuzz/run.sh build-clang 20
