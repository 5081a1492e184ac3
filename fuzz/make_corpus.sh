#!/usr/bin/env bash
# Writes the seed corpus of the WAV fuzz target into fuzz/corpus/wave_file_fuzz: short
# files (0.02 s) of every sample width and codec the readers know, a few other
# formats libsndfile reads, and damaged files that exercise the readers' refusals. Needs
# sox (scripts/install-deps.sh installs it). The files are committed; run this again only
# to change them.
set -euo pipefail
out="$(cd "$(dirname "$0")" && pwd)/corpus/wave_file_fuzz"
rm -rf "$out"
mkdir -p "$out"
cd "$out"

tone() {  # tone FILE RATE CHANNELS SOX-OUTPUT-OPTIONS...
  local file=$1 rate=$2 channels=$3
  shift 3
  sox -q -n -r "$rate" -c "$channels" "$@" "$file" synth 0.02 sine 440 sine 660 gain -3
}

# Every width and codec of WAV files.
tone pcm_u8_mono.wav 8000 1 -e unsigned-integer -b 8
tone pcm_s16_stereo.wav 8000 2 -e signed-integer -b 16
tone pcm_s24_mono.wav 8000 1 -t wavpcm -e signed-integer -b 24
tone pcm_s32_stereo.wav 8000 2 -t wavpcm -e signed-integer -b 32
tone pcm_s24_extensible.wav 48000 2 -t wav -e signed-integer -b 24
tone pcm_s16_six_channels.wav 8000 6 -e signed-integer -b 16
tone float32_mono.wav 8000 1 -e floating-point -b 32
tone float64_stereo.wav 8000 2 -e floating-point -b 64
tone ulaw_mono.wav 8000 1 -e u-law
tone alaw_stereo.wav 8000 2 -e a-law
tone ima_adpcm_mono.wav 8000 1 -e ima-adpcm
tone ms_adpcm_stereo.wav 8000 2 -e ms-adpcm
tone gsm_mono.wav 8000 1 -e gsm-full-rate
# Other formats the readers hand to libsndfile.
tone aiff_s16.aiff 8000 2 -b 16
tone au_s16.au 8000 1 -b 16
tone flac_s16.flac 8000 1 -b 16
tone vorbis.ogg 8000 1 -C 0

# Damaged files, made from the good ones.
patch() {  # patch FILE OFFSET BYTES-AS-PRINTF-ESCAPES
  printf "$3" | dd of="$1" bs=1 seek="$2" conv=notrunc status=none
}
head -c 200 pcm_s16_stereo.wav > truncated_data.wav
head -c 30 pcm_s16_stereo.wav > truncated_fmt.wav
head -c 36 pcm_s16_stereo.wav > no_data_chunk.wav
cp pcm_s16_stereo.wav data_size_too_large.wav
patch data_size_too_large.wav 40 '\377\377\377\177'
cp pcm_s16_stereo.wav zero_channels.wav
patch zero_channels.wav 22 '\000\000'
cp pcm_s16_stereo.wav zero_block_align.wav
patch zero_block_align.wav 32 '\000\000'
cp pcm_s16_stereo.wav zero_rate.wav
patch zero_rate.wav 24 '\000\000\000\000'
cp pcm_s16_stereo.wav odd_bits.wav
patch odd_bits.wav 34 '\013\000'
cp pcm_s16_stereo.wav huge_fmt_chunk.wav
patch huge_fmt_chunk.wav 16 '\377\377\377\377'
cp pcm_s16_stereo.wav riff_size_zero.wav
patch riff_size_zero.wav 4 '\000\000\000\000'
cp ima_adpcm_mono.wav ima_adpcm_bad_block.wav
patch ima_adpcm_bad_block.wav 32 '\001\000'
head -c 100 gsm_mono.wav > gsm_truncated.wav
head -c 2000 vorbis.ogg > vorbis_truncated.ogg
cp vorbis.ogg vorbis_damaged.ogg
patch vorbis_damaged.ogg 200 'damaged-bytes-in-the-header-page'
head -c 100 flac_s16.flac > flac_truncated.flac
ls -l "$out" | awk 'NR > 1 { n++; total += $5 } END { print n " files, " total " bytes" }'

# Seeds of the format sniffing target: the first bytes of every container the registry
# recognises (the readers see whole short files; ffmpeg-only formats are cut to their
# headers, since the fuzz target runs without ffmpeg).
sniff="$(cd "$(dirname "$0")" && pwd)/corpus/format_sniff_fuzz"
rm -rf "$sniff"
mkdir -p "$sniff"
cp "$out"/aiff_s16.aiff "$out"/au_s16.au "$out"/flac_s16.flac "$out"/vorbis.ogg \
  "$out"/pcm_s16_stereo.wav "$sniff"/
cd "$sniff"
sox -q -n -r 8000 -c 1 seed.wav synth 0.05 sine 440
ffmpeg -v quiet -i seed.wav -c:a libmp3lame -b:a 32k mp3.mp3
ffmpeg -v quiet -i seed.wav -ar 48000 -c:a libopus -b:a 16k opus.opus
sox -q seed.wav caf.caf
sox -q seed.wav w64.w64
ffmpeg -v quiet -i seed.wav -rf64 always rf64.wav
for f in m4a wma ac3 mka; do
  ffmpeg -v quiet -i seed.wav "full.$f"
  head -c 64 "full.$f" > "head.$f"
  rm "full.$f"
done
rm seed.wav
ls -l "$sniff" | awk 'NR > 1 { n++; total += $5 } END { print n " files, " total " bytes" }'
