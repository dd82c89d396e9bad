#!/usr/bin/env bash
# Qt's standard options reach Qt: the window starts with -platform, -style and -stylesheet mixed
# into the program's own options and shows its first frame; an unknown option is still refused.
#   tests/window/qt_options.sh BUILD_BIN_DIR
set -euo pipefail
bin="$1"
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
printf 'REGEDIT4\n\n[HKEY_LOCAL_MACHINE\\HARDWARE\\DEVICEMAP\\SERIALCOMM]\n"\\\\Device\\\\TesSerial0"="COM3"\n' \
  >"$work/ports.reg"
"$bin/ketra-reg" --hive "$work/hive.db" import "$work/ports.reg"
echo 'QPushButton { color: red }' >"$work/look.qss"
frame="$(env -u DISPLAY -u WAYLAND_DISPLAY -u QT_QPA_PLATFORM "$bin/ketra" -platform offscreen \
  --hive "$work/hive.db" -style Windows --socket "$work/none.sock" --stylesheet="$work/look.qss" \
  --exit-after-first-frame)"
[[ "$frame" =~ ^first-frame\ [0-9]+$ ]] || { echo "FAIL: no first frame with Qt's options: $frame"; exit 1; }
if "$bin/ketra" --hive "$work/hive.db" -nosuchoption 2>/dev/null; then
  echo "FAIL: an unknown option was accepted"
  exit 1
fi
echo "ok   Qt's options accepted, an unknown one refused"
