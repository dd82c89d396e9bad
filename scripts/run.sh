#!/usr/bin/env bash
# Sets up, builds and starts a working bridge on this machine, then the panel:
#  - the hive run/hive.db gets the demo ports COM3 to COM6 (scripts/demo-ports.reg) on its first
#    run: enabled, the terminal at 127.0.0.1 on UDP ports 25003 to 25006;
#  - ketra-term, a loopback stand-in of the terminal, echoes on those ports and shows what it gets;
#  - the driver ketra-vspd offers the ports as run/ports/COM3 ... COM6 and connects them;
#  - the panel opens (ketra-session on the terminal when there is no display).
# Closing the panel leaves the driver and the ports alone: everything stops with Ctrl+C.
set -euo pipefail
cd "$(dirname "$0")/.."
root="$PWD"

scripts/setup.sh
cmake --preset default >/dev/null
cmake --build --preset default -j "$(nproc)" --target ketra ketra-session ketra-reg ketra-vspd ketra-term

mkdir -p run/ports
chmod 0750 run run/ports
export KETRA_HIVE="$root/run/hive.db"
export KETRA_VSPD_SOCKET="$root/run/vspd.sock"
if ! build/bin/ketra-reg export 'HKEY_LOCAL_MACHINE\Software\Tessaron\VSP\COM3' >/dev/null 2>&1; then
  build/bin/ketra-reg import scripts/demo-ports.reg
fi

pids=()
stop() {
  for pid in "${pids[@]}"; do kill "$pid" 2>/dev/null || true; done
  for pid in "${pids[@]}"; do wait "$pid" 2>/dev/null || true; done
}
trap stop EXIT
trap 'exit 130' INT TERM

build/bin/ketra-term 25003 25004 25005 25006 >run/term.log 2>&1 &
pids+=($!)
build/bin/ketra-vspd run --link-dir "$root/run/ports" --ports COM3,COM4,COM5,COM6 \
  --connect-enabled --bind-address 127.0.0.1 --group "" 2>run/vspd.log &
pids+=($!)
# The driver has written its ports into the hive once its socket is there.
for _ in $(seq 50); do
  [ -S "$KETRA_VSPD_SOCKET" ] && break
  sleep 0.1
done
build/bin/ketra-vspd status || { cat run/vspd.log; exit 1; }

cat <<EOT

The bridge runs: each port is connected to the stand-in terminal on 127.0.0.1, which echoes.
Talk to a port from another terminal, for example:
    picocom run/ports/COM3          (type; Ctrl+A Ctrl+X leaves picocom)
Every line you type comes back from the terminal, and it shows what it received:
    tail -f run/term.log            e.g. 127.0.0.1:25003 <- 127.0.0.1:24003 (3 bytes, echoed): hi\r
The driver's log is run/vspd.log; 'build/bin/ketra-vspd status' shows every port's counters.

EOT

if [ -z "${DISPLAY:-}${WAYLAND_DISPLAY:-}" ] && [ -z "${QT_QPA_PLATFORM:-}" ]; then
  echo "No display found, so the window cannot open here."
  echo "The same panel runs without a screen in ketra-session, started here on the same driver"
  echo "and hive: type commands such as start, dump form, close (docs/session.md); Ctrl+D ends."
  echo "  build/bin/ketra-session --driver system"
  build/bin/ketra-session --driver system || true
else
  build/bin/ketra || true
fi
echo
echo "The panel has ended; the driver keeps the ports and the bridge runs on. Ctrl+C stops it."
wait
