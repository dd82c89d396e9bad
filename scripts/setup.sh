#!/usr/bin/env bash
# Installs the Debian packages the project builds, tests and runs with, when any is missing.
set -euo pipefail

packages=(
  cmake ninja-build g++ pkg-config
  libsqlite3-dev nlohmann-json3-dev libcli11-dev
  libgtest-dev libbenchmark-dev
  qt6-base-dev libgl-dev libfontconfig-dev
  fonts-dejavu-core fonts-liberation python3 socat xvfb ccache
  dbus-daemon dbus-bin at-spi2-core python3-pyatspi xdotool
  libsystemd-dev python3-serial
  tshark prometheus
)

exec "$(dirname "$0")/install-packages.sh" "${packages[@]}"
