#!/usr/bin/env bash
# Installs the Debian packages the project builds, tests and runs with, when any is missing.
set -euo pipefail

packages=(
  cmake ninja-build g++ pkg-config
  libsqlite3-dev nlohmann-json3-dev libcli11-dev
  libgtest-dev libbenchmark-dev
  qt6-base-dev libgl-dev
  fonts-liberation python3 socat xvfb xauth ccache
  dbus-daemon dbus-bin at-spi2-core python3-pyatspi
  libsystemd-dev python3-serial
)

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -eq 0 ]; then
  exit 0
fi

sudo=""
if [ "$(id -u)" -ne 0 ]; then sudo="sudo"; fi
echo "Installing: ${missing[*]}"
$sudo apt-get update -qq
DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
