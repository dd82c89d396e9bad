#!/usr/bin/env bash
# Lines of C++ tests against lines of C++ code, the measure the project keeps at a third or less.
#
# How it counts: every line (blank and comment lines too) of the C++ files git tracks
# (*.cpp *.h *.hpp *.cc *.c), leaving out bench/ and fuzz/, which count as neither. A file is
# test support, counted as tests, when its path matches one of
#   *_test.cpp / *_test.cc     a test
#   test_*                     a test helper (test_registry.h, test_hive_dir.h ...)
#   *_fake.h                   a fake
#   *fixture*                  a fixture
#   tests/...                  anything under tests/
# and code otherwise. The other files under tests/ (session scripts, expected output, Python
# end-to-end runs) are reported apart and counted in neither.
#
# Usage: scripts/test-ratio.sh [--per-folder] [--max RATIO]
#   --max RATIO  exit 1 when the ratio is above RATIO (e.g. 0.34)
set -eu
cd "$(git -C "$(dirname "$0")" rev-parse --show-toplevel)"

per_folder=0
max=""
while [ $# -gt 0 ]; do
  case "$1" in
    --per-folder) per_folder=1 ;;
    --max) max="$2"; shift ;;
    *) echo "usage: $0 [--per-folder] [--max RATIO]" >&2; exit 2 ;;
  esac
  shift
done

istest='(_test\.(cpp|cc)$|(^|/)test_[^/]*$|_fake\.h$|fixture|^tests/)'
sources() { git ls-files '*.cpp' '*.h' '*.hpp' '*.cc' '*.c' | grep -v -E '^(bench|fuzz)/'; }
lines() { xargs -r cat | wc -l; }

code=$(sources | grep -v -E "$istest" | lines)
test=$(sources | grep -E "$istest" | lines)
other=$(git ls-files 'tests/*' | grep -v -E '\.(cpp|h|hpp|cc|c)$' | lines)
ratio=$(awk "BEGIN{printf \"%.3f\", $test/$code}")
echo "code $code lines, tests and test support $test lines: ratio $ratio ($other lines of other test files)"

if [ "$per_folder" = 1 ]; then
  for dir in $(sources | cut -d/ -f1 | sort -u); do
    c=$(sources | grep "^$dir/" | grep -v -E "$istest" | lines)
    t=$(sources | grep "^$dir/" | grep -E "$istest" | lines)
    printf '  %-12s code %6d  tests %6d\n' "$dir" "$c" "$t"
  done
fi

if [ -n "$max" ] && awk "BEGIN{exit !($ratio > $max)}"; then
  echo "above $max" >&2
  exit 1
fi
