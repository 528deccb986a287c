#!/usr/bin/env bash
# make bench: every benchmark program (the engines report ns per frame and per frame and channel in
# each sample form), then the peer table of whole-process runs on a dense signal.
set -euo pipefail
build=${1:-build}
for b in "$build"/bench/*_bench; do
  [ -x "$b" ] || continue
  echo "== $(basename "$b")"
  "$b" --benchmark_min_time=0.2
done
"$(dirname "$0")/peer_table.sh" "$build"
