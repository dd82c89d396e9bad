#!/usr/bin/env bash
# Runs read_window_tree.py in a D-Bus session of its own under a virtual X server, with
# Debian's python3 (python3-pyatspi is a Debian package).
#   tests/atspi/run_atspi.sh BUILD_BIN_DIR
set -euo pipefail
here="$(cd "$(dirname "$0")" && pwd)"
bin="$1"
for tool in dbus-run-session Xvfb xdotool; do
  command -v "$tool" >/dev/null || { echo "SKIP: $tool is not installed"; exit 77; }
done
exec dbus-run-session -- "$here/../../scripts/with-x-server.sh" -s "-screen 0 1024x768x24 -dpi 96" \
  /usr/bin/python3 "$here/read_window_tree.py" --ketra "$bin/ketra" --ketra-reg "$bin/ketra-reg" "${@:2}"
