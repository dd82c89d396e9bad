#!/usr/bin/env bash
# CI: the Windows build. Cross-builds ketra.exe, ketra-session.exe, ketra-reg.exe and the unit
# tests with Debian's mingw-w64, then runs under Wine (CTest's emulator) the unit tests that need
# no POSIX and every end-to-end session script of tests/session/, each on a copy of one prepared
# prefix with its wineserver of its own, against the system registry; and the window itself
# under a virtual X server of its own (window.win32_steps), driven by tests/win32's table against
# ketra-session.exe. Last it packs the user's zip and builds the installer, and installs,
# upgrades and uninstalls it under Wine.
set -euo pipefail
cd "$(dirname "$0")/.."

packages=(
  cmake ninja-build python3 zip
  g++-mingw-w64-x86-64-posix wine64
  nlohmann-json3-dev libcli11-dev libgtest-dev libgmock-dev
  # The window's test: a virtual X server of its own (scripts/with-x-server.sh). It reads the
  # screen through Win32 itself, so no X tools are needed.
  xvfb
  # The installer: msitools' wixl builds the .msi on Linux.
  wixl msitools
)
scripts/install-packages.sh "${packages[@]}"

# No display: the console programs need none, and the window's test starts an X server of its
# own through scripts/with-x-server.sh. No Wine dialogs (no Mono or Gecko installer), no debug chatter.
unset DISPLAY WAYLAND_DISPLAY
export WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml="

cmake --preset windows
cmake --build --preset windows -j "$(nproc)"
ctest --preset windows -j "$(nproc)"
scripts/windows-zip.sh build-windows

# The installer, installed, upgraded in place by a newer package and uninstalled under Wine.
msi=$(scripts/windows-installer.sh build-windows)
version=$(basename "$msi" | sed 's/^ketra-\(.*\)-x64\.msi$/\1/')
newer=$(KETRA_MSI_VERSION=$(awk -F. -v OFS=. '{ $NF += 1; print }' <<<"$version") \
        scripts/windows-installer.sh build-windows)
scripts/with-x-server.sh tests/win32/msi_test.sh build-windows "$msi" "$newer"
rm -f "$newer"
