#!/usr/bin/env bash
# make bench's peer table: each qxfx job against its peer command on the same 60-second pink noise
# (a dense signal: nothing decays to silence, so no branch or denormal cost hides), whole process.
# The two sides run in pairs, alternating which goes first; each pair gives a ratio = peer time /
# qxfx time, and the table shows medians of times and ratios, for wall time and CPU time.
#
#   bench/peer_table.sh [BUILD] [RUNS]     # BUILD defaults to build, RUNS (pairs) to 7
set -euo pipefail
build=${1:-build}
runs=${2:-7}
qxfx="$build/tools/qxfx/qxfx"
[ -x "$qxfx" ] || { echo "no $qxfx: build first"; exit 1; }
command -v sox >/dev/null || { echo "sox is not installed (make deps installs it)"; exit 1; }
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
sox -V1 -R -n -r 44100 -b 16 -c 2 "$work/in.wav" synth 60 pinknoise gain -3
sox -V1 -R -n -r 44100 -e floating-point -b 32 -c 6 "$work/in6f.wav" synth 60 pinknoise gain -3

if command -v soundstretch >/dev/null; then
  stretch_peer=(soundstretch "$work/in.wav" "$work/p.wav" -tempo=-9.0909)
  pitch_peer=(soundstretch "$work/in.wav" "$work/p.wav" -pitch=7)
else  # Debian's soundstretch is the reference; sox's own effects stand in without it.
  stretch_peer=(sox "$work/in.wav" "$work/p.wav" tempo 0.90909)
  pitch_peer=(sox "$work/in.wav" "$work/p.wav" pitch 700)
fi
chorus_peer=(sox "$work/in.wav" "$work/p.wav" chorus 0.6 0.9 40 0.4 0.8 2 -s 46 0.4 0.65 1.2 -s)

# Wall and CPU seconds (user + system, all threads) of one quiet run, on one line.
timed() {
  local TIMEFORMAT='%R %U %S' t
  t=$({ time "$@" >/dev/null 2>&1; } 2>&1) || { echo "failed: $*" >&2; return 1; }
  awk '{ printf "%.4f %.4f\n", $1, $2 + $3 }' <<<"$t"
}

median() { sort -g | awk '{ v[NR] = $1 } END { print NR % 2 ? v[(NR + 1) / 2] : (v[NR / 2] + v[NR / 2 + 1]) / 2 }'; }

# LABEL PEER-LABEL TARGET -- QXFX-ARGS... -- PEER-COMMAND...
row() {
  local label=$1 peerlabel=$2 target=$3 q=() p=() i qt pt
  shift 4
  while [ "$1" != "--" ]; do q+=("$1"); shift; done
  shift
  p=("$@")
  : >"$work/pairs"
  for ((i = 0; i < runs; i++)); do
    if ((i % 2)); then
      pt=$(timed "${p[@]}"); qt=$(timed "${q[@]}")
    else
      qt=$(timed "${q[@]}"); pt=$(timed "${p[@]}")
    fi
    echo "$qt $pt" >>"$work/pairs"  # qwall qcpu pwall pcpu
  done
  local qw qc pw pc rw rc
  qw=$(awk '{ print $1 }' "$work/pairs" | median)
  qc=$(awk '{ print $2 }' "$work/pairs" | median)
  pw=$(awk '{ print $3 }' "$work/pairs" | median)
  pc=$(awk '{ print $4 }' "$work/pairs" | median)
  rw=$(awk '{ print $3 / $1 }' "$work/pairs" | median)
  rc=$(awk '$2 > 0 { print $4 / $2 }' "$work/pairs" | median)
  awk -v l="$label" -v pl="$peerlabel" -v t="$target" -v qw="$qw" -v qc="$qc" -v pw="$pw" -v pc="$pc" \
      -v rw="$rw" -v rc="$rc" 'BEGIN {
    met = t == "" ? "" : (rw >= t ? "met" : "NOT met");
    printf "%-38s %7.3f %7.3f   %-30s %7.3f %7.3f   %6.2f %6.2f   %s%s\n",
           l, qw, qc, pl, pw, pc, rw, rc, (t == "" ? "-" : ">= " t), (met == "" ? "" : "  " met) }'
}

uptime_load=$(awk '{ print $1, $2, $3 }' /proc/loadavg)
echo "== peer table: 60 s pink noise, whole process, $runs paired runs, medians; ratio = peer / qxfx"
echo "   (load average before: $uptime_load on $(nproc) processors)"
printf "%-38s %7s %7s   %-30s %7s %7s   %6s %6s   %s\n" "qxfx job" "wall s" "cpu s" "peer" "wall s" \
  "cpu s" "wall x" "cpu x" "target (wall)"
row "simple-delay, 100 ms feedback" "sox echo 0.8 0.9 100 0.5" 3 -- \
  "$qxfx" process -q "$work/in.wav" "$work/q.wav" simple-delay --set MultipleDelays=1 \
  --set DelayTime=100 --set DecayTime=20 --set DelayOut=-30 --set DryOut=-10 -- \
  sox "$work/in.wav" "$work/p.wav" echo 0.8 0.9 100 0.5
row "multi-tap-delay, 4 taps" "sox echos, 4 taps" 2 -- \
  "$qxfx" process -q "$work/in.wav" "$work/q.wav" multi-tap-delay --preset "Tapped delay 1" \
  --set tapCount=4 -- \
  sox "$work/in.wav" "$work/p.wav" echos 0.8 0.7 17 0.6 47 0.5 89 0.4 164 0.3
row "chorus, 2 voices (chorusSize=2)" "sox chorus, 2 voices" 1.8 -- \
  "$qxfx" process -q "$work/in.wav" "$work/q.wav" chorus --set chorusSize=2 -- "${chorus_peer[@]}"
row "chorus \"Chorus 1\" (3 voices)" "sox chorus, 2 voices" 1.2 -- \
  "$qxfx" process -q "$work/in.wav" "$work/q.wav" chorus --preset "Chorus 1" -- "${chorus_peer[@]}"
row "reverb Cathedral" "sox reverb" 3 -- \
  "$qxfx" process -q "$work/in.wav" "$work/q.wav" reverb --preset Cathedral -- \
  sox "$work/in.wav" "$work/p.wav" reverb
# One processor open to it, the same binary runs its channels on the calling thread alone.
row "reverb Cathedral, 6-channel float" "itself on one processor" 1 -- \
  "$qxfx" process -q "$work/in6f.wav" "$work/q.wav" reverb --preset Cathedral -- \
  taskset -c 0 "$qxfx" process -q "$work/in6f.wav" "$work/p.wav" reverb --preset Cathedral
row "time-stretch 110 %" "${stretch_peer[0]}" "" -- \
  "$qxfx" process -q "$work/in.wav" "$work/q.wav" time-stretch --set FinalLength=11000 -- "${stretch_peer[@]}"
row "pitch-shift +7, length kept" "${pitch_peer[0]}" "" -- \
  "$qxfx" process -q "$work/in.wav" "$work/q.wav" pitch-shift --semitones 7 --preserve-duration -- \
  "${pitch_peer[@]}"
echo "   (load average after: $(awk '{ print $1, $2, $3 }' /proc/loadavg))"
