// Fuzz target for the WAV reader (and the libsndfile decoder behind it): the input is
// written to a temporary file, opened, read in blocks around its ends and sought about.
// Any crash, hang or sanitizer report is a fault; wrong audio from a corrupt file is not.

#include <stdlib.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "formats/open_audio_source.h"
#include "formats/wave_file.h"

namespace {

// One temporary file for the whole run, removed at exit.
struct LTempFile {
    LTempFile() {
        const int fd = ::mkstemp(path.data());
        if (fd >= 0)
            ::close(fd);
    }
    ~LTempFile() { ::unlink(path.c_str()); }
    std::string path = "/tmp/osmera-wave-fuzz-XXXXXX";
};

const std::string& TempPath() {
    static const LTempFile file;
    return file.path;
}

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
    const std::string& path = TempPath();
    FILE* f = std::fopen(path.c_str(), "wb");
    if (!f)
        return 0;
    std::fwrite(data, 1, size, f);
    std::fclose(f);

    osmera::LSourceRef wave = osmera::LWaveFile::OpenSource(path);
    Exercise(*wave);
    osmera::LSourceRef any = osmera::OpenAudioSource(path);
    Exercise(*any);
    return 0;
}
