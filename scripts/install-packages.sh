#!/usr/bin/env bash
# Installs those of the named Debian packages that are missing (apt-get, as root or through sudo).
# Waits for another apt run's lock instead of failing, as CI jobs may follow one another closely.
# Usage: scripts/install-packages.sh PACKAGE...
set -euo pipefail

missing=()
for p in "$@"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -eq 0 ]; then
  exit 0
fi

sudo=""
if [ "$(id -u)" -ne 0 ]; then sudo="sudo"; fi
echo "Installing: ${missing[*]}"
$sudo apt-get update -qq
DEBIAN_FRONTEND=noninteractive $sudo apt-get -o DPkg::Lock::Timeout=300 install -y -qq \
  --no-install-recommends "${missing[@]}"
