#!/usr/bin/env bash
# make bench: every benchmark program, then the whole-process peer comparisons.
set -euo pipefail
build=${1:-build}
for b in "$build"/bench/*_bench; do
  [ -x "$b" ] || continue
  echo "== $(basename "$b")"
  "$b" --benchmark_min_time=0.2
done
for s in "$(dirname "$0")"/compare_*.sh; do
  echo "== $(basename "$s")"
  "$s" "$build"
done
