#!/usr/bin/env bash
# qxfx speaking natural units: --param with units and names, --set as the exact record door,
# preset prefixes, page-only fields, listings, and mistakes that must not exit 0.
set -u
qxfx=$(realpath "$1")
source "$(dirname "$(realpath "$0")")/qxfx_test_lib.sh"
same() { cmp -s "$1" "$2" && ok || bad "$3: $1 and $2 differ"; }

"$qxfx" make-demo-input in.wav

# Natural units land on the same record as the stored values.
expect_ok "natural" "$qxfx" process -q in.wav n.wav simple-delay --param DelayOut=-10dB --param 'delaytime=0.4 s' \
  --param DecayTime=2s --param MultipleDelays=on
expect_ok "stored" "$qxfx" process -q in.wav s.wav simple-delay --set DelayOut=-100 --set DelayTime=400 \
  --set DecayTime=20 --set MultipleDelays=1
same n.wav s.wav "natural and stored settings"
expect_ok "note by name" "$qxfx" process -q in.wav a.wav simple-delay --param TempoSyncDelay=on --tempo 120 \
  --param 'DelayNote=dotted 8th'
expect_ok "note by index" "$qxfx" process -q in.wav b.wav simple-delay --param TempoSyncDelay=on --tempo 120 \
  --set DelayNote=11
same a.wav b.wav "note by name and by index"
expect_ok "reverb names" "$qxfx" process -q in.wav r1.wav reverb --param 'ReverbMode=plate 1' --param 'ReflectionStyle=mode 10'
expect_ok "reverb fields" "$qxfx" process -q in.wav r2.wav reverb --set reverbMode=16 --set reflectionStyle=9
same r1.wav r2.wav "reverb mode and style by name"
expect_ok "ratio in semitones" "$qxfx" process -q in.wav p1.wav pitch-shift --param Ratio=+12st
expect_ok "ratio as a decimal" "$qxfx" process -q in.wav p2.wav pitch-shift --set Ratio=2
same p1.wav p2.wav "ratio by semitones and by --set decimal"
expect_ok "percent" "$qxfx" process -q in.wav t1.wav time-stretch --param FinalLength=105%
expect_ok "percent option" "$qxfx" process -q in.wav t2.wav time-stretch --percent 105
same t1.wav t2.wav "FinalLength in % and --percent"

# Presets by a unique beginning, any case; an ambiguous one names the candidates.
expect_ok "preset prefix" "$qxfx" process -q in.wav c1.wav reverb --preset CATH
expect_ok "preset name" "$qxfx" process -q in.wav c2.wav reverb --preset Cathedral
same c1.wav c2.wav "preset by prefix"
expect_fail "ambiguous preset" "could be 'Medium hall', 'Medium room', 'Metal tank'" "$qxfx" process in.wav x.wav reverb --preset m

# Mistakes: one clear line and a non-zero exit, nothing written.
expect_fail "level above 0 dB" "DelayOut takes -80 to 0 dB" "$qxfx" process in.wav x.wav simple-delay --param DelayOut=3dB
expect_fail "wrong unit" "not a unit of it" "$qxfx" process in.wav x.wav simple-delay --param DelayTime=4Hz
expect_fail "unknown note" "Dotted 8th Note" "$qxfx" process in.wav x.wav simple-delay --param DelayNote=dotted
expect_fail "toggle" "on or off" "$qxfx" process in.wav x.wav chorus --param tempoSync=perhaps
expect_fail "unknown name" "did you mean 'DelayOut'" "$qxfx" process in.wav x.wav simple-delay --param DelayOtu=-3dB
expect_fail "set decimal on a whole field" "a whole number from 5 to 50" "$qxfx" process in.wav x.wav reverb --set decayTenths=2.5
expect_fail "ignored tempo" "does not follow tempo" "$qxfx" process in.wav x.wav time-stretch --tempo 128
expect_fail "ignored meter" "does not follow tempo" "$qxfx" process in.wav x.wav reverb --meter 3/4
expect_fail "option of another command" "--preset does nothing for 'presets'" "$qxfx" presets reverb --preset 2
expect_fail "jobs without a batch" "--jobs needs --out-dir" "$qxfx" process -j 4 in.wav x.wav chorus
[ ! -e x.wav ] && ok || bad "refused runs left an output"

# Warnings that let the run go on: a rounded value, a page-only field, a tempo fallback.
expect_ok "rounded" "$qxfx" process in.wav x.wav reverb --param DecayTime=2.55s
grep -q "it becomes 2.6 s" err.txt && ok || bad "rounding not told: $(cat err.txt)"
expect_ok "page only" "$qxfx" process in.wav x.wav pitch-shift --param Semitones=7
grep -q "changes no sound" err.txt && ok || bad "page-only field not flagged: $(cat err.txt)"
expect_ok "tempo fallback" "$qxfx" process in.wav x.wav chorus --param tempoSync=on
grep -q "falls back to 2 s" err.txt && ok || bad "tempo fallback not told: $(cat err.txt)"

# Listings show natural units and every enumeration's names.
"$qxfx" params time-stretch | grep -q "A19. Drums (tiny echo)" && ok || bad "splice modes not listed"
"$qxfx" params reverb | grep -q "Mode 10 (16 ms, pan left)" && ok || bad "reflection styles not listed"
"$qxfx" help simple-delay | grep -Eq "DelayOut +-inf, -79.9 to 0 dB +-6 dB" && ok || bad "help: $("$qxfx" help simple-delay | grep DelayOut)"
"$qxfx" params pitch-shift | grep -q "Semitones.*page only" && ok || bad "page-only not marked"
"$qxfx" params chorus --json | grep -q '"name": "modRate", "field": "modRate", "unit": "Hz"' && ok || bad "params json"

finish
