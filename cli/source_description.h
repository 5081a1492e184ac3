#pragma once
// What kind of file a source opened by OpenAudioSource reads, for `info` and for the
// default width of `convert`.

#include <cstdint>
#include <string>

#include "core/sound_source_base.h"

namespace osmera::cli {

struct LSourceDescription {
    std::string format;  // "wav-pcm", or the decoder's name for the encoding
    int32_t bits;        // sample width of the file, 16 for decoded encodings
};

LSourceDescription DescribeSource(LSoundSourceBase& source);

}  // namespace osmera::cli
