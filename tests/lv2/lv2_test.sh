#!/usr/bin/env bash
# The LV2 bundle: each plugin in our lilv host against qxfx on the same float input and settings
# (the tail played out over appended silence), state, presets, tempo, and the LV2 tools.
host=$1 qxfx=$2
export LV2_PATH=$3 preload=$4
. "$(dirname "$0")/../qxfx/qxfx_test_lib.sh"
# Frames of the host's run compared against qxfx's output, whose end carries its own tail.
same() { cmp -s -n "$(stat -c %s "$1")" "$1" "$2"; }
sox -n -r 48000 -c 2 -b 32 -e float in2.wav synth 0.3 pluck C3 synth 0.3 sine fmod 440 pad 0 2.2
sox in2.wav in1.wav remix 1
printf '\0\0\0\77' > imp.raw && head -c 192000 /dev/zero >> imp.raw
sox -t raw -r 48000 -e float -b 32 -c 1 imp.raw imp.wav
sox imp.wav tiny.wav trim 0 64s

# effect | settings (NAME=natural value, both hosts)
while IFS='|' read -r fx settings; do
  sets=() params=()
  for s in $settings; do sets+=(--set "$s"); params+=(--param "$s"); done
  for ch in 1 2; do
    uri=urn:qxppack1:lv2:$fx-$([ $ch = 1 ] && echo mono || echo stereo)
    expect_ok "$uri runs" "$host" "$uri" in$ch.wav lv2.raw --block 1000 "${sets[@]}"
    expect_ok "qxfx $fx" "$qxfx" -q process in$ch.wav ref.raw "$fx" "${params[@]}" --output-format raw:float
    same lv2.raw ref.raw && ok || bad "$uri differs from qxfx"
    expect_ok "lv2apply $uri" env LD_PRELOAD="$preload" ASAN_OPTIONS=detect_leaks=0 lv2apply -i in$ch.wav -o apply.wav "$uri"
  done
done <<'ROWS'
simple-delay|DelayTime=250 DecayTime=1.5 MultipleDelays=1 DryOut=-3
multi-tap-delay|tapCount=3 feedback=40 modDepth=20 lowPassOn=1
reverb|ReverbMode=16 DecayTime=1.2 PreDelay=12
chorus|chorusSize=2 modRate=2.5 feedback=30 attenuateHigh=1
ROWS

# State: a saved chunk restores the same sound over default ports; an older Simple Delay record
# loads as qxfx loads it; another effect's chunk and a cut one are refused and change nothing.
sd=urn:qxppack1:lv2:simple-delay-stereo
expect_ok "save state" "$host" $sd in2.wav a.raw --set DelayTime=333 --set MultipleDelays=1 --save-state sd.bin
expect_ok "load state" "$host" $sd in2.wav b.raw --load-state sd.bin
cmp -s a.raw b.raw && ok || bad "restored state sounds different"
{ printf '\50\0\0\0\143\222\362\124\261\171\320\21\256\274\0\240\311\5\71\22'
  printf '\1\0\0\0\372\0\0\0\12\0\0\0\304\377\377\377\342\377\377\377'; } > v1.bin
expect_ok "version 1 state" "$host" $sd in2.wav a.raw --load-state v1.bin
expect_ok "qxfx version 1" "$qxfx" -q process in2.wav ref.raw simple-delay --load-state v1.bin --output-format raw:float
same a.raw ref.raw && ok || bad "version 1 state differs from qxfx"
expect_ok "reverb state" "$host" urn:qxppack1:lv2:reverb-stereo in2.wav r.raw --save-state rv.bin
head -c 50 sd.bin > cut.bin
expect_ok "reference" "$host" $sd in2.wav a.raw --set DelayTime=333
for chunk in rv.bin cut.bin; do
  "$host" $sd in2.wav b.raw --set DelayTime=333 --load-state $chunk >/dev/null 2>&1
  [ $? = 3 ] && cmp -s a.raw b.raw && ok || bad "$chunk not refused cleanly"
done

# Every preset of the bundle gives the record of the effect's own row.
for fx in simple-delay multi-tap-delay reverb chorus; do
  rows=$("$qxfx" presets $fx --json | grep -o '"name"' | wc -l)
  [ "$rows" -gt 1 ] && ok || bad "$fx: no presets listed"
  for ((i = 0; i < rows; i++)); do
    "$host" urn:qxppack1:lv2:$fx-mono tiny.wav p.raw --preset urn:qxppack1:lv2:$fx-preset-$i --save-state lv2.bin >/dev/null &&
      "$qxfx" -q process tiny.wav p.raw $fx --preset $i --save-state ref.bin --output-format raw:float &&
      cmp -s lv2.bin ref.bin && ok || bad "$fx preset $i"
  done
done

# Tempo: a quarter note at 150 bpm is 0.4 s; a change in mid-block applies from its frame, as a
# tempo map splits the effect's chunks there.
sync="--set TempoSyncDelay=1 --set DelayNote=13 --set DryOut=-80"
expect_ok "150 bpm" "$host" urn:qxppack1:lv2:simple-delay-mono imp.wav t.raw $sync --tempo 0:150
grep -q "first sound at frame 19200$" out.txt && ok || bad "150 bpm echo: $(cat out.txt)"
printf 'tempo 0 150\ntempo 0.0625 100\n' > map.txt
tempo_run() { "$host" $sd in2.wav "$1" --block 4096 --set TempoSyncDelay=1 --set MultipleDelays=1 --set DelayNote=10 \
  --tempo 0:150 --tempo "$2":100 >/dev/null; }
tempo_run t1.raw 3000 && tempo_run t2.raw 2999 || bad "tempo runs"
"$qxfx" -q process in2.wav ref.raw simple-delay --param TempoSyncDelay=1 --param MultipleDelays=1 --param DelayNote=10 \
  --tempo-map map.txt --output-format raw:float
same t1.raw ref.raw && ok || bad "tempo change at frame 3000 differs from qxfx's map"
cmp -s t1.raw t2.raw && bad "a tempo change one frame earlier sounds the same" || ok

# The bundle's TTL against the LV2 schemas.
lv2_validate "$LV2_PATH"/qxppack1.lv2/*.ttl >out.txt 2>&1
grep -q "Found 0 errors" out.txt && ! grep -qi "warn" out.txt && ok || bad "lv2_validate: $(tail -5 out.txt)"

# Installed, the bundle lists its eight plugins and finds the installed module.
cmake --install "$(dirname "$LV2_PATH")" --prefix "$work/prefix" >/dev/null || bad "install failed"
[ "$(LV2_PATH=$work/prefix/lib/lv2 lv2ls | grep -c '^urn:qxppack1:lv2:')" = 8 ] && ok || bad "lv2ls after install"
LV2_PATH=$work/prefix/lib/lv2 expect_ok "installed plugin" "$host" urn:qxppack1:lv2:chorus-stereo in2.wav i.raw

# A real host: jalv runs the stereo Reverb against a JACK server with the dummy driver, where
# a JACK server can start at all.
up() { for _ in 1 2 3 4 5 6 7 8 9 10; do jack_lsp 2>/dev/null | grep -q "$1" && return 0; sleep 1; done; return 1; }
if command -v jalv >/dev/null && command -v jackd >/dev/null; then
  export JACK_DEFAULT_SERVER=qxlv2test$$ JACK_NO_AUDIO_RESERVATION=1
  jackd -n "$JACK_DEFAULT_SERVER" -d dummy -r 48000 -p 1024 >jackd.txt 2>&1 & jack=$!
  if up system:playback_1; then
    LD_PRELOAD="$preload" ASAN_OPTIONS=detect_leaks=0 timeout 30 jalv -i -n qxreverb urn:qxppack1:lv2:reverb-stereo \
      >jalv.txt 2>&1 & jalv=$!
    up qxreverb:out_r && kill -0 $jalv && ok || bad "jalv: $(tail -3 jalv.txt)"
    kill $jalv
  else
    echo "SKIP: no JACK server starts here: $(tail -1 jackd.txt)"
  fi
  kill $jack; wait
fi
finish
