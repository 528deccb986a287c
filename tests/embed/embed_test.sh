#!/usr/bin/env bash
# Installs the build into a temporary prefix and builds and runs reverb_host.cpp against it with
# nothing but pkg-config, as a developer who embeds the effects would.
# Usage: embed_test.sh BUILD_DIR CXX PKG_CONFIG [extra compiler flags...]
set -euo pipefail
build=$1 cxx=$2 pkgconfig=$3
shift 3
here=$(cd "$(dirname "$0")" && pwd)
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT

cmake --install "$build" --prefix "$tmp/prefix" >/dev/null
pcdir=$(dirname "$(find "$tmp/prefix" -name qxppack1.pc -print -quit)")
flags=$(PKG_CONFIG_PATH="$pcdir" "$pkgconfig" --cflags --libs qxppack1)
cp "$here/reverb_host.cpp" "$tmp/"
(cd "$tmp" && "$cxx" -std=c++20 "$@" reverb_host.cpp $flags -o reverb_host)
# The host finds the module through the path pkg-config gave it, not the build tree.
libs=$(ldd "$tmp/reverb_host")
[[ $libs == *"$tmp/prefix/"*libqxppack1.so* ]] || { echo "host does not load the installed module:"; echo "$libs"; exit 1; }
"$tmp/reverb_host"
