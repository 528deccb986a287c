#!/usr/bin/env bash
# Whole-process throughput of `qxfx process ... time-stretch --set FinalLength=11000` against
# soundstretch -tempo=-9.0909 (or sox tempo when soundstretch is missing) on the same 60-second
# stereo 16-bit file; prints both times (best of five), the output lengths and the ratio.
set -euo pipefail
source "$(dirname "$0")/peer_common.sh" "$@"

frames() { soxi -s "$1"; }

q=$(best "$qxfx" process -q "$work/in.wav" "$work/q.wav" time-stretch --set FinalLength=11000)
if command -v soundstretch >/dev/null; then
  other="soundstretch -tempo=-9.0909"
  o=$(best soundstretch "$work/in.wav" "$work/o.wav" -tempo=-9.0909)
else
  # Debian's soundstretch package is the reference; sox's tempo effect stands in without it.
  other="sox tempo 0.90909"
  o=$(best sox "$work/in.wav" "$work/o.wav" tempo 0.90909)
fi
awk -v q="$q" -v o="$o" -v name="$other" -v fi="$(frames "$work/in.wav")" -v fq="$(frames "$work/q.wav")" \
    -v fo="$(frames "$work/o.wav")" 'BEGIN {
  printf "input: %d frames\n", fi
  printf "qxfx time-stretch 110 %%: %.4f s (%.0fx real time), %d frames out\n", q, 60 / q, fq
  printf "%s: %.4f s (%.0fx real time), %d frames out\n", name, o, 60 / o, fo
  printf "throughput ratio qxfx/other: %.2f (target >= 1)\n", o / q }'
