#!/usr/bin/env bash
# Whole-process throughput of `qxfx process ... chorus --preset "Chorus 1"` (three voices) against
# sox's chorus with two voices on the same 60-second stereo 16-bit file; prints both times (best of
# five) and the ratio.
set -euo pipefail
build=${1:-build}
qxfx="$build/tools/qxfx/qxfx"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
command -v sox >/dev/null || { echo "sox is not installed (make deps installs it)"; exit 1; }
sox -n -r 44100 -b 16 -c 2 "$work/in.wav" synth 60 pluck 220 pluck 330 tremolo 3 60 gain -6

best() {  # best wall time in seconds of five runs of the command
  local best=999999 t0 t1 d
  for _ in 1 2 3 4 5; do
    t0=$(date +%s%N); "$@" >/dev/null 2>&1; t1=$(date +%s%N)
    d=$(( (t1 - t0) / 1000 ))
    (( d < best )) && best=$d
  done
  awk -v us="$best" 'BEGIN { printf "%.4f", us / 1e6 }'
}

q=$(best "$qxfx" process -q "$work/in.wav" "$work/q.wav" chorus --preset "Chorus 1")
# Two voices near the preset's 40 ms delay and 0.8 Hz rate, sine modulated.
s=$(best sox "$work/in.wav" "$work/s.wav" chorus 0.6 0.9 40 0.4 0.8 2 -s 46 0.4 0.65 1.2 -s)
awk -v q="$q" -v s="$s" 'BEGIN {
  printf "qxfx chorus (3 voices): %.4f s (%.0fx real time)\n", q, 60 / q
  printf "sox chorus (2 voices):  %.4f s (%.0fx real time)\n", s, 60 / s
  printf "throughput ratio qxfx/sox: %.2f (target >= 1)\n", s / q }'
