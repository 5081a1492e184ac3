// Fuzz target for the WAV reader (and the libsndfile decoder behind it): the input is
// handed over as a file, opened, read in blocks around its ends and sought about.
// Any crash, hang or sanitizer report is a fault; wrong audio from a corrupt file is not.

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "formats/open_audio_source.h"
#include "formats/wave_file.h"
#include "fuzz/fuzz_input_file.h"

namespace {

void Exercise(osmera::LSoundSourceBase& source) {
    // Bounded work whatever the claimed length: a few blocks at the start, across the
    // end and before 0.
    constexpr int32_t kFrames = 1024;
    std::vector<int32_t> buffer(static_cast<size_t>(kFrames) * source.GetChannels());
    const int32_t length = source.GetLengthSample();
    for (int32_t at : {0, length / 2, length - kFrames / 2, length, -kFrames / 2}) {
        source.Seek(at);
        source.Read(buffer.data(), kFrames);
        source.Read(buffer.data(), kFrames);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string& path = osmera::fuzz::FuzzInputFile().Hold(data, size);
    osmera::LSourceRef wave = osmera::LWaveFile::OpenSource(path);
    Exercise(*wave);
    osmera::LSourceRef any = osmera::OpenAudioSource(path);
    Exercise(*any);
    return 0;
}
