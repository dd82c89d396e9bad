#!/usr/bin/env bash
# Runs every fuzz target of a clang build for a bounded time on its seed corpus:
#   fuzz/run.sh [BUILD_DIR] [SECONDS_EACH]     (defaults: build-clang, 20)
# New inputs go to a scratch corpus, not into the repository. A failing input is kept as
# fuzz/findings/<target>-crash-* and the script fails; add such an input to the matching unit
# test (and, once fixed, to corpus/<target>/).
set -euo pipefail
cd "$(dirname "$0")/.."
build="${1:-build-clang}"
seconds="${2:-20}"
scratch="$(mktemp -d)"
trap 'rm -rf "$scratch"' EXIT
mkdir -p fuzz/findings
failed=0
for seeds in fuzz/corpus/*/; do
  name="$(basename "$seeds")"
  fuzzer="$build/fuzz/${name}_fuzz"
  mkdir -p "$scratch/$name"
  echo "== $name: ${seconds}s"
  if ! "$fuzzer" -max_total_time="$seconds" -max_len=4096 -timeout=10 -rss_limit_mb=2048 \
      -print_final_stats=1 -artifact_prefix="fuzz/findings/${name}-" \
      "$scratch/$name" "$seeds" 2>"$scratch/$name.log"; then
    tail -n 40 "$scratch/$name.log"
    failed=1
  else
    grep -E '^(Done|stat::number_of_executed_units)' "$scratch/$name.log" || true
  fi
done
rmdir fuzz/findings 2>/dev/null || true
exit "$failed"
