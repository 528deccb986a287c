#!/usr/bin/env bash
# make demo: renders the built-in input through the effects into demo-out/ and tabulates the result.
set -euo pipefail
build=${1:-build}
qxfx="$build/tools/qxfx/qxfx"
out=demo-out
mkdir -p "$out"
"$qxfx" make-demo-input "$out/input.wav"

row() {  # name, output file, then the qxfx process arguments
  local name=$1 file=$2; shift 2
  local t0 t1
  t0=$(date +%s.%N)
  "$qxfx" process -q "$out/input.wav" "$file" "$@"
  t1=$(date +%s.%N)
  local in_info out_info
  in_info=$("$qxfx" info "$out/input.wav")
  out_info=$("$qxfx" info "$file")
  local secs_in secs_out peak speed
  secs_in=$(sed -E 's/.*\(([0-9.]+) s\).*/\1/' <<<"$in_info")
  secs_out=$(sed -E 's/.*\(([0-9.]+) s\).*/\1/' <<<"$out_info")
  peak=$(sed -E 's/.*peak //' <<<"$out_info")
  speed=$(awk -v a="$secs_in" -v t0="$t0" -v t1="$t1" 'BEGIN { d = t1 - t0; printf "%.0fx", d > 0 ? a / d : 0 }')
  printf "%-34s %-40s %9ss %9ss  %-14s %9s\n" "$name" "$file" "$secs_in" "$secs_out" "$peak" "$speed"
}

printf "%-34s %-40s %10s %10s  %-14s %9s\n" "effect / setting" "output" "input" "output" "peak" "speed"
row "simple-delay: echo chamber" "$out/simple-delay-echo-chamber.wav" simple-delay \
  --set MultipleDelays=1 --set DelayTime=400 --set DecayTime=20 --set DelayOut=-30 --set DryOut=-90
row "simple-delay: slap-back" "$out/simple-delay-slap-back.wav" simple-delay \
  --set MultipleDelays=0 --set DelayTime=400 --set DecayTime=20 --set DelayOut=-120 --set DryOut=-90
