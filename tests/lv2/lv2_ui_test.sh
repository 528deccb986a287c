#!/usr/bin/env bash
# The Simple Delay UI in a window of our host on a real X display: it asks for its page's size, a
# port the host reports is not written back, and a click on the "Multiple delays" check box
# reaches the MultipleDelays port (stereo: 2 inputs, 2 outputs, the time port, then parameter 0).
ui_host=$1 qxfx=$2 bundle=$3/qxppack1.lv2
. "$(dirname "$0")/../qxfx/qxfx_test_lib.sh"
"$qxfx" page simple-delay --json > page.json || bad "qxfx page"
read -r x y < <(python3 -c '
import json, sys
c = [c for c in json.load(open("page.json"))["controls"] if c["text"].startswith("&Multiple delays")][0]
x, y, w, h = c["rect"]; print(x + 5, y + h // 2)')
expect_ok "UI" "$ui_host" "$bundle" urn:qxppack1:lv2:simple-delay-stereo urn:qxppack1:lv2:simple-delay-ui "$x" "$y" 6=300
grep -q "^size [0-9]* x [0-9]*$" out.txt && ok || bad "no size asked for: $(cat out.txt)"
grep -q "^port 5 = 1$" out.txt && ok || bad "the click did not reach the port: $(cat out.txt)"
[ "$(grep -c '^port' out.txt)" = 1 ] && ok || bad "writes beyond the click: $(cat out.txt)"
finish
