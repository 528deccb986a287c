#!/usr/bin/env bash
# Whole-process throughput of `qxfx process ... multi-tap-delay` with preset "Tapped
# delay 1" against sox's echos with four taps on the same 60-second stereo 16-bit file;
# prints one row of make bench's table: both times (median of five runs) and the ratio.
set -euo pipefail
source "$(dirname "$0")/peer_common.sh" "$@"
declare -F median >/dev/null || median() { best "$@"; }  # run alone: best of five

sets=(--preset "Tapped delay 1")
"$qxfx" process -q "$work/in.wav" "$work/q.wav" multi-tap-delay "${sets[@]}" \
  || { echo "qxfx multi-tap-delay failed"; exit 1; }
q=$(median "$qxfx" process -q "$work/in.wav" "$work/q.wav" multi-tap-delay "${sets[@]}")
s=$(median sox "$work/in.wav" "$work/s.wav" echos 0.8 0.7 17 0.6 89 0.5 164 0.4 240 0.3)
awk -v q="$q" -v s="$s" -v effect="multi-tap-delay" -v peer="sox echos" 'BEGIN {
  printf "%-28s %8.3f s %6.0fx   %-30s %8.3f s %6.0fx   %6.2f\n", effect, q, 60 / q, peer, s, 60 / s, s / q }'
