#pragma once
// WAV files: opening one as a source and creating one as a sink.
//
// Reading walks the RIFF chunks itself: chunks of other kinds before "RIFF" and between
// "fmt " and "data" are skipped; PCM data of any width up to 32 bits goes to the PCM
// readers (the width is rounded up to 8, 16, 24 or 32 bits and the block align is
// recomputed from it), any other format tag to the libsndfile decoder. Writing always
// makes plain PCM with a 46-byte header.
//
// Both may be called from any thread; the objects they return are used by one thread at
// a time.

#include <cstdint>
#include <string>

#include "core/sound_source_base.h"
#include "formats/snk_pcm_file_base.h"

namespace osmera {

class LWaveFile {
  public:
    // Opens `fileName` as a source. Never null: on failure the source is an empty one
    // whose GetError() is 4 when the file could not be opened, 3 when it is not a usable
    // WAV file (corrupt, or channels and rate out of range), 5 when its coded data cannot
    // be decoded; the failed source also says why in words (FailureReason in
    // formats/src_failed.h). A file whose data size is 0xFFFFFFFF (its writer never finished) takes
    // its length from the file's size; a file cut short inside its data keeps the
    // header's length and reads zeros for what is missing.
    static LSourceRef OpenSource(const std::string& fileName);

    // Creates a PCM writer of `bytesPerSample` 1, 2, 3 or 4 (8, 16, 24 or 32 bits) on
    // `fileName`. Writing starts at `startFrame`: an existing file keeps its frames
    // before that and is cut there (a fresh start is frame 0). Never null; a sink whose
    // file could not be created, or with a width outside 1..4, reports IsError().
    static LRef<LSNKPCMFileBase> CreateSink(const std::string& fileName, int32_t sampleRate,
                                            int32_t startFrame, int32_t bytesPerSample,
                                            uint8_t channels);
};

}  // namespace osmera
