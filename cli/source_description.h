#pragma once
// What kind of file a source opened by OpenAudioSource reads, for `info` and for the
// default width of `convert`.

#include <cstdint>
#include <string>

#include "core/sound_source_base.h"

namespace osmera::cli {

struct LSourceDescription {
    std::string format;  // container and encoding: "wav-pcm", "wav-float", "flac-pcm", ...
    int32_t bits;        // the file's sample width; 0 when the encoding has none (ADPCM, Vorbis)
    int32_t writeBits;   // the PCM width a conversion keeps by default
};

LSourceDescription DescribeSource(LSoundSourceBase& source);

}  // namespace osmera::cli
