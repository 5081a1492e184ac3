#!/usr/bin/env bash
# Opening a WAV file into cuts and saving it back with `osmera-cli run`, side by side with
# sox moving the same bytes (16-bit WAV to 32-bit raw samples and back, the two conversions
# that opening into cuts and saving from them do). Prints the best-of-N wall times, the
# ratio osmera/sox and both programs' peak memory for a 1-minute and a 10-minute
# 44.1 kHz stereo 16-bit file.
#
#   bench/edit_compare.sh             (after building osmera-cli into build/)
#   CLI=path/to/osmera-cli RUNS=3 bench/edit_compare.sh
set -euo pipefail
cd "$(dirname "$0")/.."
CLI=${CLI:-build/cli/osmera-cli}
RUNS=${RUNS:-3}
[ -x "$CLI" ] || { echo "no $CLI: build osmera-cli first" >&2; exit 1; }
command -v sox >/dev/null || { echo "sox is needed: apt-get install sox" >&2; exit 1; }
[ -x /usr/bin/time ] || { echo "GNU time is needed: apt-get install time" >&2; exit 1; }
CLI=$(cd "$(dirname "$CLI")" && pwd)/$(basename "$CLI")

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

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

# sox: WAV -> 32-bit raw (what the cuts hold) -> 16-bit WAV, without dither (-D) so that
# its output holds the same samples as osmera's.
sox_round_trip() {  # in out
    sox -D "$1" -t raw -e signed-integer -b 32 "$work/s.raw" &&
        sox -D -t raw -e signed-integer -b 32 -r 44100 -c 2 "$work/s.raw" -b 16 "$2"
}
export -f sox_round_trip
export work

printf '%-12s %10s %10s %8s %12s %12s\n' file osmera_s sox_s ratio osmera_KiB sox_KiB
for minutes in 1 10; do
    in="$work/in$minutes.wav"
    sox -q -n -r 44100 -c 2 -b 16 "$in" synth "$minutes:00" sine 440 sine 660 vol 0.4 \
        remix 1 2 dither
    printf 'open "%s"\nsave "%s"\n' "$in" "$work/o.wav" > "$work/script.txt"
    read -r ot om < <(best_of "$CLI" run "$work/script.txt" --work-dir "$work/cuts")
    read -r st sm < <(best_of bash -c 'sox_round_trip "$0" "$1"' "$in" "$work/s.wav")
    printf '%-12s %10.3f %10.3f %8.2f %12d %12d\n' "$minutes min" "$ot" "$st" \
        "$(awk -v o="$ot" -v s="$st" 'BEGIN { print o / s }')" "$om" "$sm"
    cmp -s <(tail -c +47 "$work/o.wav") <(sox "$work/s.wav" -t raw -) ||
        echo "  (note: osmera's and sox's samples differ)" >&2
done
