#!/usr/bin/env bash
# An error nothing inside handles reaches main as a clear message and exit status 1, never an
# abort: ketra-reg reading a large import under a small memory limit runs out of memory.
set -uo pipefail
reg="$1"
dir="$(mktemp -d)"
trap 'rm -rf "$dir"' EXIT
head -c 80M /dev/zero >"$dir/big.reg"
(ulimit -v 70000; "$reg" --hive "$dir/hive.db" import "$dir/big.reg") 2>"$dir/err"
status=$?
if [ "$status" -ne 1 ] || ! grep -q '^ketra-reg: stopped by an unexpected error: ' "$dir/err"; then
  echo "expected status 1 and the message, got status $status and:" >&2
  cat "$dir/err" >&2
  exit 1
fi
