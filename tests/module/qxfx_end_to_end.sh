#!/usr/bin/env bash
# qxfx through the loaded module: make an input, run Simple Delay over it, and register and
# unregister the module in a private registry, checking what qxfx list says each time.
set -euo pipefail
qxfx=$1
work=$(mktemp -d /tmp/qxfx-e2e.XXXXXX)
trap 'rm -rf "$work"' EXIT
export QX_REGISTRY_FILE="$work/registry"
fail() { echo "FAIL: $*" >&2; exit 1; }

"$qxfx" make-demo-input "$work/in.wav"
"$qxfx" process -q "$work/in.wav" "$work/out.wav" simple-delay --set DelayTime=300 --set MultipleDelays=1
[[ -s "$work/out.wav" ]] || fail "no output written"
info=$("$qxfx" info "$work/out.wav")
grep -q "peak" <<<"$info" || fail "info says: $info"
# A delay with repeats renders a tail, so the output is longer than the input.
in_frames=$("$qxfx" info "$work/in.wav" | sed -E 's/.* ([0-9]+) frames.*/\1/')
out_frames=$(sed -E 's/.* ([0-9]+) frames.*/\1/' <<<"$info")
(( out_frames > in_frames )) || fail "no tail: $in_frames in, $out_frames out"

row() { "$qxfx" list | grep "^Simple Delay "; }
row | grep -q " ready .* no$" || fail "before registering: $(row)"
"$qxfx" register -q
row | grep -q " ready .* yes$" || fail "after registering: $(row)"
grep -q "LUMEA Simple Delay" "$QX_REGISTRY_FILE" || fail "no filter entry"
"$qxfx" unregister -q
row | grep -q " ready .* no$" || fail "after unregistering: $(row)"
grep -q "LUMEA" "$QX_REGISTRY_FILE" && fail "filter entries left behind"

# A module named by the environment that does not exist is reported, not guessed around.
if QXPPACK1_MODULE="$work/missing.so" "$qxfx" list 2>"$work/err"; then fail "missing module accepted"; fi
grep -q "QXPPACK1_MODULE" "$work/err" || fail "unclear message: $(cat "$work/err")"
echo "qxfx end to end: ok"
