# Shared by the peer comparisons: the qxfx binary, a scratch folder with the same 60-second stereo
# 16-bit input for both sides, and best(), the best wall time of five runs of a command.
build=${1:-build}
qxfx="$build/tools/qxfx/qxfx"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
command -v sox >/dev/null || { echo "sox is not installed (make deps installs it)"; exit 1; }
sox -n -r 44100 -b 16 -c 2 "$work/in.wav" synth 60 pluck 220 pluck 330 tremolo 3 60 gain -6

best() {
  local best=999999 t0 t1 d
  for _ in 1 2 3 4 5; do
    t0=$(date +%s%N); "$@" >/dev/null 2>&1; t1=$(date +%s%N)
    d=$(( (t1 - t0) / 1000 ))
    (( d < best )) && best=$d
  done
  awk -v us="$best" 'BEGIN { printf "%.4f", us / 1e6 }'
}
