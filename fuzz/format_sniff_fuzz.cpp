// Fuzz target for the format registry: the content sniffing that picks a reader, the
// choice by extension, and the opener that follows them (libsndfile readers and the WAV
// reader; ffmpeg is kept out by an empty PATH, so every input stays in this process).
// Any crash, hang or sanitizer report is a fault; a refused file is not.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "formats/audio_format.h"
#include "formats/open_audio_source.h"
#include "fuzz/fuzz_input_file.h"

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    ::setenv("PATH", "", 1);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    // The sniffing alone, on every prefix length up to its 64 bytes.
    for (size_t n = 0; n <= std::min<size_t>(size, 64); ++n)
        osmera::SniffContent(data, n);
    // The extension table with a name made from the input.
    if (size > 0) {
        const std::string name(reinterpret_cast<const char*>(data), std::min<size_t>(size, 12));
        osmera::ReaderForExtension("x." + name);
        osmera::WriteFormatForPath("x." + name);
    }
    const std::string& path = osmera::fuzz::FuzzInputFile().Hold(data, size);
    osmera::LOpenOptions options;
    options.multichannel = osmera::LOpenOptions::Channels::kDownmix;
    osmera::LSourceRef source = osmera::OpenAudioSource(path, options);
    std::vector<int32_t> buffer(1024 * 2);
    const int32_t length = source->GetLengthSample();
    for (int32_t at : {0, length / 2, length - 512, length}) {
        source->Seek(at);
        source->Read(buffer.data(), 1024);
    }
    return 0;
}
