#!/usr/bin/env bash
# Takes a picture of each tab page of the window for the README: starts build/bin/ketra under a
# virtual X server (scripts/with-x-server.sh) on a temporary hive with three ports, and lets it save
# docs/screenshot-config.png, docs/screenshot-status.png and docs/screenshot-focus.png (the focus
# on an option button). Builds nothing: run the build first.
#
#   scripts/screenshots.sh [BUILD_DIR]     (default: build)
set -euo pipefail

root="$(cd "$(dirname "$0")/.." && pwd)"
build="${1:-$root/build}"
ketra="$build/bin/ketra"
ketra_reg="$build/bin/ketra-reg"
for tool in "$ketra" "$ketra_reg"; do
  [[ -x "$tool" ]] || { echo "screenshots: $tool is missing; build first" >&2; exit 1; }
done
command -v Xvfb >/dev/null || { echo "screenshots: Xvfb is not installed" >&2; exit 1; }

work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT

cat >"$work/ports.reg" <<'REG'
REGEDIT4

[HKEY_LOCAL_MACHINE\HARDWARE\DEVICEMAP\SERIALCOMM]
"\\Device\\TesSerial0"="COM3"
"\\Device\\TesSerial1"="COM4"
"\\Device\\TesSerial2"="COM5"
REG
"$ketra_reg" --hive "$work/hive.db" import "$work/ports.reg"

# 96 DPI, the screen the layout's pixel sizes are reckoned for.
"$root/scripts/with-x-server.sh" -s "-screen 0 1024x768x24 -dpi 96" \
  "$ketra" --hive "$work/hive.db" --socket "$work/no-daemon.sock" --screenshot-dir "$root/docs"
