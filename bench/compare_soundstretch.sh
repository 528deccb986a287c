#!/usr/bin/env bash
# Whole-process throughput of `qxfx process ... time-stretch --set FinalLength=11000` against
# soundstretch -tempo=-9.0909 (or sox tempo when soundstretch is missing) on the same 60-second
# stereo 16-bit file; prints one row of make bench's table: both times (median of five runs) and the ratio.
set -euo pipefail
source "$(dirname "$0")/peer_common.sh" "$@"
declare -F median >/dev/null || median() { best "$@"; }  # run alone: best of five

q=$(median "$qxfx" process -q "$work/in.wav" "$work/q.wav" time-stretch --set FinalLength=11000)
if command -v soundstretch >/dev/null; then
  other="soundstretch -tempo=-9.0909"
  s=$(median soundstretch "$work/in.wav" "$work/o.wav" -tempo=-9.0909)
else
  # Debian's soundstretch package is the reference; sox's tempo effect stands in without it.
  other="sox tempo 0.90909"
  s=$(median sox "$work/in.wav" "$work/o.wav" tempo 0.90909)
fi
awk -v q="$q" -v s="$s" -v effect="time-stretch 110 %" -v peer="$other" 'BEGIN {
  printf "%-28s %8.3f s %6.0fx   %-30s %8.3f s %6.0fx   %6.2f\n", effect, q, 60 / q, peer, s, 60 / s, s / q }'
