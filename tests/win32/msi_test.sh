#!/usr/bin/env bash
# The Windows installer under Wine: installs dist/ketra-<version>-x64.msi per machine with
# msiexec /qn on a copy of the prepared prefix, checks the three programs in Program Files\Ketra,
# the Start menu shortcut and the entry in the list of installed programs with its icon, starts
# the installed ketra.exe (it stores the settings of the ports it finds, then Cancel ends it), upgrades in
# place to a newer package (one entry left, of the newer version), uninstalls, and checks that
# the programs, the shortcut and the entry are gone while the settings under
# HKEY_LOCAL_MACHINE\Software\Tessaron\VSP stay as they were.
# Run under an X server of its own (scripts/with-x-server.sh): every program of the prefix sees its display.
#   tests/win32/msi_test.sh BUILD_DIR MSI NEWER_MSI
set -euo pipefail
build=$1
msi=$2
newer=$3
wine=${KETRA_WINE64:-/usr/lib/wine/wine64}
wineserver=${KETRA_WINESERVER:-/usr/lib/wine/wineserver}
display=${DISPLAY:?msi_test.sh needs an X server: run it under scripts/with-x-server.sh}
here=$(cd "$(dirname "$0")" && pwd)

tmp=$(mktemp -d /tmp/ketra-msi-XXXXXX)
export WINEPREFIX=$tmp/prefix WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml="
cleanup() {
  "$wineserver" -k 2>/dev/null || true
  "$wineserver" -w 2>/dev/null || true
  rm -rf "$tmp"
}
trap cleanup EXIT
cp -a "$build/wine" "$WINEPREFIX"
"$wineserver" -p

# The console programs see the display too: the first program starts the prefix's desktop, and a
# desktop started without a display keeps the panel's window from appearing later.
console() { DISPLAY=$display "$wine" "$@" </dev/null; }
fail() { echo "FAIL: $*" >&2; exit 1; }
programs="$WINEPREFIX/drive_c/Program Files/Ketra"
# A per-machine package puts it in the Start menu of all users; Wine 8's msi puts it in the
# installing user's (its ProgramMenuFolder ignores ALLUSERS), which the test accepts.
shortcuts=("$WINEPREFIX/drive_c/ProgramData/Microsoft/Windows/Start Menu/Programs/Ketra.lnk"
           "$WINEPREFIX/drive_c/users/$(id -un)/AppData/Roaming/Microsoft/Windows/Start Menu/Programs/Ketra.lnk")
shortcut_found() { [ -f "${shortcuts[0]}" ] || [ -f "${shortcuts[1]}" ]; }
uninstall_key='HKEY_LOCAL_MACHINE\Software\Microsoft\Windows\CurrentVersion\Uninstall'
settings_key='HKEY_LOCAL_MACHINE\Software\Tessaron\VSP'
entries() { console "$build/bin/ketra-reg.exe" export "$uninstall_key" | tr -d '\r' | grep -c '^"DisplayName"="Ketra"$' || true; }
msiexec() { console msiexec "$1" "$(console winepath -w "$2" | tr -d '\r')" /qn; }

msiexec /i "$msi" || fail "msiexec /i $msi"
for program in ketra ketra-session ketra-reg; do
  [ -f "$programs/$program.exe" ] || fail "$program.exe is not in Program Files\\Ketra"
done
shortcut_found || fail "no Start menu shortcut"
[ "$(entries)" = 1 ] || fail "no entry for Ketra in the list of installed programs"
# The product's icon (ARPPRODUCTICON) as the installer records it for the list of installed
# programs. Wine 8 records it, but neither extracts the icon's file nor sets the entry's
# DisplayIcon, as Windows does.
product_icon=$(console "$build/bin/ketra-reg.exe" export 'HKEY_LOCAL_MACHINE\Software\Classes\Installer\Products' |
  tr -d '\r' | awk '/^\[/ { if (ours) exit; icon = "" } /^"ProductName"="Ketra"$/ { ours = 1 }
                     /^"ProductIcon"=/ { icon = $0 } END { if (ours) print icon }')
[[ "$product_icon" == *'\\ketra.ico"' ]] || fail "the installed product has no icon: '$product_icon'"
where="all users'"
[ -f "${shortcuts[0]}" ] || where="the installing user's"
echo "ok installed: the three programs in Program Files\\Ketra, the shortcut in $where Start menu, the uninstall entry and its icon"

# The installed panel: the driver's ports, as its driver publishes them at boot.
console "$build/bin/ketra-reg.exe" import "$here/window_steps.hive.reg" || fail "device map"
DISPLAY=$display "$wine" "C:\\Program Files\\Ketra\\ketra.exe" </dev/null >/dev/null 2>&1 &
panel=$!
DISPLAY=$display "$wine" "$build/tests/window_probe.exe" wait >/dev/null || fail "the installed ketra.exe shows no window"
echo 'key alt+c' >"$WINEPREFIX/cancel.steps"
DISPLAY=$display "$wine" "$build/tests/window_probe.exe" steps "$WINEPREFIX/cancel.steps" | grep -q '"ended":true' ||
  fail "Cancel did not end the installed ketra.exe"
wait "$panel" || fail "the installed ketra.exe ended with status $?"
settings=$(console "$build/bin/ketra-reg.exe" export "$settings_key" | tr -d '\r')
grep -qF '[HKEY_LOCAL_MACHINE\Software\Tessaron\VSP\COM3]' <<<"$settings" ||
  fail "the installed ketra.exe stored no settings: $settings"
echo "ok the installed ketra.exe ran and stored the settings of its ports"

msiexec /i "$newer" || fail "msiexec /i $newer"
[ "$(entries)" = 1 ] || fail "after the upgrade, $(entries) entries for Ketra"
console "$build/bin/ketra-reg.exe" export "$uninstall_key" | tr -d '\r' | grep -q "^\"DisplayVersion\"=\"$(basename "$newer" | sed 's/ketra-\(.*\)-x64.msi/\1/')\"$" ||
  fail "the entry is not of the newer version"
echo "ok upgraded in place: one entry, of the newer version"

msiexec /x "$newer" || fail "msiexec /x $newer"
for program in ketra ketra-session ketra-reg; do
  [ ! -e "$programs/$program.exe" ] || fail "$program.exe stayed after the uninstall"
done
! shortcut_found || fail "the shortcut stayed after the uninstall"
[ "$(entries)" = 0 ] || fail "the uninstall entry stayed"
after=$(console "$build/bin/ketra-reg.exe" export "$settings_key" | tr -d '\r')
[ "$after" = "$settings" ] || fail "the settings changed with the uninstall"
echo "ok uninstalled: programs, shortcut and entry gone, $(grep -c '^"' <<<"$after") settings values kept"
