#!/usr/bin/env bash
# Whole-process throughput of `qxfx process ... pitch-shift --semitones 7 --preserve-duration` against
# soundstretch -pitch=7 (or sox pitch when soundstretch is missing) on the same 60-second stereo
# 16-bit file; prints one row of make bench's table: both times (median of five runs) and the ratio.
set -euo pipefail
source "$(dirname "$0")/peer_common.sh" "$@"
declare -F median >/dev/null || median() { best "$@"; }  # run alone: best of five

"$qxfx" process -q "$work/in.wav" "$work/q.wav" pitch-shift --semitones 7 --preserve-duration \
  || { echo "qxfx pitch-shift failed"; exit 1; }
q=$(median "$qxfx" process -q "$work/in.wav" "$work/q.wav" pitch-shift --semitones 7 --preserve-duration)
if command -v soundstretch >/dev/null; then
  peer="soundstretch -pitch=7"
  s=$(median soundstretch "$work/in.wav" "$work/s.wav" -pitch=7)
else
  peer="sox pitch 700"
  s=$(median sox "$work/in.wav" "$work/s.wav" pitch 700)
fi
awk -v q="$q" -v s="$s" -v effect="pitch-shift +7 kept length" -v peer="$peer" 'BEGIN {
  printf "%-28s %8.3f s %6.0fx   %-30s %8.3f s %6.0fx   %6.2f\n", effect, q, 60 / q, peer, s, 60 / s, s / q }'
