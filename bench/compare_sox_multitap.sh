#!/usr/bin/env bash
# Whole-process throughput of `qxfx process ... multi-tap-delay` with the fields of preset
# "Tapped delay 1" against sox's echos with four taps on the same 60-second stereo 16-bit file;
# prints both times (best of five) and the ratio.
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

# "Tapped delay 1", field by field.
delays=(17 47 89 164 240 332 416 500)
gains=(-91 16 77 -58 73 -68 70 -64)
pans=(-24 18 -14 -38 -6 -38 0 0)
sets=()
for i in 0 1 2 3 4 5 6 7; do
  sets+=(--set "tapDelay[$i]=${delays[$i]}" --set "tapGain[$i]=${gains[$i]}" --set "tapPan[$i]=${pans[$i]}")
done
sets+=(--set tapCount=8 --set wetOut=-80 --set dryOut=0 --set feedback=0 --set inputGain=0
       --set lowPassOn=1 --set lowPassFrequency=4500 --set modDepth=0 --set modRate=20)

"$qxfx" process -q "$work/in.wav" "$work/q.wav" multi-tap-delay "${sets[@]}" \
  || { echo "qxfx multi-tap-delay failed"; exit 1; }
q=$(best "$qxfx" process -q "$work/in.wav" "$work/q.wav" multi-tap-delay "${sets[@]}")
s=$(best sox "$work/in.wav" "$work/s.wav" echos 0.8 0.7 17 0.6 89 0.5 164 0.4 240 0.3)
awk -v q="$q" -v s="$s" 'BEGIN {
  printf "qxfx multi-tap-delay: %.4f s (%.0fx real time)\n", q, 60 / q
  printf "sox echos (4 taps):   %.4f s (%.0fx real time)\n", s, 60 / s
  printf "throughput ratio qxfx/sox: %.2f (target >= 1.5)\n", s / q }'
