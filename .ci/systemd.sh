#!/usr/bin/env bash
# CI job: the package under a real systemd, as an administrator and a user meet it. Builds the
# package, boots a Debian 12 root with systemd as PID 1 in a container (systemd-nspawn -b,
# private network), installs the package with dpkg -i while systemd runs, and runs the checks of
# .ci/systemd-checks.sh inside: the unit, a member and a stranger, restarts, an upgrade, crashes,
# stop, remove, purge. Runs as root on a Debian 12 machine; all traffic stays on the container's
# loopback.
#
# The root is made once with debootstrap and kept in /var/cache/ketra-ci/ (made again only when
# its package list changes); each boot lays a tmpfs over it (--volatile=overlay), so every run
# starts from the same clean root and leaves it untouched.
#
#   .ci/systemd.sh [--no-build] [--keep]   build (unless --no-build: dist/ketra_*.deb as it is),
#                                          boot, install, check; --keep leaves the container up
#   .ci/systemd.sh boot [--no-build]       boot and install only, and leave the container up
#   .ci/systemd.sh exec COMMAND...         run COMMAND as root inside the container left up
#   .ci/systemd.sh stop                    power the container off
#
# Inside, the package's .deb is at /ketra-ci/dist/ and this directory at /ketra-ci/ci/. For
# example: `.ci/systemd.sh boot && .ci/systemd.sh exec journalctl -u ketra-vspd`.
set -euo pipefail
cd "$(dirname "$0")/.."

cache=/var/cache/ketra-ci
state=/run/ketra-ci  # the running container: its nspawn pid and boot log
mkdir -p "$state"

log() { echo "[$(date -u +%H:%M:%S)] $*"; }

leader_pid() {
  # The container's PID 1: the child of systemd-nspawn whose name is systemd.
  local nspawn child
  nspawn=$(cat "$state/nspawn.pid" 2>/dev/null) || return 1
  kill -0 "$nspawn" 2>/dev/null || return 1
  for child in $(pgrep -P "$nspawn"); do
    [ "$(cat "/proc/$child/comm" 2>/dev/null)" = systemd ] && { echo "$child"; return 0; }
  done
  return 1
}

in_container() {
  local leader
  leader=$(leader_pid) || { echo "no container is running (.ci/systemd.sh boot)" >&2; return 1; }
  nsenter --target "$leader" --mount --uts --ipc --net --pid --cgroup --root --wd -- \
    env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin TERM=dumb LANG=C.UTF-8 "$@"
}

stop_container() {
  local nspawn
  nspawn=$(cat "$state/nspawn.pid" 2>/dev/null) || return 0
  if kill -0 "$nspawn" 2>/dev/null; then
    in_container systemctl poweroff >/dev/null 2>&1 || true
    for _ in $(seq 100); do kill -0 "$nspawn" 2>/dev/null || break; sleep 0.1; done
    kill -0 "$nspawn" 2>/dev/null && kill "$nspawn"
    for _ in $(seq 50); do kill -0 "$nspawn" 2>/dev/null || break; sleep 0.1; done
  fi
  rm -f "$state/nspawn.pid"
}

case "${1:-}" in
  exec)
    shift
    in_container "$@"
    exit
    ;;
  stop)
    stop_container
    exit
    ;;
esac

mode=test
build=yes
keep=no
for arg in "$@"; do
  case "$arg" in
    boot) mode=boot keep=yes ;;
    --keep) keep=yes ;;
    --no-build) build=no ;;
    *) echo "usage: .ci/systemd.sh [boot] [--no-build] [--keep] | exec COMMAND... | stop" >&2; exit 2 ;;
  esac
done

started=$(date +%s)
export DEBIAN_FRONTEND=noninteractive
scripts/install-packages.sh debootstrap systemd-container debian-archive-keyring
stop_container  # one left by an earlier run

if [ "$build" = yes ]; then
  log "building the package"
  bash scripts/package.sh >"$state/package.log" 2>&1 || { tail -40 "$state/package.log"; exit 1; }
fi
deb=$(ls dist/ketra_*_"$(dpkg --print-architecture)".deb)
log "package: $deb"

# --- The root: Debian 12, minbase, with systemd, the package's dependencies and the tools of
# the checks. Its name is the hash of its package list, so a changed list makes a new one.
depends=$(dpkg-deb -f "$deb" Depends | tr ',' '\n' | sed 's/|.*//; s/(.*)//; s/ //g' | grep -v '^$')
packages=$(printf '%s\n' systemd systemd-sysv dbus python3-serial procps $depends | sort -u | paste -sd,)
root="$cache/bookworm-$(echo "$packages" | sha256sum | cut -c1-16)"
if [ ! -f "$root/.complete" ]; then
  first_root=$(date +%s)
  # The machine's own Debian mirror, as its apt uses it.
  mirror=$(apt-get indextargets --format '$(REPO_URI)' 'Created-By: Packages' 'Codename: bookworm' |
    grep -v security | head -1)
  log "making the root $root from $mirror (once; kept for later runs)"
  rm -rf "$root"
  mkdir -p "$cache"
  debootstrap --variant=minbase --include="$packages" bookworm "$root" "$mirror" \
    >"$state/debootstrap.log" 2>&1 || { tail -30 "$state/debootstrap.log"; exit 1; }
  # No console login, no network of its own to wait for: the checks enter with nsenter.
  chroot "$root" systemctl mask console-getty.service getty@tty1.service \
    systemd-networkd-wait-online.service >/dev/null 2>&1 || true
  chroot "$root" apt-get clean
  touch "$root/.complete"
  log "root made in $(($(date +%s) - first_root)) s"
  # Roots of older package lists go.
  for old in "$cache"/bookworm-*; do [ "$old" = "$root" ] || rm -rf "$old"; done
fi

# --- Boot it: a tmpfs over the root, the package and the checks bound in read-only.
dist_dir=$(cd dist && pwd)
ci_dir=$(cd .ci && pwd)
log "booting the root with systemd-nspawn -b --private-network"
systemd-nspawn --quiet --boot --private-network --register=no --keep-unit --volatile=overlay \
  --directory="$root" --machine=ketra-ci --console=passive \
  --bind-ro="$dist_dir:/ketra-ci/dist" --bind-ro="$ci_dir:/ketra-ci/ci" \
  >"$state/boot.log" 2>&1 &
echo $! >"$state/nspawn.pid"
if [ "$keep" = no ]; then trap stop_container EXIT; fi
for _ in $(seq 100); do leader_pid >/dev/null && break; sleep 0.1; done
leader_pid >/dev/null || { cat "$state/boot.log"; echo "FAILED: the container did not start" >&2; exit 1; }
# Until systemd has finished the boot (its bus, /tmp and the journal are there only then).
booted=""
for _ in $(seq 300); do
  booted=$(in_container systemctl is-system-running --wait 2>&1 || true)
  case "$booted" in running | degraded) break ;; esac
  sleep 0.2
done
log "systemd in the container: $booted ($(in_container systemctl --version | head -1))"

if [ "$mode" = boot ]; then
  in_container bash /ketra-ci/ci/systemd-checks.sh --install-only "/ketra-ci/dist/$(basename "$deb")"
  log "the container stays up: .ci/systemd.sh exec COMMAND..., .ci/systemd.sh stop"
  exit 0
fi
status=0
in_container bash /ketra-ci/ci/systemd-checks.sh "/ketra-ci/dist/$(basename "$deb")" || status=$?
log "systemd job: $( [ $status = 0 ] && echo passed || echo FAILED) in $(($(date +%s) - started)) s"
[ "$keep" = yes ] && log "the container stays up: .ci/systemd.sh exec COMMAND..., .ci/systemd.sh stop"
exit $status
