#!/usr/bin/env bash
# Whole-process throughput of `qxfx process ... reverb` with the "Cathedral" preset against
# sox's reverb on the same 60-second stereo 16-bit file; prints both times (best of five) and the ratio.
set -euo pipefail
source "$(dirname "$0")/peer_common.sh" "$@"

q=$(best "$qxfx" process -q "$work/in.wav" "$work/q.wav" reverb --preset "Cathedral")
s=$(best sox "$work/in.wav" "$work/s.wav" reverb)
awk -v q="$q" -v s="$s" 'BEGIN {
  printf "qxfx reverb (Cathedral): %.4f s (%.0fx real time)\n", q, 60 / q
  printf "sox reverb:              %.4f s (%.0fx real time)\n", s, 60 / s
  printf "throughput ratio qxfx/sox: %.2f (target >= 1.5)\n", s / q }'
