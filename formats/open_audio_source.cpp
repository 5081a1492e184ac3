#include "formats/open_audio_source.h"

#include <cstring>

#include "core/file.h"
#include "core/trace.h"
#include "formats/src_failed.h"
#include "formats/src_snd_file.h"
#include "formats/wave_file.h"

namespace osmera {

namespace {

// True when the file opens with a RIFF WAVE header.
bool StartsAsWave(const std::string& path) {
    LFile file;
    char h[12];
    return file.Open(path, LFile::Mode::kRead) && file.Read(h, sizeof h) == sizeof h &&
           std::memcmp(h, "RIFF", 4) == 0 && std::memcmp(h + 8, "WAVE", 4) == 0;
}

}  // namespace

LSourceRef OpenAudioSource(const std::string& path) {
    LSourceRef wave = LWaveFile::OpenSource(path);
    // Only "not a usable WAV file" is worth a second reader, and only for a file that is
    // not WAV at all: a WAV file the WAV reader refuses (corrupt, or a rate or channel
    // count out of range) stays refused.
    if (wave->GetError() != kSourceBadParams || StartsAsWave(path))
        return wave;

    LSourceRef other = MakeRef<LSRCSndFile>(path);
    if (other->GetError() == kSourceOk)
        return other;
    LTracef("OpenAudioSource neither WAV nor a format libsndfile reads: %s", path.c_str());
    return MakeFailedSource(kSourceBadParams);
}

}  // namespace osmera
