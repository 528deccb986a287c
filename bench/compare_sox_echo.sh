#!/usr/bin/env bash
# Whole-process throughput of `qxfx process ... simple-delay` against sox's echo on the same
# 60-second stereo 16-bit file; prints both times (best of five) and the ratio.
set -euo pipefail
source "$(dirname "$0")/peer_common.sh" "$@"

q=$(best "$qxfx" process -q "$work/in.wav" "$work/q.wav" simple-delay --set MultipleDelays=1 \
      --set DelayTime=400 --set DecayTime=20 --set DelayOut=-30 --set DryOut=-90)
s=$(best sox "$work/in.wav" "$work/s.wav" echo 0.8 0.7 400 0.5)
awk -v q="$q" -v s="$s" 'BEGIN {
  printf "qxfx simple-delay: %.4f s (%.0fx real time)\n", q, 60 / q
  printf "sox echo:          %.4f s (%.0fx real time)\n", s, 60 / s
  printf "throughput ratio qxfx/sox: %.2f (target >= 3)\n", s / q }'
