#!/usr/bin/env bash
# Builds the Windows installer dist/ketra-<version>-x64.msi on Linux with msitools' wixl, from
# packaging/windows/ketra.wxs and the programs of the Windows build: ketra.exe, ketra-session.exe
# and ketra-reg.exe, and the program's icon. Run after `cmake --build --preset windows`.
#   scripts/windows-installer.sh [BUILD_DIR]       (default build-windows)
# KETRA_MSI_VERSION overrides the version (the upgrade test builds a newer package with it).
set -euo pipefail
cd "$(dirname "$0")/.."
build="${1:-build-windows}"
version="${KETRA_MSI_VERSION:-$(sed -n 's/^project(ketra VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)}"
for program in ketra ketra-session ketra-reg; do
  if [ ! -f "$build/bin/$program.exe" ]; then
    echo "windows-installer: $build/bin/$program.exe is missing: build the windows preset first" >&2
    exit 1
  fi
done
mkdir -p dist
out="dist/ketra-${version}-x64.msi"
icon="$build/window/win32/ketra.ico"  # drawn by the build (packaging/windows/make_icon.py)
[ -f "$icon" ] || { echo "windows-installer: $icon is missing: build the windows preset first" >&2; exit 1; }
wixl --arch x64 -D Version="$version" -D Bin="$build/bin" -D Icon="$icon" -o "$out" packaging/windows/ketra.wxs
echo "$out"
