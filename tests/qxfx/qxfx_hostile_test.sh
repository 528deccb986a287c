#!/usr/bin/env bash
# qxfx given what a careless or hostile user gives it: outputs that are devices or pipes, state and
# tempo files that are not files, non-finite samples, absurd rates and channel counts, a full disk,
# registrations at once, and a very long tempo map.
set -u
qxfx=$(realpath "$1")
work=$(mktemp -d)
trap 'mountpoint -q "$work/small" && umount "$work/small"; rm -rf "$work"' EXIT
cd "$work"
export TMPDIR="$work/tmp" QX_REGISTRY_FILE="$work/registry"
mkdir "$TMPDIR"
fails=0 passes=0
ok() { passes=$((passes + 1)); }
bad() { echo "FAIL: $*"; fails=$((fails + 1)); }
expect_fail() {  # what, message fragment, command...
  local what=$1 frag=$2; shift 2
  if timeout 60 "$@" >out.txt 2>err.txt; then bad "$what: succeeded"; return; fi
  grep -q -- "$frag" err.txt && [ "$(wc -l <err.txt)" = 1 ] && ok || bad "$what: message was: $(cat err.txt)"
}
# A 32-bit float WAV of FRAMES frames of a sine at RATE with CHANNELS; NAN_AT puts a NaN in channel 1.
float_wav() {  # file rate channels frames [nan_at]
  perl -e 'my ($rate, $ch, $n, $at) = @ARGV; my $d = "";
    for my $i (0 .. $n - 1) { for my $c (0 .. $ch - 1) {
      $d .= ($i == $at && $c == 0) ? pack("L<", 0x7fc00000) : pack("f<", 0.5 * sin($i * 0.05)); } }
    print pack("A4 V A4 A4 V v v V V v v A4 V", "RIFF", 36 + length($d), "WAVE", "fmt ", 16, 3, $ch, $rate,
               $rate * $ch * 4, $ch * 4, 32, "data", length($d)) . $d;' "$2" "$3" "$4" "${5:--1}" >"$1"
}
"$qxfx" make-demo-input in.wav
mkdir folder
float_wav short.wav 44100 2 44100

# Outputs that are not regular files are written through, never replaced.
mkfifo pipe
cat pipe >from_pipe.wav &
"$qxfx" process -q in.wav pipe chorus && [ -p pipe ] && ok || bad "a pipe output was replaced"
wait
"$qxfx" process -q in.wav piped.wav chorus
cmp -s from_pipe.wav piped.wav && ok || bad "a pipe output differs from a file output"
for args in "in.wav /dev/null reverb" "in.wav o.wav reverb --save-state /dev/null"; do
  # shellcheck disable=SC2086
  "$qxfx" process -q $args && [ -c /dev/null ] && ok || bad "$args: /dev/null is no longer a device"
done
mkfifo state_pipe
cat state_pipe >state_copy &
"$qxfx" process -q in.wav o.wav reverb --preset 3 --save-state state_pipe && [ -p state_pipe ] && ok ||
  bad "a pipe given to --save-state was replaced"
wait
"$qxfx" process -q in.wav o.wav reverb --load-state state_copy && ok || bad "the state written to a pipe does not load"

# Refusals: one line each, nothing written. Cases: what, message fragment, arguments.
float_wav fast.wav 2147483647 1 1000
float_wav wide.wav 44100 33 100
float_wav slow.wav 1 1 100
head -c 100000000 /dev/zero >huge.state
# A state no option could set: a pitch ratio of 1e-300 would make the output endless.
"$qxfx" process -q in.wav o.wav pitch-shift --set Ratio=0.5 --save-state ratio.state
python3 -c "import struct; b = open('ratio.state', 'rb').read()
open('tiny_ratio.state', 'wb').write(b.replace(struct.pack('<d', 0.5), struct.pack('<d', 1e-300)))"
while IFS='|' read -r what frag args; do
  # shellcheck disable=SC2086
  expect_fail "$what" "$frag" "$qxfx" process $args
done <<'EOF'
output folder|the output folder is a directory|in.wav folder reverb
state from a folder|the state file folder is a directory|in.wav x.wav reverb --load-state folder
state from a device|the state file /dev/zero is a character device|in.wav x.wav reverb --load-state /dev/zero
state too large|huge.state is more than the 65536 bytes|in.wav x.wav reverb --load-state huge.state
damaged state|Ratio is 1e-300, outside 0.01 x to 100 x|in.wav x.wav pitch-shift --load-state tiny_ratio.state
tempo map from a folder|the tempo map folder is a directory|in.wav x.wav simple-delay --tempo-map folder
tempo map from a device|the tempo map /dev/zero is a character device|in.wav x.wav simple-delay --tempo-map /dev/zero
save state into a folder|the state file folder is a directory|in.wav x.wav reverb --save-state folder
absurd rate|claims 2147483647 Hz; qxfx takes rates up to 768000 Hz|fast.wav x.wav chorus
too many channels|has 33 channels; the effects take 1 to 32|wide.wav x.wav chorus
stretch at 1 Hz|time-stretch cannot run on 1 Hz audio with 1 channel|slow.wav x.wav time-stretch
EOF
[ ! -e x.wav ] && [ -z "$(ls "$TMPDIR")" ] && ok || bad "refused runs left files: $(ls x.wav "$TMPDIR" 2>&1)"

# Non-finite input: counted by info, reported by process and made silent unless kept; a NaN never
# becomes a full-scale whole-number sample.
float_wav nan.wav 44100 2 44100 22050
"$qxfx" info nan.wav | grep -q "peak -6.0.* 1 sample NaN or infinite" && ok || bad "info: $("$qxfx" info nan.wav)"
"$qxfx" process nan.wav clean.wav reverb 2>err.txt
grep -q "has 1 sample that is NaN or infinite, the first at 0.500000 s (frame 22050, channel 1); replaced with silence" \
  err.txt && ok || bad "process report: $(cat err.txt)"
"$qxfx" info clean.wav | grep -q "NaN" && bad "NaN in the output: $("$qxfx" info clean.wav)" || ok
"$qxfx" process -q --keep-nonfinite nan.wav kept.wav reverb
"$qxfx" info kept.wav | grep -q "NaN or infinite" && ok || bad "--keep-nonfinite did not keep the NaN"
"$qxfx" process -q --keep-nonfinite nan.wav kept16.wav reverb --output-format pcm16
"$qxfx" process -q short.wav ref16.wav reverb --output-format pcm16
peak() { "$qxfx" info "$1" | sed -E 's/.*peak (-?[0-9.]+) dBFS.*/\1/'; }
awk -v a="$(peak kept16.wav)" -v b="$(peak ref16.wav)" 'BEGIN { exit !(a <= b + 0.5) }' && ok ||
  bad "a NaN became a loud whole-number sample: peak $(peak kept16.wav) against $(peak ref16.wav) dBFS"

# A full disk names the output, not its temporary name.
mkdir small
if mount -t tmpfs -o size=64k tmpfs small 2>/dev/null; then
  "$qxfx" process -q in.wav small/out.wav reverb 2>err.txt && bad "a full disk took the output"
  grep -q "small/out.wav" err.txt && ! grep -q "qxfx-" err.txt && ok || bad "full disk: $(cat err.txt)"
  [ -z "$(ls -A small)" ] && ok || bad "a full disk kept: $(ls -A small)"
fi

# Registrations at once all succeed: each waits for the others.
for i in 1 2 3 4 5 6 7 8; do "$qxfx" register -q 2>"reg$i.txt" & done
wait
failed=$(cat reg?.txt)
[ -z "$failed" ] && ok || bad "concurrent registration: $failed"
"$qxfx" list | grep -c " yes$" | grep -qx 12 && ok || bad "not all classes registered: $("$qxfx" list)"

# A long tempo map cuts the stream at each of its lines; each cut must cost a search, not a walk
# over the map (this one took minutes when it did).
sox -n -r 8000 -c 1 -b 16 long.wav synth 20 sine 440
awk 'BEGIN { for (i = 0; i < 300000; i++) printf "tempo %dms 120\n", i }' >long.map
timeout 60 "$qxfx" process -q long.wav synced.wav simple-delay --set TempoSyncDelay=1 --tempo-map long.map &&
  ok || bad "a long tempo map did not finish within a minute"

echo "$passes passed, $fails failed"
[ "$fails" = 0 ]
