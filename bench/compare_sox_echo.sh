#!/usr/bin/env bash
# Whole-process throughput of `qxfx process ... simple-delay` against sox's echo on the same
# 60-second stereo 16-bit file; prints one row of make bench's table: both times (median of five runs) and the ratio.
set -euo pipefail
source "$(dirname "$0")/peer_common.sh" "$@"
declare -F median >/dev/null || median() { best "$@"; }  # run alone: best of five

q=$(median "$qxfx" process -q "$work/in.wav" "$work/q.wav" simple-delay --set MultipleDelays=1 \
      --set DelayTime=400 --set DecayTime=20 --set DelayOut=-30 --set DryOut=-90)
s=$(median sox "$work/in.wav" "$work/s.wav" echo 0.8 0.7 400 0.5)
awk -v q="$q" -v s="$s" -v effect="simple-delay" -v peer="sox echo" 'BEGIN {
  printf "%-28s %8.3f s %6.0fx   %-30s %8.3f s %6.0fx   %6.2f\n", effect, q, 60 / q, peer, s, 60 / s, s / q }'
