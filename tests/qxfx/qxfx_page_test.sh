#!/usr/bin/env bash
# qxfx page and qxfx edit: the page drawn and described without a display, refusals, and on an
# Xvfb display a real fader drag, typed values and a click on OK that saves the state process then uses.
set -u
qxfx=$(realpath "$1")
. "$(dirname "$0")/qxfx_test_lib.sh"

# The value of one field of a control in `qxfx page ... --json`.
field() {  # json-file id field
  python3 -c 'import json,sys
c=[c for c in json.load(open(sys.argv[1]))["controls"] if c["id"]==int(sys.argv[2])][0]
print(json.dumps(c[sys.argv[3]]))' "$@"
}
rect() { field "$1" "$2" rect | tr -d '[],'; }  # json-file id: x y width height in the window

expect_ok "page --png" "$qxfx" page simple-delay --preset "Echo chamber" --png page.png
[ "$(head -c 4 page.png | tail -c 3)" = "PNG" ] && ok || bad "page.png is no PNG"
expect_ok "page --json" "$qxfx" page simple-delay --preset "Echo chamber" --json
cp out.txt echo.json
[ "$(field echo.json 3008 text)" = '"-9.0 dB"' ] && ok || bad "dry text $(field echo.json 3008 text)"
[ "$(field echo.json 3012 checked)" = true ] && ok || bad "multiple delays not checked"
[ "$(field echo.json 8007 enabled)" = false ] && ok || bad "tempo sync enabled without a tempo"
expect_ok "page --tempo" "$qxfx" page simple-delay --tempo 120 --json
[ "$(field out.txt 8007 enabled)" = true ] && ok || bad "tempo sync grey with a tempo"
expect_ok "pitch page --json" "$qxfx" page pitch-shift --set Semitones=20 --set PreserveDuration=1 --json
[ "$(field out.txt 2011 text)" = '"12"' ] && ok || bad "preserved shift not held to 12: $(field out.txt 2011 text)"
[ "$(field out.txt 2029 text)" = '"Need input pin"' ] && ok || bad "final time range $(field out.txt 2029 text)"
expect_ok "time page --json" "$qxfx" page time-stretch --percent 150 --json
[ "$(field out.txt 1018 text)" = '"150.00 %"' ] && ok || bad "percent text $(field out.txt 1018 text)"
expect_fail "page needs an output" "--png FILE or --json" "$qxfx" page simple-delay
expect_ok "reverb page --json" "$qxfx" page reverb --preset Cathedral --param PreDelay=0 --json
[ "$(field out.txt 5023 text)" = '"Off"' ] && ok || bad "pre-delay 0 shows $(field out.txt 5023 text)"
[ "$(field out.txt 5030 text)" = '"Cavernous space"' ] && ok || bad "reverb mode $(field out.txt 5030 text)"
expect_ok "chorus page --json" "$qxfx" page chorus --set modRate=12345 --json
[ "$(field out.txt 6033 text)" = '"12.34"' ] && ok || bad "chorus rate text $(field out.txt 6033 text)"
expect_fail "unknown effect" "unknown effect" "$qxfx" page nope --json
expect_fail "option of no use" "--png does nothing" "$qxfx" edit simple-delay --png x.png
expect_fail "no display" "needs an X display" env -u DISPLAY "$qxfx" edit simple-delay

# On a display of its own: drag the dry fader down from the top and press OK.
if ! command -v Xvfb >/dev/null || ! command -v xdotool >/dev/null; then
  echo "Xvfb or xdotool missing: the window part is skipped"
  finish
  exit
fi
exec 3< <(Xvfb -displayfd 1 -screen 0 800x600x24 -nolisten tcp 2>/dev/null & echo $!)
read -r xpid <&3
read -r dnum <&3
export DISPLAY=":$dnum"
trap 'kill $xpid 2>/dev/null; rm -rf "$work"' EXIT

# The page's place in the window and the dry fader's rectangle in the page.
"$qxfx" page simple-delay --set DryOut=0 --json >layout.json
read -r fx fy fw fh < <(rect layout.json 3009)

edit() {  # expected status, window title, xdotool steps..., run as "$qxfx" edit "${eargs[@]}" --save-state s.qxs
  local want=$1 title=$2; shift 2
  rm -f s.qxs
  "$qxfx" edit "${eargs[@]}" --save-state s.qxs 2>edit.txt &
  local pid=$!
  local win
  win=$(xdotool search --sync --onlyvisible --name "$title" | head -1)
  xdotool windowmove --sync "$win" 0 0
  sleep 0.3
  eval "$(xdotool getwindowgeometry --shell "$win")"
  "$@"
  wait $pid
  local got=$?
  [ "$got" = "$want" ] && ok || bad "edit exited $got, not $want: $(cat edit.txt)"
}
drag_and_ok() {
  local x=$((fx + fw / 2)) y=$((fy + 8))
  xdotool mousemove --sync "$x" "$y" mousedown 1
  for step in 20 40 60 80; do xdotool mousemove --sync "$x" $((y + step)); done
  xdotool mouseup 1
  press_ok
}
# OK is the first of the three buttons at the bottom right (each 75 wide, 6 apart, 10 from the edge).
press_ok() { xdotool mousemove --sync $((WIDTH - 10 - 75 - 81 - 81 + 37)) $((HEIGHT - 22)) click 1; }
eargs=(simple-delay --set DryOut=0)
edit 0 "Simple Delay" drag_and_ok
[ -s s.qxs ] && ok || bad "OK wrote no state"
expect_ok "page --load-state" "$qxfx" page simple-delay --load-state s.qxs --json
dry=$(field out.txt 3008 text)
[ "$dry" != '"0.0 dB"' ] && ok || bad "the drag left Dry out at $dry"
"$qxfx" make-demo-input in.wav
expect_ok "process --load-state" "$qxfx" process -q in.wav x.wav simple-delay --load-state s.qxs

cancel() { xdotool mousemove --sync $((WIDTH - 10 - 75 - 81 + 37)) $((HEIGHT - 22)) click 1; }
edit 1 "Simple Delay" cancel
[ ! -e s.qxs ] && ok || bad "Cancel wrote the state"

# Pitch Shift, Time Stretch, Reverb, Chorus and Multi-Tap Delay: a value typed over an edit box's text, Tab away, then OK.
type_and_ok() {  # id text, the layout in layout.json
  read -r ex ey ew eh < <(rect layout.json "$1")
  xdotool mousemove --sync $((ex + ew / 2)) $((ey + eh / 2)) click 1
  xdotool key ctrl+a type "$2"
  xdotool key Tab
  press_ok
}
eargs=(pitch-shift)
"$qxfx" page pitch-shift --json >layout.json
edit 0 "Pitch Shift" type_and_ok 2011 7
expect_ok "pitch --load-state" "$qxfx" page pitch-shift --load-state s.qxs --json
[ "$(field out.txt 2032 text)" = '"Up 5th  "' ] && ok || bad "typed 7 semitones gave $(field out.txt 2032 text)"
eargs=(time-stretch)
"$qxfx" page time-stretch --json >layout.json
edit 0 "Time Stretch" type_and_ok 1007 150
expect_ok "time --load-state" "$qxfx" page time-stretch --load-state s.qxs --json
[ "$(field out.txt 1018 text)" = '"150.00 %"' ] && ok || bad "typed 150 % gave $(field out.txt 1018 text)"
eargs=(reverb)
"$qxfx" page reverb --json >layout.json
edit 0 "Reverb" type_and_ok 5037 99999
expect_ok "reverb --load-state" "$qxfx" page reverb --load-state s.qxs --json
[ "$(field out.txt 5037 text)" = '"15,000"' ] && ok || bad "typed 99999 Hz gave $(field out.txt 5037 text)"
eargs=(chorus)
"$qxfx" page chorus --json >layout.json
edit 0 "Chorus" type_and_ok 6033 2
expect_ok "chorus --load-state" "$qxfx" page chorus --load-state s.qxs --json
[ "$(field out.txt 6033 text)" = '"2.000"' ] && ok || bad "typed 2 Hz gave $(field out.txt 6033 text)"
eargs=(multi-tap-delay)
"$qxfx" page multi-tap-delay --json >layout.json
edit 0 "Multi-Tap Delay" type_and_ok 4118 250
expect_ok "multi-tap --load-state" "$qxfx" page multi-tap-delay --load-state s.qxs --json
[ "$(field out.txt 4118 text)" = '"250"' ] && ok || bad "typed a 250 ms tap gave $(field out.txt 4118 text)"
finish
