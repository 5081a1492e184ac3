#!/usr/bin/env bash
# Encoding and decoding FLAC, MP3 and Ogg Vorbis side by side with sox (ffmpeg where this
# sox lacks the format) on a generated 10-minute 44.1 kHz stereo 16-bit WAV. Both
# programs use the same codec libraries, so the difference is what osmera adds: the
# conversion to and from its internal scale and the pump. Decoding starts from files sox
# (or ffmpeg) made, so both decoders read the same bytes. Best of RUNS; peak memory of
# both, and osmera's on a 1-minute file to show it stays flat with the file's length.
# Target (ratio osmera/peer): at most 1.1.
#
#   CLI=build/cli/osmera-cli MINUTES=10 RUNS=3 bench/formats_compare.sh
MINUTES=${MINUTES:-10}
# shellcheck source=bench/common.sh
source "$(dirname "$0")/common.sh"
make_input 44100 "$MINUTES" "$work/in.wav"
make_input 44100 1 "$work/in-1min.wav"

# The peer for FORMAT: sox when it writes that format, else ffmpeg.
peer_for() {
    if sox -q -n -t "$1" /dev/null synth 0.01 sine 440 2>/dev/null; then echo sox; else echo ffmpeg; fi
}
encode_args() {  # peer format in out: the peer's command line for an encode
    case "$1:$2" in
        sox:flac) echo "sox -q $3 -C 5 $4" ;;
        sox:mp3) echo "sox -q $3 -C 192 $4" ;;
        sox:ogg) echo "sox -q $3 -C 5 $4" ;;
        ffmpeg:flac) echo "ffmpeg -v quiet -y -i $3 -compression_level 5 $4" ;;
        ffmpeg:mp3) echo "ffmpeg -v quiet -y -i $3 -c:a libmp3lame -b:a 192k $4" ;;
        ffmpeg:ogg) echo "ffmpeg -v quiet -y -i $3 -c:a libvorbis -q:a 5 $4" ;;
    esac
}
decode_args() {  # peer in out
    case "$1" in
        sox) echo "sox -q $2 -b 16 $3" ;;
        ffmpeg) echo "ffmpeg -v quiet -y -i $2 -c:a pcm_s16le $3" ;;
    esac
}
osmera_encode() {  # format in out
    case "$1" in
        flac) echo "$CLI convert $2 $3 --compression 5" ;;
        mp3) echo "$CLI convert $2 $3 --bitrate 192" ;;
        ogg) echo "$CLI convert $2 $3 --quality 5" ;;
    esac
}

printf '%-12s %-7s %10s %10s %8s %8s %12s %12s %12s\n' workload peer osmera_s peer_s ratio target \
    osmera_KiB peer_KiB osm_1min_KiB
row() {  # name peer osmera-command peer-command osmera-1min-command
    local ot om st sm mt mm
    # shellcheck disable=SC2086
    read -r ot om < <(best_of $3)
    # shellcheck disable=SC2086
    read -r st sm < <(best_of $4)
    # shellcheck disable=SC2086
    read -r mt mm < <(RUNS=1 best_of $5)
    awk -v n="$1" -v p="$2" -v o="$ot" -v s="$st" -v om="$om" -v sm="$sm" -v mm="$mm" 'BEGIN {
        r = o / s
        printf "%-12s %-7s %10.3f %10.3f %8.2f %8.1f %12d %12d %12d %s\n", n, p, o, s, r, 1.1,
            om, sm, mm, (r <= 1.1 ? "ok" : "OVER")
    }'
}
for f in flac mp3 ogg; do
    peer=$(peer_for "$f")
    row "encode $f" "$peer" "$(osmera_encode "$f" "$work/in.wav" "$work/o.$f")" \
        "$(encode_args "$peer" "$f" "$work/in.wav" "$work/p.$f")" \
        "$(osmera_encode "$f" "$work/in-1min.wav" "$work/o1.$f")"
    # Both decode the peer's file; the 1-minute column decodes osmera's short one.
    row "decode $f" "$peer" "$CLI convert $work/p.$f $work/od.wav --bits 16" \
        "$(decode_args "$peer" "$work/p.$f" "$work/pd.wav")" \
        "$CLI convert $work/o1.$f $work/od1.wav --bits 16"
done
