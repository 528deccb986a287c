#!/usr/bin/env bash
# Whole-process throughput of `qxfx process ... reverb` with the "Cathedral" preset's fields against
# sox's reverb on the same 60-second stereo 16-bit file; prints both times (best of five) and the ratio.
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

# The "Cathedral" row, field by field (the fields it shares with the default row are left as they are).
q=$(best "$qxfx" process -q "$work/in.wav" "$work/q.wav" reverb --set dryOut=0 --set reverbOut=-240 \
      --set earlyOut=-200 --set reverbMode=8 --set reflectionStyle=5 --set decayTenths=30 \
      --set preDelayMs=70 --set bassOn=1 --set bassFreqHz=20 --set highOn=1 --set highFreqHz=7000 \
      --set bypass=0)
s=$(best sox "$work/in.wav" "$work/s.wav" reverb)
awk -v q="$q" -v s="$s" 'BEGIN {
  printf "qxfx reverb (Cathedral): %.4f s (%.0fx real time)\n", q, 60 / q
  printf "sox reverb:              %.4f s (%.0fx real time)\n", s, 60 / s
  printf "throughput ratio qxfx/sox: %.2f (target >= 1.5)\n", s / q }'
