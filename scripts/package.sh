#!/usr/bin/env bash
# Builds the Debian package into dist/: dist/ketra_<version>_<arch>.deb (and its -dbgsym).
# The build tree is build-package/ (Release, prefix /usr); ccache shares objects with the others.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh
build_deps=(debhelper dpkg-dev scdoc systemd libsystemd-dev)
missing=()
for p in "${build_deps[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  sudo=""
  if [ "$(id -u)" -ne 0 ]; then sudo="sudo"; fi
  echo "Installing: ${missing[*]}"
  $sudo apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi
dpkg-checkbuilddeps

rm -rf dist debian/ketra debian/.debhelper debian/debhelper-build-stamp debian/files \
  debian/*.substvars debian/*.debhelper debian/*.debhelper.log
mkdir -p dist
# Rules-Requires-Root: no, so neither root nor fakeroot is needed. debhelper builds with one
# job unless told otherwise.
export DEB_BUILD_OPTIONS="parallel=$(nproc) ${DEB_BUILD_OPTIONS:-}"
debian/rules build
debian/rules binary
rm -rf debian/ketra debian/.debhelper debian/debhelper-build-stamp debian/files \
  debian/*.substvars debian/*.debhelper debian/*.debhelper.log
ls -l dist/
