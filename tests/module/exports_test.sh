#!/usr/bin/env bash
# Checks the module's dynamic symbol table against its export list: every listed name is defined,
# and nothing else of the module's own is exported. Usage: exports_test.sh LIBRARY EXPORTS_LIST
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
[[ -z $missing && -z $leaked ]] && echo "$(echo "$want" | wc -l) names exported as listed"
