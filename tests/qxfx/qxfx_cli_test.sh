#!/usr/bin/env bash
# qxfx as a user meets it: processing, presets, state files, automation and the errors of each.
set -u
qxfx=$1
source "$(dirname "$(realpath "$0")")/qxfx_test_lib.sh"
# Names in English unless asked otherwise, and a registry of the test's own.
export LC_ALL=C QX_REGISTRY_FILE="$work/registry"

expect_ok "demo input" "$qxfx" make-demo-input in.wav
expect_ok "plain run" "$qxfx" process -q in.wav a.wav simple-delay --preset "echo chamber"
[ "$("$qxfx" info a.wav | sed -E 's/.*\(([0-9.]+) s\).*/\1/')" = "10.400" ] && ok || bad "tail length: $("$qxfx" info a.wav)"

# A state saved by one run restores exactly in another.
expect_ok "save state" "$qxfx" process -q in.wav b.wav simple-delay --preset 4 --set DryOut=-200 --save-state s.qxs
[ "$(stat -c %s s.qxs)" = 68 ] && ok || bad "state size"
expect_ok "load state" "$qxfx" process -q in.wav c.wav simple-delay --load-state s.qxs
cmp -s b.wav c.wav && ok || bad "state round trip differs"

# A synced quarter note follows --tempo (0.4 s at 150 bpm), else the 2 s of no host; the tail of
# a single echo is one delay long.
for case in "--tempo 150:8.400" ":10.000"; do
  expect_ok "tempo ${case%%:*}" "$qxfx" process -q in.wav t.wav simple-delay --preset 3 --set TempoSyncDelay=1 ${case%%:*}
  [ "$("$qxfx" info t.wav | sed -E 's/.*\(([0-9.]+) s\).*/\1/')" = "${case##*:}" ] && ok || bad "tempo echo: $("$qxfx" info t.wav)"
done

# pitch-shift's and time-stretch's own options reach the filter; their mistakes are named.
expect_ok "semitones" "$qxfx" process -q in.wav p.wav pitch-shift --semitones 7 --cents=-12.5 --preserve-duration
[ "$("$qxfx" info p.wav | sed -E 's/.*\(([0-9.]+) s\).*/\1/')" = "8.000" ] && ok || bad "preserved duration: $("$qxfx" info p.wav)"
expect_fail "percent text" "--percent takes a number, not 'ten'" "$qxfx" process in.wav d.wav time-stretch --percent=ten
expect_fail "percent missing" "--percent needs a value" "$qxfx" process in.wav d.wav time-stretch --percent
expect_fail "semitones range" "-12 to 12" "$qxfx" process in.wav d.wav pitch-shift --semitones 13 --preserve-duration

# Garbage, truncated and foreign state files are reported, never crash, and leave no output.
head -c 30 in.wav > garbage.qxs
head -c 40 s.qxs > short.qxs
printf 'D\0\0\0' > foreign.qxs; head -c 64 /dev/zero >> foreign.qxs
expect_fail "garbage state" "not a state file" "$qxfx" process in.wav d.wav simple-delay --load-state garbage.qxs
expect_fail "short state" "not a state file" "$qxfx" process in.wav d.wav simple-delay --load-state short.qxs
expect_fail "foreign state" "another effect or of an unknown version" "$qxfx" process in.wav d.wav simple-delay --load-state foreign.qxs
expect_fail "missing state" "cannot read the state file" "$qxfx" process in.wav d.wav simple-delay --load-state none.qxs
[ ! -e d.wav ] && ok || bad "failed runs left an output"

# Presets and parameters are listed from the effect itself.
"$qxfx" presets simple-delay | grep -q "4  Grand Canyon" && ok || bad "presets listing"
"$qxfx" params simple-delay --json | grep -q '"label": "Dry Out", "unit": "dB"' && ok || bad "params json"
# Names follow the language: asked for, or stored with qxfx lang for later runs.
"$qxfx" presets reverb --lang 1031 | grep -q "3  Kathedrale" && ok || bad "German presets"
"$qxfx" params chorus --lang 0x407 | grep -q "Modulationsrate" && ok || bad "German labels"
"$qxfx" lang | grep -q "1033 (0x0409), from the environment" && ok || bad "no stored language: $("$qxfx" lang)"
expect_ok "store language" "$qxfx" lang 1031
"$qxfx" lang | grep -q "1031 (0x0407), stored" && ok || bad "stored language: $("$qxfx" lang)"
"$qxfx" presets reverb | grep -q "3  Kathedrale" && ok || bad "stored language at start-up"
expect_ok "clear language" "$qxfx" lang 0
"$qxfx" presets reverb | grep -q "3  Cathedral" && ok || bad "environment language again"
expect_fail "bad language" "language identifier" "$qxfx" lang german
expect_fail "unknown preset" "did you mean 'Grand Canyon'" "$qxfx" process in.wav d.wav simple-delay --preset "grand canyn"
expect_fail "preset index" "0 to 6" "$qxfx" process in.wav d.wav simple-delay --preset 7

# Automation: a dry level rising from silence makes the start quieter than a plain run.
expect_ok "automation" "$qxfx" process -q in.wav e.wav simple-delay --preset 3 --automate "Dry Out=linear:0s:-80,4s:0"
expect_ok "no automation" "$qxfx" process -q in.wav f.wav simple-delay --preset 3 --set DryOut=0
cmp -s e.wav f.wav && bad "automation changed nothing" || ok
expect_fail "bad curve" "unknown curve" "$qxfx" process in.wav d.wav simple-delay --automate "Dry Out=wobble:0:-6,1:0"
expect_fail "one point" "at least two points" "$qxfx" process in.wav d.wav simple-delay --automate "Dry Out=linear:0:-6"
expect_fail "falling times" "must rise" "$qxfx" process in.wav d.wav simple-delay --automate "Dry Out=linear:2s:-6,1s:0"
expect_fail "out of range" "outside -80 to 0" "$qxfx" process in.wav d.wav simple-delay --automate "3=linear:0:-6,1:10"
expect_fail "jump only" "does not move along" "$qxfx" process in.wav d.wav simple-delay --automate "Bypass=linear:0:0,1:1"

# Bad input of every other kind: one clear line, a non-zero exit, the input untouched.
before=$(md5sum in.wav)
expect_fail "same file" "is the input" "$qxfx" process in.wav in.wav simple-delay
expect_fail "not audio" "cannot read" "$qxfx" process garbage.qxs d.wav simple-delay
expect_fail "field" "did you mean 'DelayTime'" "$qxfx" process in.wav d.wav simple-delay --set DelayTme=3
expect_fail "value" "from 1 to 5000" "$qxfx" process in.wav d.wav simple-delay --set DelayTime=0
expect_fail "effect" "did you mean 'simple-delay'" "$qxfx" process in.wav d.wav simple-dealy
[ "$(md5sum in.wav)" = "$before" ] && ok || bad "the input changed"

finish
