#!/usr/bin/env bash
# make install's Python package: Debian's python3 imports it from the prefix and runs an effect with
# the module installed beside it, not the one in the build tree.
set -euo pipefail
build=$1 python=$2 pydir=$3
prefix=$(mktemp -d)
trap 'rm -rf "$prefix"' EXIT
cmake --install "$build" --prefix "$prefix" >/dev/null
cd "$prefix"
PYTHONPATH="$prefix/$pydir" "$python" - "$prefix" <<'PY'
import sys, numpy as np, qxppack1
assert qxppack1.__file__.startswith(sys.argv[1]), qxppack1.__file__
out = qxppack1.Effect("simple-delay").process(np.ones((100, 2), np.float32), 8000)
assert out.shape[1] == 2 and len(out) > 100
PY
