#!/usr/bin/env bash
# Whole-process throughput of `qxfx process ... chorus --preset "Chorus 1"` (three voices) against
# sox's chorus with two voices on the same 60-second stereo 16-bit file; prints both times (best of
# five) and the ratio.
set -euo pipefail
source "$(dirname "$0")/peer_common.sh" "$@"

q=$(best "$qxfx" process -q "$work/in.wav" "$work/q.wav" chorus --preset "Chorus 1")
# Two voices near the preset's 40 ms delay and 0.8 Hz rate, sine modulated.
s=$(best sox "$work/in.wav" "$work/s.wav" chorus 0.6 0.9 40 0.4 0.8 2 -s 46 0.4 0.65 1.2 -s)
awk -v q="$q" -v s="$s" 'BEGIN {
  printf "qxfx chorus (3 voices): %.4f s (%.0fx real time)\n", q, 60 / q
  printf "sox chorus (2 voices):  %.4f s (%.0fx real time)\n", s, 60 / s
  printf "throughput ratio qxfx/sox: %.2f (target >= 1)\n", s / q }'
