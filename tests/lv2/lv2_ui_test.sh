#!/usr/bin/env bash
# The four UIs on a real X display. In a window of our own host each asks for its page's size, a
# port the host reports is not written back, and a click on a check box reaches its port (half
# the rows destroy the host's window before the UI, as hosts may). Then jalv.gtk3, which wraps
# X11 UIs in GTK, shows a page, takes a click into the plugin and closes cleanly.
ui_host=$1 qxfx=$2 preload=$4
export LV2_PATH=$3
bundle=$LV2_PATH/qxppack1.lv2
. "$(dirname "$0")/../qxfx/qxfx_test_lib.sh"
# The point inside the check box whose text starts with $2 on the page of effect $1.
box() {
  "$qxfx" page "$1" --json | python3 -c '
import json, sys
c = [c for c in json.load(sys.stdin)["controls"] if c["text"].startswith(sys.argv[1])][0]
x, y, w, h = c["rect"]; print(x + 5, y + h // 2)' "$2"
}
port() { lv2info "$1" | awk -v s="$2" '$1 == "Port" { n = $2 + 0 } $1 == "Symbol:" && $2 == s { print n }'; }

# effect | check box | its port's value after the click | a port the host sets | teardown
while IFS='|' read -r fx text sym value set order; do
  uri=urn:qxppack1:lv2:$fx-stereo
  read -r x y < <(box "$fx" "$text")
  clicked=$(port "$uri" "$sym") reported=$(port "$uri" "${set%=*}")
  [ -n "$x" ] && [ -n "$clicked" ] && [ -n "$reported" ] || { bad "$fx: no check box or port"; continue; }
  expect_ok "$fx UI" "$ui_host" "$bundle" "$uri" "urn:qxppack1:lv2:$fx-ui" "$x" "$y" "$reported=${set#*=}" $order
  grep -q "^size [0-9]* x [0-9]*$" out.txt && ok || bad "$fx: no size asked for: $(cat out.txt)"
  [ "$(grep '^port' out.txt)" = "port $clicked = $value" ] && ok || bad "$fx: writes were not the click's: $(cat out.txt)"
done <<'ROWS'
simple-delay|&Multiple delays|MultipleDelays|1|DelayTime=300|ui-first
multi-tap-delay|&Low-pass start|lowPassOn|1|feedback=50|parent-first
reverb|Attenuate bass|AttenuateBass|0|DecayTime=3|ui-first
chorus|In&vert chorus phase|invertChorusPhase|1|modRate=2|parent-first
ROWS

# Asks a top-level to close, as a window manager does.
close_window() {
  python3 - "$1" <<'PY'
import ctypes as c, sys
x = c.CDLL("libX11.so.6")
x.XOpenDisplay.restype, x.XOpenDisplay.argtypes = c.c_void_p, [c.c_char_p]
x.XInternAtom.restype, x.XInternAtom.argtypes = c.c_ulong, [c.c_void_p, c.c_char_p, c.c_int]
x.XSendEvent.argtypes = [c.c_void_p, c.c_ulong, c.c_int, c.c_long, c.c_void_p]
x.XSync.argtypes, x.XCloseDisplay.argtypes = [c.c_void_p, c.c_int], [c.c_void_p]
class Event(c.Structure):
    _fields_ = [("type", c.c_int), ("serial", c.c_ulong), ("send_event", c.c_int), ("display", c.c_void_p),
                ("window", c.c_ulong), ("message_type", c.c_ulong), ("format", c.c_int), ("l", c.c_long * 5),
                ("pad", c.c_long * 16)]
d, w = x.XOpenDisplay(None), int(sys.argv[1], 0)
e = Event(type=33, window=w, message_type=x.XInternAtom(d, b"WM_PROTOCOLS", 0), format=32)
e.l[0] = x.XInternAtom(d, b"WM_DELETE_WINDOW", 0)
x.XSendEvent(d, w, 0, 0, c.byref(e))
x.XSync(d, 0)
x.XCloseDisplay(d)
PY
}
up() { for _ in 1 2 3 4 5 6 7 8 9 10; do jack_lsp 2>/dev/null | grep -q "$1" && return 0; sleep 1; done; return 1; }
if [[ $preload == *libasan* ]]; then
  # A preloaded ASan runtime starts inside libgpg-error's constructor, under glibc's gettext lock,
  # and jalv.gtk3 then hangs in gtk_init: the plain build runs this part.
  echo "SKIP: jalv.gtk3 cannot start with the ASan runtime preloaded"
  finish; exit
fi
export JACK_DEFAULT_SERVER=qxlv2ui$$ JACK_NO_AUDIO_RESERVATION=1
jackd -n "$JACK_DEFAULT_SERVER" -d dummy -r 48000 -p 1024 >jackd.txt 2>&1 & jack=$!
if up system:playback_1; then
  # effect | its window's title | check box | the plugin's trace of the port after the click
  while IFS='|' read -r fx title text traced; do
    read -r x y < <(box "$fx" "$text")
    LD_PRELOAD="$preload" ASAN_OPTIONS=detect_leaks=0 timeout 30 jalv.gtk3 -t --no-menu "urn:qxppack1:lv2:$fx-stereo" \
      >jalv.txt 2>&1 & jalv=$!
    top=$(timeout 15 xdotool search --sync --name "^$title\$" | head -1)
    for _ in 1 2 3 4 5 6 7 8 9 10; do grep -q "^trace: " jalv.txt && break; sleep 0.5; done
    for _ in 1 2 3 4 5; do
      grep -q "^trace: $traced$" jalv.txt && break
      [ -n "$top" ] && xdotool mousemove --window "$top" "$x" "$y" click 1
      sleep 1
    done
    grep -q "^trace: $traced$" jalv.txt && ok || bad "jalv.gtk3 $fx: the click did not reach the port: $(tail -3 jalv.txt)"
    [ -n "$top" ] && close_window "$top"
    wait $jalv && ok || bad "jalv.gtk3 $fx did not close cleanly: $(tail -5 jalv.txt)"
    grep -q "X Window System error" jalv.txt && bad "jalv.gtk3 $fx: $(grep -A3 'X Window' jalv.txt)"
  done <<'ROWS'
reverb|Reverb \(stereo\)|Attenuate bass|AttenuateBass = 0
simple-delay|Simple Delay \(stereo\)|&Multiple delays|MultipleDelays = 1
ROWS
else
  echo "SKIP: no JACK server starts here: $(tail -1 jackd.txt)"
fi
kill $jack; wait
finish
