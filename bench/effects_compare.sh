#!/usr/bin/env bash
# Effects side by side with sox on a generated 10-minute 44.1 kHz stereo 16-bit WAV:
# normalize, fade in over the whole file, reverse and DC offset correction.
#
# osmera's cost of an effect is the time of a script that opens the file and applies the
# effect, minus the time of a script that only opens it (opening pumps the WAV into the
# cut tank, which sox never does; the effect then works on the cuts, and normalize writes
# no audio at all). sox's cost is its whole run from the WAV to a new WAV. Best of RUNS.
# Targets (ratio osmera/sox): normalize at most 0.3, the others at most 1.0.
#
#   CLI=build/cli/osmera-cli MINUTES=10 RUNS=3 bench/effects_compare.sh
set -euo pipefail
cd "$(dirname "$0")/.."
CLI=${CLI:-build/cli/osmera-cli}
MINUTES=${MINUTES:-10}
RUNS=${RUNS:-3}
[ -x "$CLI" ] || { echo "no $CLI: run 'make build' first" >&2; exit 1; }
command -v sox >/dev/null || { echo "sox is needed: apt-get install sox" >&2; exit 1; }
CLI=$(realpath "$CLI")

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
sox -q -n -r 44100 -c 2 -b 16 "$work/in.wav" synth "$MINUTES:00" sine 440 sine 660 vol 0.4 \
    remix 1 2 dcshift 0.01 dither

# best CMD...: the fastest wall time of RUNS runs, in seconds.
best() {
    local b=""
    for _ in $(seq "$RUNS"); do
        local s e t
        s=$(date +%s.%N)
        "$@" >/dev/null 2>&1
        e=$(date +%s.%N)
        t=$(awk -v a="$s" -v b="$e" 'BEGIN { print b - a }')
        if [ -z "$b" ] || awk -v t="$t" -v b="$b" 'BEGIN { exit !(t < b) }'; then b=$t; fi
    done
    echo "$b"
}

script() {  # name effect-line
    printf 'open %s\n%s\n' "$work/in.wav" "$2" >"$work/$1.osm"
    echo "$work/$1.osm"
}

base=$(best "$CLI" run "$(script open "# open only")" --work-dir "$work/cuts")
printf '%-12s %10s %10s %8s %8s\n' effect osmera_s sox_s ratio target
run() {  # name osmera-effect target sox-args...
    local name=$1 fx=$2 target=$3
    shift 3
    local o s
    o=$(best "$CLI" run "$(script "$name" "$fx")" --work-dir "$work/cuts")
    s=$(best sox -q "$@")
    awk -v n="$name" -v o="$o" -v b="$base" -v s="$s" -v t="$target" 'BEGIN {
        d = o - b; if (d < 0.001) d = 0.001
        r = d / s
        printf "%-12s %10.3f %10.3f %8.3f %8.1f %s\n", n, d, s, r, t, (r <= t ? "ok" : "OVER")
    }'
}
run normalize "normalize 100" 0.3 --norm "$work/in.wav" "$work/out.wav"
run fade-in "fade-in" 1.0 "$work/in.wav" "$work/out.wav" fade t "$MINUTES:00"
run reverse "reverse" 1.0 "$work/in.wav" "$work/out.wav" reverse
run dc-offset "dc-offset" 1.0 "$work/in.wav" "$work/out.wav" highpass 10
echo "(open only: $base s; osmera columns exclude it)"
