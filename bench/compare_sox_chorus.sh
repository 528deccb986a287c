#!/usr/bin/env bash
# Whole-process throughput of `qxfx process ... chorus --preset "Chorus 1"` (three voices) against
# sox's chorus with two voices on the same 60-second stereo 16-bit file; prints one row of
# make bench's table: both times (median of five runs) and the ratio.
set -euo pipefail
source "$(dirname "$0")/peer_common.sh" "$@"
declare -F median >/dev/null || median() { best "$@"; }  # run alone: best of five

q=$(median "$qxfx" process -q "$work/in.wav" "$work/q.wav" chorus --preset "Chorus 1")
# Two voices near the preset's 40 ms delay and 0.8 Hz rate, sine modulated.
s=$(median sox "$work/in.wav" "$work/s.wav" chorus 0.6 0.9 40 0.4 0.8 2 -s 46 0.4 0.65 1.2 -s)
awk -v q="$q" -v s="$s" -v effect="chorus Chorus 1" -v peer="sox chorus" 'BEGIN {
  printf "%-28s %8.3f s %6.0fx   %-30s %8.3f s %6.0fx   %6.2f\n", effect, q, 60 / q, peer, s, 60 / s, s / q }'
