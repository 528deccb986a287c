#!/usr/bin/env bash
# Whole-process throughput of `qxfx process ... pitch-shift --semitones 7 --preserve-duration` against
# soundstretch -pitch=7 (or sox pitch when soundstretch is missing) on the same 60-second stereo
# 16-bit file; prints both times (best of five) and the ratio.
set -euo pipefail
source "$(dirname "$0")/peer_common.sh" "$@"

"$qxfx" process -q "$work/in.wav" "$work/q.wav" pitch-shift --semitones 7 --preserve-duration \
  || { echo "qxfx pitch-shift failed"; exit 1; }
q=$(best "$qxfx" process -q "$work/in.wav" "$work/q.wav" pitch-shift --semitones 7 --preserve-duration)
if command -v soundstretch >/dev/null; then
  peer="soundstretch -pitch=7"
  s=$(best soundstretch "$work/in.wav" "$work/s.wav" -pitch=7)
else
  peer="sox pitch 700"
  s=$(best sox "$work/in.wav" "$work/s.wav" pitch 700)
fi
awk -v q="$q" -v s="$s" -v peer="$peer" 'BEGIN {
  printf "qxfx pitch-shift +7, duration kept: %.4f s (%.0fx real time)\n", q, 60 / q
  printf "%-35s %.4f s (%.0fx real time)\n", peer ":", s, 60 / s
  printf "throughput ratio qxfx/other: %.2f (target >= 1)\n", s / q }'
