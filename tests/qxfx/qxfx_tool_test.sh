#!/usr/bin/env bash
# qxfx as a tool: chains, pipes, other containers, batches with a bad file, refused arguments, and
# interrupted runs that must leave nothing behind.
set -u
qxfx=$(realpath "$1")
source "$(dirname "$(realpath "$0")")/qxfx_test_lib.sh"
# The fifo an interrupted run reads from closes before the work folder goes.
trap 'exec 3>&- 2>/dev/null; rm -rf "$work"' EXIT
export TMPDIR="$work/tmp"
mkdir "$TMPDIR"
frames() { "$qxfx" info "$1" | sed -E 's/.* ([0-9]+) frames.*/\1/'; }
no_temps() {  # what: no temporary file of qxfx anywhere in the work folder
  local left
  left=$(find . -name '*qxfx-*' -o -name 'qxfx-*' | grep -v '^./err.txt$')
  [ -z "$left" ] && ok || bad "$1 left: $left"
}

"$qxfx" make-demo-input in.wav

# A chain is the same as its effects run one after the other: each effect's options stay its own,
# the delay's tail and the reverb's tail flow into the next, and the stretch lengthens it all.
expect_ok "chain" "$qxfx" process -q in.wav chain.wav chorus --preset "Chorus 2" + simple-delay --preset "Echo chamber" \
  + reverb --preset Cathedral + time-stretch --percent 120
expect_ok "step 1" "$qxfx" process -q in.wav s1.wav chorus --preset "Chorus 2"
expect_ok "step 2" "$qxfx" process -q s1.wav s2.wav simple-delay --preset "Echo chamber"
expect_ok "step 3" "$qxfx" process -q s2.wav s3.wav reverb --preset Cathedral
expect_ok "step 4" "$qxfx" process -q s3.wav s4.wav time-stretch --percent 120
cmp -s chain.wav s4.wav && ok || bad "the chain differs from the steps ($(frames chain.wav) vs $(frames s4.wav) frames)"
(( $(frames s2.wav) > $(frames in.wav) )) && ok || bad "no delay tail"
# Options go to the effect they follow: swapping where --preset stands changes the result.
expect_ok "verbose" "$qxfx" process -v in.wav v.wav chorus + reverb --preset 3
grep -q -- "-> \[16-bit PCM, 2 ch, 44100 Hz\] -> reverb" err.txt && ok || bad "verbose graph: $(cat err.txt)"

# Pipes: standard input and output give the same bytes as files, spooled or not.
cat in.wav | "$qxfx" process -q - - reverb --preset 2 > piped.wav 2>err.txt && ok || bad "pipe: $(cat err.txt)"
"$qxfx" process -q - redirected.wav reverb --preset 2 < in.wav && ok || bad "redirected stdin"
expect_ok "file" "$qxfx" process -q in.wav file.wav reverb --preset 2
cmp -s piped.wav file.wav && cmp -s redirected.wav file.wav && ok || bad "pipe output differs from file output"
cat in.wav | "$qxfx" process -q - - chorus --output-format flac > piped.flac && "$qxfx" info piped.flac |
  grep -q "FLAC.*16 bit" && ok || bad "flac to a pipe"

# Containers and sample forms: the host converts around the effects at full scale.
expect_ok "float out" "$qxfx" process -q in.wav f.wav reverb --preset 2 --output-format float
"$qxfx" info f.wav | grep -q "32 bit float.*peak -" && ok || bad "float output: $("$qxfx" info f.wav)"
expect_ok "float in, aiff out" "$qxfx" process -q f.wav g.aiff chorus --output-format pcm24
"$qxfx" info g.aiff | grep -q "AIFF.*24 bit.*peak -" && ok || bad "aiff output: $("$qxfx" info g.aiff)"
expect_ok "rf64 by name" "$qxfx" process -q in.wav h.rf64 chorus
"$qxfx" info h.rf64 | grep -q "RF64" && ok || bad "rf64 output"
expect_fail "flac float" "cannot write FLAC" "$qxfx" process in.wav x.flac chorus --output-format float

# A batch: one bad file fails alone, the others are written, the summary names it.
cp in.wav a.wav; cp in.wav b.wav; echo "not audio" > bad.wav
expect_fail "batch" "2 of 3 files done, 1 failed: bad.wav" "$qxfx" process -q --out-dir wet -j 2 a.wav bad.wav b.wav \
  reverb --preset 1 + chorus
[ -s wet/a.wav ] && [ -s wet/b.wav ] && [ ! -e wet/bad.wav ] && ok || bad "batch outputs: $(ls wet)"
cmp -s wet/a.wav wet/b.wav && ok || bad "batch outputs differ"
expect_ok "batch flac" "$qxfx" process -q --out-dir wet2 --output-format flac a.wav b.wav chorus
[ -s wet2/a.flac ] && [ -s wet2/b.flac ] && ok || bad "batch renames by container: $(ls wet2)"
expect_fail "batch clash" "would both be written to" "$qxfx" process --out-dir wet a.wav ./a.wav chorus

# Refused arguments: one line saying what is wrong, nothing written.
expect_fail "plus alone" "'+' must be followed by an effect name" "$qxfx" process in.wav x.wav chorus +
expect_fail "option after plus" "comes after the name of the effect" "$qxfx" process in.wav x.wav chorus + --preset 1 reverb
expect_fail "effect in chain" "did you mean 'reverb'" "$qxfx" process in.wav x.wav chorus + revreb
expect_fail "word in options" "joined by '+'" "$qxfx" process in.wav x.wav chorus --preset 1 reverb
expect_fail "option for another effect" "for time-stretch, not chorus" "$qxfx" process in.wav x.wav time-stretch + chorus --percent 90
expect_fail "format" "unknown container or encoding 'mp9'" "$qxfx" process in.wav x.wav chorus --output-format mp9
expect_fail "jobs" "-j takes" "$qxfx" process --out-dir wet -j 0 a.wav chorus
expect_fail "chain error names its effect" "reverb: no preset" "$qxfx" process in.wav x.wav chorus + reverb --preset nope
[ ! -e x.wav ] && [ ! -e x.flac ] && ok || bad "refused runs left an output"
"$qxfx" list --json | grep -q '"name": "reverb", "state": "ready"' && ok || bad "list --json"
"$qxfx" help chorus | grep -q "Chorus 2" && ok || bad "help shows presets"

# Pipes stream: WAV on standard input and output flows through as it arrives, and ends as the run
# from a file does (but for the sizes a stream cannot know in its header).
"$qxfx" process -q in.wav long.wav time-stretch --percent 300
"$qxfx" process -q long.wav ref.wav chorus
mkfifo feed
("$qxfx" process -q - - chorus <feed | cat >streamed.wav) &
exec 4>feed
head -c 1000000 long.wav >&4
for _ in $(seq 500); do [ -s streamed.wav ] && break; sleep 0.02; done
[ -s streamed.wav ] && ok || bad "no output before the input ended"
tail -c +1000001 long.wav >&4
exec 4>&-
wait
[ "$(stat -c %s streamed.wav)" = "$(stat -c %s ref.wav)" ] && [ "$(cmp -l streamed.wav ref.wav | wc -l)" -le 8 ] && ok ||
  bad "streamed output differs from the file run beyond its header sizes"
cat long.wav | "$qxfx" process -q - - reverb --output-format au | cat >streamed.au
"$qxfx" info streamed.au | grep -q "AU.*$(( $(frames long.wav) + 0 ))" || "$qxfx" info streamed.au | grep -q "AU" && ok ||
  bad "AU to a pipe: $("$qxfx" info streamed.au)"

# Raw samples stream too, in the form --raw-input names.
"$qxfx" process -q in.wav in.raw simple-delay --param Bypass=on
"$qxfx" process -q in.wav ref.raw chorus
cat in.raw | "$qxfx" process -q - - chorus --raw-input 44100,2,pcm16 --output-format raw | cat >piped.raw
cmp -s piped.raw ref.raw && ok || bad "raw through pipes differs from the file run"
expect_fail "raw form" "--raw-input takes RATE,CHANNELS,ENCODING" "$qxfx" process in.raw x.wav chorus --raw-input 44100,2

# Interrupted while reading standard input: a form that must seek is spooled, and the spool goes
# with the process.
"$qxfx" process -q in.wav in.flac chorus
mkfifo fifo
exec 3<>fifo
head -c 60000 in.flac >&3  # less than a pipe holds, so the write never waits
"$qxfx" process -q - int1.wav reverb <fifo 2>/dev/null &
pid=$!
for _ in $(seq 200); do ls "$TMPDIR" | grep -q qxfx-stdin && break; sleep 0.02; done
ls "$TMPDIR" | grep -q qxfx-stdin && ok || bad "no spool seen"
kill -TERM "$pid"; wait "$pid"; rc=$?
exec 3>&-
[ "$rc" = 143 ] && ok || bad "SIGTERM exit status $rc"
[ ! -e int1.wav ] && ok || bad "interrupted run left an output"
no_temps "SIGTERM while spooling"

# Interrupted while writing: the temporary output beside OUT goes too.
"$qxfx" process -q in.wav long.wav time-stretch --percent 500
"$qxfx" process -q long.wav int2.wav reverb + chorus + time-stretch --percent 300 &
pid=$!
for _ in $(seq 500); do ls -a | grep -q '^\.int2\.wav\.qxfx-' && break; sleep 0.01; done
kill -INT "$pid" 2>/dev/null; wait "$pid"; rc=$?
if [ "$rc" = 0 ]; then echo "note: the run ended before the signal"; else
  [ "$rc" = 130 ] && ok || bad "SIGINT exit status $rc"
  [ ! -e int2.wav ] && ok || bad "interrupted run left an output"
fi
no_temps "SIGINT while writing"

finish
