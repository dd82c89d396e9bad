#!/usr/bin/env bash
# Sets up, builds, starts the emulated driver with four ports on a local hive, then the panel.
# Everything stays under ./run/: the hive, the driver's control socket and the port links
# (run/ports/COM3 ... COM6, each a serial device a program can open).
set -euo pipefail
cd "$(dirname "$0")/.."
root="$PWD"

scripts/setup.sh
cmake --preset default >/dev/null
cmake --build --preset default -j "$(nproc)"

mkdir -p run/ports
export KETRA_HIVE="$root/run/hive.db"
export KETRA_VSPD_SOCKET="$root/run/vspd.sock"

build/bin/ketra-vspd run --hive "$KETRA_HIVE" --socket "$KETRA_VSPD_SOCKET" \
  --link-dir "$root/run/ports" --ports COM3,COM4,COM5,COM6 2>run/vspd.log &
vspd=$!
trap 'kill "$vspd" 2>/dev/null; wait "$vspd" 2>/dev/null || true' EXIT
# The driver has written its ports into the hive once its socket is there.
for _ in $(seq 50); do
  [ -S "$KETRA_VSPD_SOCKET" ] && break
  sleep 0.1
done

if [ -z "${DISPLAY:-}${WAYLAND_DISPLAY:-}" ] && [ -z "${QT_QPA_PLATFORM:-}" ]; then
  echo "No display found, so the window cannot open here."
  echo "The same panel runs without a screen in ketra-session, started here on the same driver"
  echo "and hive: type commands such as start, dump form, close (docs/session.md); Ctrl+D ends."
  echo "  build/bin/ketra-session --hive $KETRA_HIVE --driver system"
  build/bin/ketra-session --hive "$KETRA_HIVE" --driver system
  exit $?
fi
build/bin/ketra --hive "$KETRA_HIVE" --socket "$KETRA_VSPD_SOCKET"
