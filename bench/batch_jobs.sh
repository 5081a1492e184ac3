#!/usr/bin/env bash
# The batch converter's parallel speed-up: FILES generated 44.1 kHz stereo 16-bit WAVs of
# MINUTES each through normalize + fade-out + FLAC with --jobs 1 and --jobs 2 (and --jobs
# JOBS when set), best of RUNS wall times, and the ratio jobs1/jobsN. The outputs of the
# parallel runs are checked to be byte for byte those of --jobs 1. A ratio near 2 on two
# idle cores means the jobs share nothing that serialises them.
#
#   CLI=build/cli/osmera-cli FILES=20 MINUTES=1 RUNS=3 bench/batch_jobs.sh
FILES=${FILES:-20}
MINUTES=${MINUTES:-1}
# shellcheck source=bench/common.sh
source "$(dirname "$0")/common.sh"

make_input 44100 "$MINUTES" "$work/model.wav"
inputs=()
for i in $(seq "$FILES"); do
    # Each file its own: a different gain, so normalize has work to do.
    sox -q "$work/model.wav" "$work/in$i.wav" vol "0.$((i % 9 + 1))"
    inputs+=("$work/in$i.wav")
done
printf 'normalize 98\nselect 0:50 1:00\nfade-out\n' >"$work/chain.osm"

run_jobs() {  # jobs out-folder
    best_of "$CLI" batch "$work/chain.osm" "${inputs[@]}" --out "$2" --jobs "$1" \
        --format flac --work-dir "$work"
}

read -r t1 _ < <(run_jobs 1 "$work/out1")
printf 'files=%s minutes=%s jobs=1 seconds=%s\n' "$FILES" "$MINUTES" "$t1"
for jobs in 2 ${JOBS:-}; do
    read -r tn _ < <(run_jobs "$jobs" "$work/out$jobs")
    for i in $(seq "$FILES"); do
        cmp -s "$work/out1/in$i.flac" "$work/out$jobs/in$i.flac" ||
            { echo "in$i.flac differs between --jobs 1 and --jobs $jobs" >&2; exit 1; }
    done
    printf 'files=%s minutes=%s jobs=%s seconds=%s speedup=%s\n' "$FILES" "$MINUTES" "$jobs" \
        "$tn" "$(awk -v a="$t1" -v b="$tn" 'BEGIN { printf "%.2f", a / b }')"
done
