#!/usr/bin/env bash
# Files as people have them: MP3 where libsndfile has it, encodings the container cannot hold,
# unknown extensions, plain WAV below 4 GiB, tags, dither, clipping reports, --gain and --norm.
set -u
qxfx=$(realpath "$1")
source "$(dirname "$(realpath "$0")")/qxfx_test_lib.sh"
peak() { "$qxfx" info "$1" | sed -E 's/.*peak (-?[0-9.]+) dBFS.*/\1/; s/.*silent$/silent/'; }
near() { awk -v a="$1" -v b="$2" -v d="$3" 'BEGIN { exit !((a - b) < d && (b - a) < d) }'; }

"$qxfx" make-demo-input in.wav
bypass=(simple-delay --param Bypass=on)

# The output's container comes from a name qxfx knows; anything else is refused, not WAV.
expect_fail "unknown extension" "unknown output extension '.wvv'" "$qxfx" process in.wav out.wvv chorus
[ ! -e out.wvv ] && ok || bad "refused run left an output"
expect_ok "small wav" "$qxfx" process -q in.wav plain.wav chorus
"$qxfx" info plain.wav | grep -q "^plain.wav: WAV (Microsoft)" && ok || bad "small WAV is not plain: $("$qxfx" info plain.wav)"
# A float input into a container without float gets the nearest encoding, not an error.
expect_ok "float in" "$qxfx" process -q in.wav f.wav "${bypass[@]}" --output-format float
expect_ok "float to flac" "$qxfx" process -q f.wav f.flac chorus
"$qxfx" info f.flac | grep -q "FLAC.*24 bit" && ok || bad "float into FLAC: $("$qxfx" info f.flac)"

# MP3 in and out, where this libsndfile can write it.
if "$qxfx" process -q in.wav in.mp3 "${bypass[@]}" 2>err.txt; then
  expect_ok "mp3 chain" "$qxfx" process -q in.mp3 out.mp3 reverb + time-stretch --percent 105
  "$qxfx" info out.mp3 | grep -q "MPEG Layer III" && ok || bad "mp3 output: $("$qxfx" info out.mp3)"
else
  grep -q "cannot write MP3" err.txt && ok || bad "mp3 refusal: $(cat err.txt)"
fi

# Tags go from input to output.
"$qxfx" process -q in.wav tagged.flac "${bypass[@]}"
if command -v sox >/dev/null; then
  sox in.wav --comment "take 3" tagged.flac
  expect_ok "tags" "$qxfx" process -q tagged.flac tagged.wav chorus
  "$qxfx" info tagged.wav | grep -q "comment: take 3" && ok || bad "tag lost: $("$qxfx" info tagged.wav)"
fi

# Dither: a signal below the 16-bit step survives as noise with dither and vanishes without.
expect_ok "quiet 24-bit" "$qxfx" process -q in.wav q24.wav "${bypass[@]}" --gain -100 --output-format pcm24 --no-dither
expect_ok "dithered" "$qxfx" process -q q24.wav d16.wav "${bypass[@]}" --output-format pcm16
expect_ok "not dithered" "$qxfx" process -q q24.wav n16.wav "${bypass[@]}" --output-format pcm16 --no-dither
[ "$(peak d16.wav)" != silent ] && ok || bad "dither added nothing"
[ "$(peak n16.wav)" = silent ] && ok || bad "--no-dither still dithered: $(peak n16.wav)"
expect_ok "same bits" "$qxfx" process -q in.wav s16.wav "${bypass[@]}"
cmp -s <(tail -c 100000 in.wav) <(tail -c 100000 s16.wav) && ok || bad "16 to 16 bits changed the audio"

# Levels: --gain before the chain, --norm after it, and a report when the result clipped.
expect_ok "gain" "$qxfx" process -q in.wav g.wav "${bypass[@]}" --gain -6 --no-dither
near "$(peak g.wav)" "$(awk -v p="$(peak in.wav)" 'BEGIN { print p - 6 }')" 0.05 && ok || bad "gain: $(peak in.wav) -> $(peak g.wav)"
expect_ok "norm" "$qxfx" process -q in.wav n.wav reverb --norm=-3
near "$(peak n.wav)" -3 0.01 && ok || bad "norm: $(peak n.wav)"
expect_ok "norm 0" "$qxfx" process in.wav n0.wav reverb --preset 3 --norm
grep -q "clipped" err.txt && bad "normalised run reported clipping: $(cat err.txt)" || ok
expect_ok "clipping" "$qxfx" process in.wav c.wav reverb --param ReverbOut=0dB --gain 6
grep -Eq "reverb: [0-9,]+ samples clipped \(peak \+[0-9.]+ dBFS\); lower the input or use --gain" err.txt && ok ||
  bad "no clipping report: $(cat err.txt)"
expect_ok "clipping in place" "$qxfx" process in.wav c2.wav reverb --param ReverbOut=0dB + chorus
grep -q "reverb + chorus: .* samples at full scale, clipped" err.txt && ok || bad "no report on the plain path: $(cat err.txt)"
expect_fail "bad gain" "--gain takes decibels" "$qxfx" process in.wav x.wav chorus --gain loud
expect_fail "bad norm" "--norm takes a peak level" "$qxfx" process in.wav x.wav chorus --norm=3

finish
