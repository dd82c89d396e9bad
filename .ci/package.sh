#!/usr/bin/env bash
# CI job: the Debian package as a user meets it. Builds it once, installs it with apt, checks the
# installed files and the unit, runs the unit's command as its user without a service manager,
# and uses the ports, the panel and the daemon as a fresh member of the group ketra and as a
# stranger. Then removes and purges the package. Runs as root on a Debian 12 machine; loopback
# only.
set -euo pipefail
cd "$(dirname "$0")/.."

member=ketra-ci-member
outsider=ketra-ci-outsider
work=$(mktemp -d /tmp/ketra-ci.XXXXXX)
chmod 0755 "$work"
daemon_pid=""
echo_pid=""
cleanup() {
  set +e
  for pid in $daemon_pid $echo_pid; do
    kill "$pid" 2>/dev/null
    wait "$pid" 2>/dev/null
  done
  for user in "$member" "$outsider"; do
    id "$user" >/dev/null 2>&1 && userdel -r "$user" 2>/dev/null
  done
  rm -rf "$work"
}
trap cleanup EXIT
for user in "$member" "$outsider"; do  # left by an interrupted run
  id "$user" >/dev/null 2>&1 && userdel -r "$user" 2>/dev/null
done
ok() { echo "ok: $*"; }
fail() { echo "FAILED: $*" >&2; exit 1; }

export DEBIAN_FRONTEND=noninteractive
# The tools of this job: the package build's, the validators, a serial client.
needed=(debhelper dpkg-dev scdoc systemd libsystemd-dev desktop-file-utils python3-serial
        binutils passwd util-linux man-db)
scripts/install-packages.sh "${needed[@]}"

# A previous run's package goes first, so that this run installs afresh.
if dpkg-query -W -f='${Status}' ketra 2>/dev/null | grep -q "ok installed\|config-files"; then
  apt-get -o DPkg::Lock::Timeout=300 purge -y -qq ketra >/dev/null
fi

bash scripts/package.sh
deb=$(ls dist/ketra_*.deb)
apt-get -o DPkg::Lock::Timeout=300 install -y -qq "./$deb" >/dev/null
version=$(dpkg-query -W -f='${Version}' ketra)
ok "installed $deb (version $version)"

# --- The installed files.
unit_dir=$(pkg-config systemd --variable=systemdsystemunitdir)
unit="$unit_dir/ketra-vspd.service"
for program in ketra ketra-session ketra-reg ketra-vspd; do
  path=/usr/bin/$program
  [ -x "$path" ] || fail "$path missing"
  readelf -S "$path" | grep -q '\.symtab' && fail "$path is not stripped"
  reported=$("$program" --version)
  [ "$reported" = "$program $version" ] || fail "$program --version says '$reported'"
done
ok "/usr/bin/ketra, ketra-session, ketra-reg, ketra-vspd: stripped, --version $version"
for file in "$unit" /usr/lib/sysusers.d/ketra.conf /usr/lib/tmpfiles.d/ketra.conf \
  /etc/ketra/ketra.conf /usr/share/applications/ketra.desktop \
  /usr/share/icons/hicolor/scalable/apps/ketra.svg; do
  [ -f "$file" ] || fail "$file missing"
done
# Man pages and documents as the package holds them (a slim machine may leave them out).
dpkg-deb -c "$deb" | awk '{print $6}' >"$work/contents"
for file in ./usr/share/man/man1/ketra.1.gz ./usr/share/man/man1/ketra-session.1.gz \
  ./usr/share/man/man1/ketra-reg.1.gz ./usr/share/man/man8/ketra-vspd.8.gz \
  ./usr/share/man/man5/ketra.conf.5.gz ./usr/share/doc/ketra/copyright \
  ./usr/share/doc/ketra/README.md.gz; do
  grep -qx "$file" "$work/contents" || fail "the package lacks $file"
done
ok "unit in $unit_dir, sysusers.d, tmpfiles.d, man pages (1, 5, 8), desktop entry, icon"
for page in ketra.1 ketra-session.1 ketra-reg.1 ketra-vspd.8; do
  dpkg-deb --fsys-tarfile "$deb" | tar -xO "./usr/share/man/man${page##*.}/$page.gz" | zcat |
    grep -q '^\.SH EXIT STATUS' || fail "man page $page has no EXIT STATUS"
done
ok "every program's man page says its exit codes"
dpkg-query -W -f='${Conffiles}\n' ketra | grep -q '^ /etc/ketra/ketra.conf ' ||
  fail "/etc/ketra/ketra.conf is not a conffile"
ok "/etc/ketra/ketra.conf is a conffile"
dpkg-deb --fsys-tarfile "$deb" | tar -xO ./usr/share/doc/ketra/copyright >"$work/copyright"
head -1 "$work/copyright" |
  grep -q '^Format: https://www.debian.org/doc/packaging-manuals/copyright-format/1.0/' ||
  fail "copyright is not machine-readable"
grep -q '^License: Apache-2.0' "$work/copyright" || fail "copyright: no Apache-2.0"
ok "/usr/share/doc/ketra: machine-readable copyright (Apache-2.0), $(grep -c '^./usr/share/doc/ketra/.' "$work/contents") files"
desktop-file-validate /usr/share/applications/ketra.desktop
ok "desktop-file-validate ketra.desktop"
grep -q "^ExecStart=/usr/bin/ketra-vspd run --config /etc/ketra/ketra.conf$" "$unit" ||
  fail "ExecStart does not follow the install prefix"
getent passwd ketra >/dev/null && getent group ketra >/dev/null || fail "no user or group ketra"
[ "$(stat -c '%a %U %G' /var/lib/ketra)" = "2770 ketra ketra" ] ||
  fail "/var/lib/ketra is $(stat -c '%a %U %G' /var/lib/ketra)"
ok "user and group ketra made, /var/lib/ketra 2770 ketra:ketra"

# --- The unit, checked by systemd's own tools (no service manager needs to run).
# verify also looks up the unit's man pages; where the machine leaves man pages out, it cannot.
if man -w ketra-vspd >/dev/null 2>&1; then
  systemd-analyze verify "$unit"
  ok "systemd-analyze verify: clean (man pages found)"
else
  systemd-analyze verify --man=no "$unit"
  ok "systemd-analyze verify --man=no: clean (this machine installs no man pages)"
fi
security=$(systemd-analyze security --offline=true "$unit" 2>&1)
score=$(sed -n 's/.*Overall exposure level for ketra-vspd.service: \([0-9.]*\).*/\1/p' <<<"$security")
[ -n "$score" ] || { echo "$security"; fail "no exposure level"; }
awk -v s="$score" 'BEGIN { exit !(s <= 3.0) }' || { echo "$security"; fail "exposure $score > 3.0"; }
ok "systemd-analyze security --offline=true: exposure $score (at most 3.0)"

# --- The unit's command as its user, group and umask, in the directories it declares.
value() { sed -n "s/^$1=//p" "$unit" | tail -1; }
exec_start=$(value ExecStart)
user=$(value User)
group=$(value Group)
umask_value=$(value UMask)
install -d -o "$user" -g "$group" -m "$(value RuntimeDirectoryMode)" "/run/$(value RuntimeDirectory)"
install -d -o "$user" -g "$group" -m "$(value StateDirectoryMode)" "/var/lib/$(value StateDirectory)"
setpriv --reuid="$user" --regid="$group" --init-groups --inh-caps=-all \
  sh -c "umask $umask_value; exec $exec_start" 2>"$work/vspd.log" &
daemon_pid=$!
socket=$(sed -n 's/^socket *= *//p' /etc/ketra/ketra.conf)
for _ in $(seq 100); do [ -S "$socket" ] && break; sleep 0.1; done
[ -S "$socket" ] || { cat "$work/vspd.log"; fail "the daemon made no socket"; }
ok "ExecStart runs as $user:$group with UMask $umask_value: $(head -1 "$work/vspd.log" | cut -d' ' -f3-)"
[ "$(stat -c '%a %U %G' /var/lib/ketra/hive.db)" = "660 ketra ketra" ] ||
  fail "the hive is $(stat -c '%a %U %G' /var/lib/ketra/hive.db)"
ok "the hive is 0660 ketra:ketra"

# --- A fresh member of the group, no flag and no environment variable.
useradd -m -G ketra "$member"
as_member() { runuser -u "$member" -- env -i HOME="/home/$member" PATH=/usr/bin:/bin "$@"; }
/usr/bin/python3 .ci/udp_echo.py "$work/echo.port" >"$work/echo.log" 2>&1 &
echo_pid=$!
for _ in $(seq 50); do [ -s "$work/echo.port" ] && break; sleep 0.1; done
echo_port=$(cat "$work/echo.port")
as_member ketra-session --driver system >"$work/session.out" <<EOS
start
set TXT_IP1 "127"
set TXT_IP2 "0"
set TXT_IP3 "0"
set TXT_IP4 "1"
set TXT_UDP "$echo_port"
set TXT_LOCPORT "24103"
click CMD_APPLY
close
EOS
grep -q '"event":"\(msgbox\|error\|refused\)"' "$work/session.out" && { cat "$work/session.out"; fail "the panel showed a box"; }
as_member ketra-reg export 'HKEY_LOCAL_MACHINE\Software\Tessaron\VSP\COM3' >"$work/com3.reg"
grep -q '"REMOTEIP"=hex(0):31,36,37,37,37,33,34,33,00' "$work/com3.reg" ||
  { cat "$work/session.out" "$work/com3.reg"; fail "the panel did not store 127.0.0.1"; }
ok "$member: ketra-session (no flag) stored COM3's terminal 127.0.0.1:$echo_port with Apply"
as_member ketra-vspd connect COM3 >"$work/connect.out" 2>&1 || true
cat "$work/connect.out"
grep -q "Connect Successful" "$work/connect.out" || fail "connect: $(cat "$work/connect.out")"
ok "$member: ketra-vspd connect COM3 (no flag)"
as_member ketra-vspd status >/dev/null
link=$(sed -n 's/^link-dir *= *//p' /etc/ketra/ketra.conf)/COM3
runuser -u "$member" -- /usr/bin/python3 - "$link" <<'PY'
import serial, sys
port = serial.Serial(sys.argv[1], 115200, timeout=5)
sent = b"ketra over UDP \x00\x11\xff\r\n"
port.write(sent)
got = port.read(len(sent))
assert got == sent, got
print("ok: bytes written into %s came back from the UDP echo: %r" % (sys.argv[1], got))
PY

# --- A user outside the group, and a link directory of another user.
useradd -m "$outsider"
if runuser -u "$outsider" -- env -i PATH=/usr/bin:/bin ketra-vspd status >"$work/refused" 2>&1; then
  fail "a user outside the group reached the daemon"
fi
grep -q "permission denied.*group ketra" "$work/refused" || fail "refusal says: $(cat "$work/refused")"
ok "$outsider refused: $(cat "$work/refused")"
install -d -o "$outsider" -m 0755 "$work/links"
if runuser -u "$member" -- env -i PATH=/usr/bin:/bin ketra-vspd run --hive "/home/$member/h.db" \
  --socket "/home/$member/s.sock" --link-dir "$work/links" >"$work/links.out" 2>&1; then
  fail "a link directory of another user was taken"
fi
grep -q "refusing $work/links: it belongs to uid" "$work/links.out" ||
  fail "link directory: $(cat "$work/links.out")"
ok "a link directory owned by $outsider refused: $(cut -d' ' -f3- "$work/links.out")"

# --- Stop, remove (state kept), purge (state gone).
kill "$daemon_pid"
wait "$daemon_pid" || true
daemon_pid=""
apt-get -o DPkg::Lock::Timeout=300 remove -y -qq ketra >/dev/null
[ -f /var/lib/ketra/hive.db ] || fail "remove deleted the hive"
[ -f /etc/ketra/ketra.conf ] || fail "remove deleted the configuration file"
[ ! -e /usr/bin/ketra-vspd ] || fail "remove left the programs"
ok "removed: programs gone, /var/lib/ketra/hive.db and /etc/ketra/ketra.conf kept"
apt-get -o DPkg::Lock::Timeout=300 purge -y -qq ketra >/dev/null
[ ! -e /var/lib/ketra ] || fail "purge left /var/lib/ketra"
[ ! -e /etc/ketra ] || fail "purge left /etc/ketra"
ok "purged: /var/lib/ketra and /etc/ketra gone"
echo "package: all checks passed"
