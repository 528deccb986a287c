#!/usr/bin/env bash
# Checks the module's dynamic symbol table against its export list: every listed name is defined,
# and nothing else of the module's own is exported; and the window layer's libraries are not among
# those it needs at load time (they are opened on first use). Usage: exports_test.sh LIBRARY EXPORTS_LIST
set -euo pipefail
lib=$1 list=$2

# Listed names, as "NAME" or "class NAME".
want=$(sed -e 's/#.*//' -e 's/[[:space:]]\+/ /g' -e 's/^ //' -e 's/ $//' "$list" | grep -v '^$' | sort -u)

# Exported names, the mangled ones read back to the name they were listed by.
have=$(nm -D --defined-only "$lib" | awk '{print $NF}' | while read -r sym; do
  if [[ $sym =~ ^_ZNK?([0-9]+)(.*)$ ]]; then
    echo "class ${BASH_REMATCH[2]:0:${BASH_REMATCH[1]}}"
  elif [[ $sym =~ ^_Z([0-9]+)(.*)$ ]]; then
    echo "${BASH_REMATCH[2]:0:${BASH_REMATCH[1]}}"
  else
    echo "$sym"
  fi
done | sort -u)

missing=$(comm -23 <(echo "$want") <(echo "$have"))
leaked=$(comm -13 <(echo "$want") <(echo "$have"))
[[ -z $missing ]] || echo "listed but not exported:" $missing
[[ -z $leaked ]] || echo "exported but not listed:" $leaked
eager=$(readelf -d "$lib" | grep -oE '\[lib(cairo|pango|gobject|glib|X11|xcb)[^]]*' | tr -d '[' || true)
[[ -z $eager ]] || echo "loaded with the module, not on first use:" $eager
[[ -z $missing && -z $leaked && -z $eager ]] && echo "$(echo "$want" | wc -l) names exported as listed"
