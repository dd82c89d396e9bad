#!/usr/bin/env bash
# Runs a command under a virtual X server of its own and exits with the command's status.
#   scripts/with-x-server.sh [-s "XVFB ARGS"] COMMAND [ARG...]
#
# Xvfb picks the display itself (-displayfd): it binds the first number whose sockets are free
# and then tells us which, so suites running side by side never share a server. `xvfb-run -a`
# guesses a number from the lock files in /tmp first and starts the server after, and adds an
# authorization cookie the client must then find: two runs at once picked the same display
# here, and on a fresh CI machine the client was refused ("could not connect to display :99")
# by a server that had started. This server needs no cookie: it listens on local sockets only.
#
# -noreset: an X server resets when its last client leaves, and refuses connections while it
# does. The accessibility bus's launcher connects, sets its address on the root window and
# leaves just before the test starts the window, which then now and then could not connect.
#
# Exits 77 (CTest's skip code where a test sets it) when Xvfb is not installed.
set -euo pipefail

xvfb_args=(-screen 0 1024x768x24)
if [ "${1:-}" = -s ]; then
  read -r -a xvfb_args <<<"$2"
  shift 2
fi
[ $# -gt 0 ] || { echo "usage: $0 [-s \"XVFB ARGS\"] COMMAND [ARG...]" >&2; exit 2; }
command -v Xvfb >/dev/null || { echo "SKIP: Xvfb is not installed"; exit 77; }

dir=$(mktemp -d)
server=""
cleanup() {
  if [ -n "$server" ]; then
    kill "$server" 2>/dev/null || true
    wait "$server" 2>/dev/null || true
  fi
  rm -rf "$dir"
}
trap cleanup EXIT

# Xvfb writes the number to the pipe once it listens; if it dies first, the read sees the end.
mkfifo "$dir/display"
Xvfb -displayfd 3 -nolisten tcp -noreset "${xvfb_args[@]}" 3>"$dir/display" >"$dir/log" 2>&1 &
server=$!
number=""
read -r -t 60 number <"$dir/display" || true
if [ -z "$number" ]; then
  echo "with-x-server: Xvfb did not start; its log:" >&2
  cat "$dir/log" >&2
  exit 1
fi

status=0
DISPLAY=":$number" "$@" || status=$?
if [ "$status" -ne 0 ] && [ -s "$dir/log" ]; then
  echo "with-x-server: the command failed ($status); the X server's log:" >&2
  cat "$dir/log" >&2
fi
exit "$status"
