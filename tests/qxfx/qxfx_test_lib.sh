# What qxfx's shell tests share, sourced after they have taken their arguments: a work folder
# that goes at the end, pass and fail counts, and expectations on a command's status and message.
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work" || exit 1
fails=0 passes=0
ok() { passes=$((passes + 1)); }
bad() { echo "FAIL: $*"; fails=$((fails + 1)); }
expect_ok() { local what=$1; shift; if "$@" >out.txt 2>err.txt; then ok; else bad "$what: $(cat err.txt)"; fi; }
expect_fail() {  # what, message fragment, command...
  local what=$1 frag=$2; shift 2
  if "$@" >out.txt 2>err.txt; then bad "$what: succeeded"; return; fi
  grep -q -- "$frag" err.txt && ok || bad "$what: message was: $(cat err.txt)"
}
finish() {
  echo "$passes passed, $fails failed"
  [ "$fails" = 0 ]
}
