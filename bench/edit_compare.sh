#!/usr/bin/env bash
# Opening a WAV file into cuts and saving it back with `osmera-cli run`, side by side with
# sox moving the same bytes (16-bit WAV to 32-bit raw samples and back, the two conversions
# that opening into cuts and saving from them do). Prints the best-of-N wall times, the
# ratio osmera/sox and both programs' peak memory for a 1-minute and a 10-minute
# 44.1 kHz stereo 16-bit file.
#
#   bench/edit_compare.sh             (after building osmera-cli into build/)
#   CLI=path/to/osmera-cli RUNS=3 bench/edit_compare.sh
# shellcheck source=bench/common.sh
source "$(dirname "$0")/common.sh"

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
    make_input 44100 "$minutes" "$in"
    printf 'open "%s"\nsave "%s"\n' "$in" "$work/o.wav" > "$work/script.txt"
    read -r ot om < <(best_of "$CLI" run "$work/script.txt" --work-dir "$work/cuts")
    read -r st sm < <(best_of bash -c 'sox_round_trip "$0" "$1"' "$in" "$work/s.wav")
    printf '%-12s %10.3f %10.3f %8.2f %12d %12d\n' "$minutes min" "$ot" "$st" \
        "$(awk -v o="$ot" -v s="$st" 'BEGIN { print o / s }')" "$om" "$sm"
    cmp -s <(tail -c +47 "$work/o.wav") <(sox "$work/s.wav" -t raw -) ||
        echo "  (note: osmera's and sox's samples differ)" >&2
done
