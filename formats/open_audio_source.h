#pragma once
// Opens an audio file of any kind this program reads: WAV through LWaveFile first (its
// own PCM readers, libsndfile for coded WAV data), then any other format libsndfile knows
// (AIFF, AU, FLAC, Ogg...).
//
// May be called from any thread; the source it returns is used by one thread at a time.

#include <string>

#include "core/sound_source_base.h"

namespace osmera {

// Never null. On failure an empty source whose GetError() is 4 when the file could not be
// opened, 5 when it is a WAV file whose coded data cannot be decoded, and 3 when it is
// neither a usable WAV file nor a file libsndfile can read.
LSourceRef OpenAudioSource(const std::string& path);

}  // namespace osmera
