# Shared by the side-by-side benchmark scripts: sourced, not run.
# Sets CLI (absolute path of osmera-cli), RUNS and a scratch folder $work removed at exit.
set -euo pipefail
cd "$(dirname "$0")/.."
CLI=${CLI:-build/cli/osmera-cli}
RUNS=${RUNS:-3}
[ -x "$CLI" ] || { echo "no $CLI: run 'make build' first" >&2; exit 1; }
command -v sox >/dev/null || { echo "sox is needed: apt-get install sox" >&2; exit 1; }
[ -x /usr/bin/time ] || { echo "GNU time is needed: apt-get install time" >&2; exit 1; }
CLI=$(realpath "$CLI")

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# make_input RATE MINUTES OUT [SOX EFFECTS...]: a 16-bit stereo WAV with a different tone
# on each channel, well below full scale, dithered so it is not trivially compressible.
make_input() {
    local rate=$1 minutes=$2 out=$3
    shift 3
    sox -q -n -r "$rate" -c 2 -b 16 "$out" synth "$minutes:00" sine 440 sine 660 vol 0.4 \
        remix 1 2 "$@" dither
}

# best_of CMD...: prints "<seconds> <peak KiB>" for the fastest of RUNS runs.
best_of() {
    local best="" mem=0
    for _ in $(seq "$RUNS"); do
        local start end t m
        start=$(date +%s.%N)
        m=$(/usr/bin/time -f %M "$@" 2>&1 >/dev/null | tail -n 1)
        end=$(date +%s.%N)
        t=$(awk -v a="$start" -v b="$end" 'BEGIN { print b - a }')
        if [ -z "$best" ] || awk -v t="$t" -v b="$best" 'BEGIN { exit !(t < b) }'; then best=$t; fi
        [ "$m" -gt "$mem" ] && mem=$m
    done
    echo "$best $mem"
}
