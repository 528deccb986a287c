#!/usr/bin/env bash
# Whole-process throughput of `qxfx process ... multi-tap-delay` with preset "Tapped
# delay 1" against sox's echos with four taps on the same 60-second stereo 16-bit file;
# prints both times (best of five) and the ratio.
set -euo pipefail
source "$(dirname "$0")/peer_common.sh" "$@"

sets=(--preset "Tapped delay 1")
"$qxfx" process -q "$work/in.wav" "$work/q.wav" multi-tap-delay "${sets[@]}" \
  || { echo "qxfx multi-tap-delay failed"; exit 1; }
q=$(best "$qxfx" process -q "$work/in.wav" "$work/q.wav" multi-tap-delay "${sets[@]}")
s=$(best sox "$work/in.wav" "$work/s.wav" echos 0.8 0.7 17 0.6 89 0.5 164 0.4 240 0.3)
awk -v q="$q" -v s="$s" 'BEGIN {
  printf "qxfx multi-tap-delay: %.4f s (%.0fx real time)\n", q, 60 / q
  printf "sox echos (4 taps):   %.4f s (%.0fx real time)\n", s, 60 / s
  printf "throughput ratio qxfx/sox: %.2f (target >= 1.5)\n", s / q }'
