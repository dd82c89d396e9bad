#!/usr/bin/env bash
# ketra-reg's text form, through the real program on fresh hive files:
#   - reg_text/forms.reg (every value form, a BOM, a comment, CRLF and LF line ends, continuations,
#     a text over two lines, names in UTF-8, deletions of values and keys, no line end at the end)
#     imports and exports as reg_text/forms.expected.reg: a text with one closing NUL as text,
#     every other value as hex(TYPE), keys in name order, names in the case they were made in;
#   - that export, imported into another fresh hive, exports the same again;
#   - one key asked for in any case is shown in the case it was made in, and a key that is not
#     there or one outside HKEY_LOCAL_MACHINE is refused with status 1, saying so.
# The parse errors and the all-or-nothing import are reg_text_test.cpp's.
set -uo pipefail
reg="$1"
here="$(cd "$(dirname "$0")/reg_text" && pwd)"
dir="$(mktemp -d)"
trap 'rm -rf "$dir"' EXIT
failed=0
fail() {
  echo "FAIL: $*" >&2
  failed=1
}
same() {  # same FILE EXPECTED WHAT
  cmp -s "$1" "$2" || { fail "$3"; diff -a "$2" "$1" | head -20 >&2; }
}

"$reg" --hive "$dir/first.db" import "$here/forms.reg" || fail "import of forms.reg"
"$reg" --hive "$dir/first.db" export >"$dir/first.reg" || fail "export of the first hive"
same "$dir/first.reg" "$here/forms.expected.reg" "the export of forms.reg"

"$reg" --hive "$dir/second.db" import "$dir/first.reg" || fail "import of the export"
"$reg" --hive "$dir/second.db" export >"$dir/second.reg" || fail "export of the second hive"
same "$dir/second.reg" "$dir/first.reg" "export, import and export again"

"$reg" --hive "$dir/first.db" export 'hklm\SOFTWARE\lONG' >"$dir/one.reg" || fail "export of one key"
printf 'REGEDIT4\n\n[HKEY_LOCAL_MACHINE\\Software\\Long]\n"empty"=hex(0):\n"long"=hex(0):%s\n' \
  "$(printf '4c,%.0s' $(seq 299))4c" >"$dir/one.expected.reg"
same "$dir/one.reg" "$dir/one.expected.reg" "one key, named in another case"

for refused in 'HKEY_LOCAL_MACHINE\Software\Nothing:no such key' \
               'HKEY_CURRENT_USER\Software:not a key path under HKEY_LOCAL_MACHINE'; do
  "$reg" --hive "$dir/first.db" export "${refused%%:*}" >/dev/null 2>"$dir/err"
  status=$?
  if [ "$status" -ne 1 ] || ! grep -q "^ketra-reg: ${refused#*:}: " "$dir/err"; then
    fail "export of ${refused%%:*}: status $status, $(cat "$dir/err")"
  fi
done
exit $failed
