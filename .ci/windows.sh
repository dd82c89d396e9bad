#!/usr/bin/env bash
# CI: the Windows build. Cross-builds ketra-session.exe, ketra-reg.exe and the unit tests with
# Debian's mingw-w64, then runs under Wine (CTest's emulator) the unit tests that need no POSIX
# and every end-to-end session script of tests/session/, each on a copy of one prepared prefix
# with its wineserver of its own, against the system registry. Last it packs the user's zip.
set -euo pipefail
cd "$(dirname "$0")/.."

packages=(
  cmake ninja-build python3 zip
  g++-mingw-w64-x86-64-posix wine64
  nlohmann-json3-dev libcli11-dev libgtest-dev libgmock-dev
)
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

# Console programs only: no display, no Wine dialogs (no Mono or Gecko installer), no debug chatter.
unset DISPLAY WAYLAND_DISPLAY
export WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml="

cmake --preset windows
cmake --build --preset windows -j "$(nproc)"
ctest --preset windows -j "$(nproc)"
scripts/windows-zip.sh build-windows
