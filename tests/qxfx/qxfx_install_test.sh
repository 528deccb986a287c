#!/usr/bin/env bash
# qxfx installed like a tool: it finds its module from where it is installed (also through a
# symbolic link in another bin folder), shows its version, has a manual page made from its help
# text, and completes effect parameters in bash.
set -u
qxfx=$(realpath "$1") build=$(realpath "$2")
source "$(dirname "$(realpath "$0")")/qxfx_test_lib.sh"

cmake --install "$build" --prefix "$work/prefix" >/dev/null || bad "install failed"
bin=$work/prefix/bin/qxfx
"$bin" --version > v.txt 2>&1 || bad "installed --version: $(cat v.txt)"
grep -q "^qxfx [0-9]" v.txt && grep -q "module $work/prefix/lib" v.txt && ok || bad "version: $(cat v.txt)"
mkdir "$work/elsewhere" && ln -s "$bin" "$work/elsewhere/qxfx"
"$work/elsewhere/qxfx" list | grep -q "reverb" && ok || bad "a linked qxfx does not find its module"

# The manual page carries every option of the help text.
man=$work/prefix/share/man/man1/qxfx.1
head -1 "$man" | grep -q '^\.TH QXFX 1' && ok || bad "manual page header"
missing=$("$qxfx" --help | grep -oE -- '--[a-z-]+' | sort -u | while read -r o; do grep -q -- "$o" "$man" || echo "$o"; done)
[ -z "$missing" ] && ok || bad "manual page lacks $missing"

# Completion of --param names for the effect on the line, and of effect names.
completion=$work/prefix/share/bash-completion/completions/qxfx
got=$(bash -c "source '$completion'; COMP_WORDS=('$bin' process in.wav out.wav simple-delay --param Del); COMP_CWORD=6; _qxfx; echo \"\${COMPREPLY[*]}\"")
[[ $got == *DelayOut=* && $got == *DelayTime=* && $got != *DryOut* ]] && ok || bad "param completion: $got"
got=$(bash -c "source '$completion'; COMP_WORDS=('$bin' help rev); COMP_CWORD=2; _qxfx; echo \"\${COMPREPLY[*]}\"")
[ "$got" = reverb ] && ok || bad "effect completion: $got"

finish
