#!/usr/bin/env bash
# make bench: every benchmark program, then one table of the whole-process peer comparisons
# (qxfx against sox or soundstretch on the same 60-second stereo 16-bit file, median of five runs).
set -euo pipefail
build=${1:-build}
for b in "$build"/bench/*_bench; do
  [ -x "$b" ] || continue
  echo "== $(basename "$b")"
  "$b" --benchmark_min_time=0.2
done

# The compare scripts time each side with this when it is defined.
median() {
  local times=() t0 t1
  for _ in 1 2 3 4 5; do
    t0=$(date +%s%N); "$@" >/dev/null 2>&1; t1=$(date +%s%N)
    times+=($(( (t1 - t0) / 1000 )))
  done
  printf '%s\n' "${times[@]}" | sort -n | sed -n 3p | awk '{ printf "%.4f", $1 / 1e6 }'
}
export -f median

echo "== peer comparisons: 60 s stereo 16-bit, whole process, median of 5 runs; ratio = peer time / qxfx time"
printf "%-28s %10s %7s   %-30s %10s %7s   %6s\n" "qxfx effect" "time" "speed" "peer" "time" "speed" "ratio"
status=0
for s in "$(dirname "$0")"/compare_sox_echo.sh "$(dirname "$0")"/compare_sox_multitap.sh \
         "$(dirname "$0")"/compare_sox_chorus.sh "$(dirname "$0")"/compare_sox_reverb.sh \
         "$(dirname "$0")"/compare_soundstretch.sh "$(dirname "$0")"/compare_soundstretch_pitch.sh; do
  "$s" "$build" || { echo "$(basename "$s") failed"; status=1; }
done
exit $status
