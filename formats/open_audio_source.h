#pragma once
// Opens an audio file of any kind this program reads, choosing the reader by the file's
// content first and its extension second (formats/audio_format.h), so a mislabelled file
// still opens:
// - RIFF WAVE: the program's own reader (libsndfile for coded WAV data);
// - the containers libsndfile reads (FLAC, Ogg Vorbis and Opus, MP3, AIFF/AIFC, AU, CAF,
//   W64, RF64...);
// - headerless raw PCM, VOX and GSM 6.10 by their extension, with the parameters given;
// - anything else through an installed ffmpeg (AAC/M4A, WMA, AC3, Real Audio, DSS,
//   Shorten...), also when libsndfile refuses a file it should read.
// Files of more than two channels are delivered as they are, or as stereo (a standard
// downmix or one pair of channels) when the options ask for it; the report says which.
//
// May be called from any thread; the source it returns is used by one thread at a time.

#include <cstdint>
#include <string>

#include "core/sound_source_base.h"
#include "formats/audio_format.h"

namespace osmera {

struct LOpenOptions {
    enum class Channels { kKeep, kDownmix, kPair };
    // What a file of more than two channels becomes.
    Channels multichannel = Channels::kKeep;
    int32_t pair = 0;  // for kPair: channels 2 * pair + 1 and 2 * pair + 2
    // Rate, channels and encoding of headerless files (.raw, .pcm, .vox, .gsm).
    LRawParams raw;
};

// What the opener did, for the user and for `info`.
struct LOpenReport {
    LReaderKind reader = LReaderKind::kUnknown;
    int32_t fileChannels = 0;  // the file's own channel count
    std::string note;          // e.g. "5.1 channels mixed down to stereo (ITU-R BS.775)"
};

// Never null. On failure an empty source whose GetError() is 4 when the file could not be
// opened, 5 when no decoder for it is installed (the failed source's reason then says
// what to install), and 3 when it is corrupt or no reader knows it.
LSourceRef OpenAudioSource(const std::string& path);
LSourceRef OpenAudioSource(const std::string& path, const LOpenOptions& options,
                           LOpenReport* report = nullptr);

}  // namespace osmera
