#!/usr/bin/env bash
# Whole-process throughput of `qxfx process ... reverb` with the "Cathedral" preset against
# sox's reverb on the same 60-second stereo 16-bit file; prints one row of make bench's table: both times (median of five runs) and the ratio.
set -euo pipefail
source "$(dirname "$0")/peer_common.sh" "$@"
declare -F median >/dev/null || median() { best "$@"; }  # run alone: best of five

q=$(median "$qxfx" process -q "$work/in.wav" "$work/q.wav" reverb --preset "Cathedral")
s=$(median sox "$work/in.wav" "$work/s.wav" reverb)
awk -v q="$q" -v s="$s" -v effect="reverb Cathedral" -v peer="sox reverb" 'BEGIN {
  printf "%-28s %8.3f s %6.0fx   %-30s %8.3f s %6.0fx   %6.2f\n", effect, q, 60 / q, peer, s, 60 / s, s / q }'
