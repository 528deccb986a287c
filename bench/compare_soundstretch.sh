#!/usr/bin/env bash
# Whole-process throughput of `qxfx process ... time-stretch --set FinalLength=11000` against
# soundstretch -tempo=-9.0909 (or sox tempo when soundstretch is missing) on the same 60-second
# stereo 16-bit file; prints both times (best of five), the output lengths and the ratio.
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
