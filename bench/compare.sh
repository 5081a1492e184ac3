#!/usr/bin/env bash
# Runs osmera-cli and sox side by side on the same conversions of a generated
# 10-minute 44.1 kHz stereo 16-bit WAV and prints, per workload, the best-of-N wall
# times, the ratio osmera/sox, and both programs' peak memory. Peak memory is also
# measured on a 1-minute file to show that it stays flat with the file's length.
#
#   bench/compare.sh            (after make build)
#   CLI=path/to/osmera-cli MINUTES=10 RUNS=3 bench/compare.sh
MINUTES=${MINUTES:-10}
# shellcheck source=bench/common.sh
source "$(dirname "$0")/common.sh"

make_input 44100 "$MINUTES" "$work/in44.wav"
make_input 48000 "$MINUTES" "$work/in48.wav"
make_input 44100 1 "$work/in44-1min.wav"

printf '%-22s %10s %10s %8s %12s %12s\n' workload osmera_s sox_s ratio osmera_KiB sox_KiB
row() {  # name, then osmera args, '--', sox args
    local name=$1; shift
    local oargs=() sargs=()
    while [ "$1" != "--" ]; do oargs+=("$1"); shift; done
    shift
    sargs=("$@")
    read -r ot om < <(best_of "$CLI" convert "${oargs[@]}")
    read -r st sm < <(best_of sox "${sargs[@]}")
    printf '%-22s %10.3f %10.3f %8.2f %12d %12d\n' "$name" "$ot" "$st" \
        "$(awk -v o="$ot" -v s="$st" 'BEGIN { print o / s }')" "$om" "$sm"
}

row "16 to 24 bit" "$work/in44.wav" "$work/o.wav" --bits 24 -- \
    "$work/in44.wav" -b 24 "$work/s.wav"
row "44100 to 48000 Hz" "$work/in44.wav" "$work/o.wav" --rate 48000 -- \
    "$work/in44.wav" "$work/s.wav" rate -h 48000
row "stereo to mono" "$work/in44.wav" "$work/o.wav" --channels 1 -- \
    "$work/in44.wav" "$work/s.wav" remix 1
row "48000 to 8000 Hz" "$work/in48.wav" "$work/o.wav" --rate 8000 -- \
    "$work/in48.wav" "$work/s.wav" rate -h 8000

read -r _ m1 < <(RUNS=1 best_of "$CLI" convert "$work/in44-1min.wav" "$work/o.wav" --rate 48000)
read -r _ m10 < <(RUNS=1 best_of "$CLI" convert "$work/in44.wav" "$work/o.wav" --rate 48000)
echo "osmera peak memory, 44100 to 48000 Hz: 1 minute ${m1} KiB, ${MINUTES} minutes ${m10} KiB"
