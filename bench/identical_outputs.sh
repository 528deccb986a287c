#!/usr/bin/env bash
# Renders the in-place effects over many settings, sample forms and channel counts with two qxfx
# builds and compares every output byte for byte: a speed-up must leave every output as it was.
#
#   bench/identical_outputs.sh render QXFX DIR     # render every case with QXFX into DIR
#   bench/identical_outputs.sh compare DIR1 DIR2   # cmp each file; lists differences, status 1 if any
#   bench/identical_outputs.sh OLD_QXFX NEW_QXFX   # both of the above in a scratch folder
#
# Inputs are 4 s of pink noise (dense: no decay hides branch or denormal paths), and a pluck that
# dies into silence (the denormal and flush paths), in 8, 16 and 32-bit PCM, float and double, with
# 1, 2 and 6 channels. QXFX finds its module as qxfx always does (beside it, or $QXPPACK1_MODULE).
# CASES=REGEX renders (and compares) only the cases whose names match, e.g. CASES='^ch-'.
set -euo pipefail

inputs() {  # DIR: the input files, made once
  local dir=$1 b c enc
  mkdir -p "$dir/in"
  for c in 1 2 6; do
    for b in 8 16 32 float double; do
      case $b in
        8) enc=(-b 8 -e unsigned-integer) ;; 16) enc=(-b 16 -e signed-integer) ;;
        32) enc=(-b 32 -e signed-integer) ;; float) enc=(-b 32 -e floating-point) ;;
        double) enc=(-b 64 -e floating-point) ;;
      esac
      [ -f "$dir/in/pink-$c-$b.wav" ] ||
        sox -R -n -r 44100 -c "$c" "${enc[@]}" "$dir/in/pink-$c-$b.wav" synth 4 pinknoise gain -3
      [ -f "$dir/in/pluck-$c-$b.wav" ] ||
        sox -R -n -r 44100 -c "$c" "${enc[@]}" "$dir/in/pluck-$c-$b.wav" synth 0.5 pluck 220 pad 0 2.5
    done
  done
}

# One case a line: a name, then the effect and its options.
cases() {
  cat <<'EOF'
sd-echo-chamber|simple-delay --preset Echo chamber
sd-grand-canyon|simple-delay --preset Grand Canyon
sd-100ms-fb|simple-delay --set MultipleDelays=1 --set DelayTime=100 --set DecayTime=20 --set DelayOut=-20 --set DryOut=0
sd-pseudo|simple-delay --preset 6
mt-tapped-1|multi-tap-delay --preset Tapped delay 1
mt-small-room-1|multi-tap-delay --preset Small room 1
mt-stadium|multi-tap-delay --preset Stadium
mt-large-hall-2|multi-tap-delay --preset Large hall 2
mt-chorus-echo|multi-tap-delay --preset Chorus-echo
mt-deep-mod|multi-tap-delay --preset Small hall 1 --set modDepth=100 --set modRate=100 --set feedback=150
ch-chorus-1|chorus --preset Chorus 1
ch-chorus-2|chorus --preset Chorus 2
ch-size-2|chorus --set chorusSize=2
ch-fast-flange-1|chorus --preset Fast flange 1
ch-hard-flange|chorus --preset Hard flange --set attenuateHigh=1
ch-cheap-tv|chorus --preset Cheap TV
ch-echo-vib-3|chorus --preset Echo-vibrato 3
ch-slow|chorus --preset Chorus 3 --set modRate=1
ch-rate-env|chorus --preset Chorus 1 --automate Modulation Rate=linear:0s:0.2,3s:20
ch-tempo|chorus --preset Chorus 2 --set tempoSync=1 --set modPeriodNote=4 --tempo 97 --meter 3/4
rv-cathedral|reverb --preset Cathedral
rv-metal-tank|reverb --preset Metal tank
rv-plate|reverb --preset Plate
rv-medium-room|reverb --preset Medium room
rv-dense-room|reverb --preset Dense room
rv-env|reverb --preset Small hall --automate Pre-Delay=linear:0s:0,3s:200
EOF
}

render() {  # QXFX DIR
  local qxfx=$1 dir=$2 name setting sig c b in out extra
  inputs "$dir"
  mkdir -p "$dir/out"
  while IFS='|' read -r name setting; do
    # Options may hold spaces (preset names): split on " --" instead of on blanks.
    local args=() rest=$setting
    args+=("${rest%% *}")
    rest=${rest#* }
    while [ -n "$rest" ]; do
      local opt=${rest%% *}
      rest=${rest#"$opt"}
      rest=${rest# }
      local val=${rest%% --*}
      rest=${rest#"$val"}
      rest=${rest# }
      args+=("$opt")
      [ -n "$val" ] && args+=("$val")
    done
    for sig in pink pluck; do
      for c in 1 2 6; do
        for b in 8 16 32 float double; do
          in="$dir/in/$sig-$c-$b.wav"
          out="$dir/out/$name-$sig-$c-$b.wav"
          extra=()
          # Odd block sizes on a few runs reach the engines' partial-chunk paths.
          [ "$b" = 16 ] && [ "$sig" = pluck ] && extra=(--block-frames 333)
          "$qxfx" process -q --no-progress "${extra[@]}" "$in" "$out" "${args[@]}" ||
            { echo "failed: $name $sig $c $b" >&2; return 1; }
        done
      done
    done
  done < <(cases | grep -E "^(${CASES:-.})")
}

# Float WAV files carry a PEAK chunk stamped with the time of writing: two files that differ only
# in those four bytes hold the same audio.
same_but_stamp() {  # FILE1 FILE2
  local peak
  peak=$(head -c 512 "$1" | grep -bao PEAK | head -1 | cut -d: -f1)
  [ -n "$peak" ] && [ "$(stat -c %s "$1")" = "$(stat -c %s "$2")" ] || return 1
  { cmp -l "$1" "$2" 2>/dev/null || true; } | awk -v lo=$((peak + 13)) -v hi=$((peak + 16)) \
    '$1 < lo || $1 > hi { bad = 1 } END { exit bad }'
}

compare() {  # DIR1 DIR2
  local a=$1 b=$2 f n=0 bad=0
  for f in "$a"/out/*.wav; do
    [[ $(basename "$f") =~ ^(${CASES:-.}) ]] || continue
    n=$((n + 1))
    if ! cmp -s "$f" "$b/out/$(basename "$f")" && ! same_but_stamp "$f" "$b/out/$(basename "$f")"; then
      echo "differs: $(basename "$f")"
      bad=$((bad + 1))
    fi
  done
  [ "$n" -gt 0 ] || { echo "no outputs in $a"; return 1; }
  echo "$n outputs compared, $bad differ"
  [ "$bad" -eq 0 ]
}

case ${1:-} in
  render) render "$2" "$3" ;;
  compare) compare "$2" "$3" ;;
  *)
    [ $# -eq 2 ] || { sed -n 2,10p "$0"; exit 2; }
    work=$(mktemp -d)
    trap 'rm -rf "$work"' EXIT
    render "$1" "$work/a"
    mkdir -p "$work/b" && cp -r "$work/a/in" "$work/b/in"
    render "$2" "$work/b"
    compare "$work/a" "$work/b"
    ;;
esac
