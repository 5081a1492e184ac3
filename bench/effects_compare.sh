#!/usr/bin/env bash
# Effects side by side with sox on a generated 10-minute 44.1 kHz stereo 16-bit WAV:
# normalize, fade in over the whole file, reverse and DC offset correction; the high-pass
# filter (ours 4th order, sox's 2nd), echo, reverb and a 2:1 compressor; tempo, pitch and
# noise reduction.
#
# osmera's cost of an effect is the time of a script that opens the file and applies the
# effect, minus the time of a script that only opens it (opening pumps the WAV into the
# cut tank, which sox never does; the effect then works on the cuts, and normalize writes
# no audio at all). sox's cost is its whole run from the WAV to a new WAV. Best of RUNS.
# Targets (ratio osmera/sox): normalize at most 0.3, the others at most 1.0.
#
#   CLI=build/cli/osmera-cli MINUTES=10 RUNS=3 bench/effects_compare.sh
MINUTES=${MINUTES:-10}
# shellcheck source=bench/common.sh
source "$(dirname "$0")/common.sh"
make_input 44100 "$MINUTES" "$work/in.wav" dcshift 0.01

# best CMD...: the fastest wall time of RUNS runs, in seconds.
best() {
    local t _
    read -r t _ < <(best_of "$@")
    echo "$t"
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
run high-pass "high-pass 250" 1.0 "$work/in.wav" "$work/out.wav" highpass 250
run echo "echo 800 50" 1.0 "$work/in.wav" "$work/out.wav" echo 1 1 800 0.5
run reverb "reverb 100 500" 1.0 "$work/in.wav" "$work/out.wav" reverb
run compressor "compressor -20 2 0" 1.0 "$work/in.wav" "$work/out.wav" \
    compand 0.005,0.1 -90,-90,-20,-20,0,-10
# Tempo 150 % (pitch kept), pitch 120 % (length kept) and noise reduction at -30 dB. sox's
# noise profile is taken from the first second beforehand and not timed; osmera estimates
# its profile from the file itself inside the timed run.
sox -q "$work/in.wav" -n trim 0 1 noiseprof "$work/noise.prof"
run tempo "tempo 150" 1.0 "$work/in.wav" "$work/out.wav" tempo 1.5
run pitch "pitch 120" 1.0 "$work/in.wav" "$work/out.wav" pitch 316
run noise-red "noise-reduction -30" 1.0 "$work/in.wav" "$work/out.wav" noisered "$work/noise.prof" 0.21
echo "(open only: $base s; osmera columns exclude it)"
