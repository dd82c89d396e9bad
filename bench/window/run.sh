#!/usr/bin/env bash
# Start-up of the window against two minimal Qt windows (an empty form, and one with a label), in
# one run: the time from process start to the first frame shown and the peak resident size,
# medians over the repetitions, and the goals (time at most 1.15 times the labelled window's,
# peak size at most its own plus 10 MB).
#
#   bench/window/run.sh [BUILD_DIR] [REPETITIONS]     (default: build-release, 21)
#
# Runs under a virtual X server (scripts/with-x-server.sh), or under QT_QPA_PLATFORM if that is set.
set -euo pipefail

root="$(cd "$(dirname "$0")/../.." && pwd)"
build="${1:-$root/build-release}"
repetitions="${2:-21}"
bench="$build/bench/window_startup_bench"
[[ -x "$bench" ]] || { echo "run.sh: $bench is missing; build the benchmarks first" >&2; exit 1; }

out="$(mktemp)"
trap 'rm -f "$out"' EXIT
export XDG_RUNTIME_DIR="${XDG_RUNTIME_DIR:-$(mktemp -d)}"
args=(--benchmark_repetitions="$repetitions"
      --benchmark_format=json --benchmark_out="$out" --benchmark_out_format=json)
if [[ -n "${QT_QPA_PLATFORM:-}" ]]; then
  "$bench" "${args[@]}" >/dev/null
else
  "$(dirname "$0")/../../scripts/with-x-server.sh" -s "-screen 0 1024x768x24 -dpi 96" "$bench" "${args[@]}" >/dev/null
fi

python3 - "$out" <<'PY'
import json, sys
runs = json.load(open(sys.argv[1]))["benchmarks"]
m = next(r for r in runs if r.get("aggregate_name") == "median")
print(f"first frame, median of {m['repetitions']} rounds: ketra (101 ports) {m['ketra_ms']:.1f} ms,"
      f" minimal window {m['minimal_ms']:.1f} ms, minimal window with a label {m['label_ms']:.1f} ms")
reps = [r for r in runs if r.get("run_type") == "iteration"]
span = lambda key: f"{min(r[key] for r in reps):.2f}-{max(r[key] for r in reps):.2f}"
print(f"  ratio to the labelled window, median of the rounds' ratios: {m['ratio_label']:.2f}"
      f" (range {span('ratio_label')}; goal <= 1.15: {'met' if m['ratio_label'] <= 1.15 else 'MISSED'});"
      f" to the empty one: {m['ratio']:.2f}")
print(f"  processor time (user + system), median: ketra {m['ketra_cpu_ms']:.1f} ms,"
      f" minimal window {m['minimal_cpu_ms']:.1f} ms, with a label {m['label_cpu_ms']:.1f} ms")
print(f"peak resident size: ketra {m['ketra_rss_MB']:.1f} MB, labelled window {m['label_rss_MB']:.1f} MB,"
      f" extra {m['rss_extra_MB']:.1f} MB (goal <= 10 MB: {'met' if m['rss_extra_MB'] <= 10 else 'MISSED'})")
PY
