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
  speed=$(awk -v a="$secs_in" -v t0="$t0" -v t1="$t1" 'BEGIN { d = t1 - t0; printf "%.0fx", (d > 0 ? a / d : 0) }')
  printf "%-34s %-40s %9ss %9ss  %-14s %9s\n" "$name" "$file" "$secs_in" "$secs_out" "$peak" "$speed"
}

printf "%-34s %-40s %10s %10s  %-14s %9s\n" "effect / setting" "output" "input" "output" "peak" "speed"
row "simple-delay: Echo chamber" "$out/simple-delay-echo-chamber.wav" simple-delay --preset "Echo chamber"
row "simple-delay: Grand Canyon" "$out/simple-delay-grand-canyon.wav" simple-delay --preset "Grand Canyon"
row "multi-tap-delay: Tapped delay 1" "$out/multi-tap-delay-tapped-1.wav" multi-tap-delay --preset "Tapped delay 1"
row "reverb: Cathedral" "$out/reverb-cathedral.wav" reverb --preset "Cathedral"
row "reverb: Small hall" "$out/reverb-small-hall.wav" reverb --preset "Small hall"
row "chorus: Chorus 1" "$out/chorus-1.wav" chorus --preset "Chorus 1"
row "time-stretch: 110 %" "$out/time-stretch-110.wav" time-stretch --preset 2
row "time-stretch: 85 %" "$out/time-stretch-85.wav" time-stretch --preset 3
row "pitch-shift: Fifth up" "$out/pitch-shift-fifth-up.wav" pitch-shift --preset "Fifth up"
row "pitch-shift: Third down" "$out/pitch-shift-third-down.wav" pitch-shift --preset "Third down"
row "chain: chorus + reverb" "$out/chain-chorus-cathedral.wav" chorus --preset "Chorus 2" + reverb --preset Cathedral
