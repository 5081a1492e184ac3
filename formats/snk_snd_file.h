#pragma once
// A writer of every format the program encodes through libsndfile: FLAC, Ogg Vorbis, Opus,
// MP3 (through LAME), AIFF/AIFC, AU, CAF, W64, RF64, raw PCM, VOX, GSM 6.10 and 32-bit
// float WAV.
//
// Samples go to libsndfile as 32-bit integers (the internal value shifted left by 12, the
// same scale as the program's own 32-bit WAV writer), and to float files as the internal
// value over 524288, so PCM of any width and float keep every bit the internal form holds. The sink
// writes the file it is given from the start; callers write to a temporary and rename it when
// Finish() succeeded (formats/ audio_file_writer.h does both).
//
// Failures are states: IsError() when the file could not be created (the message in
// ErrorText()); WriteFailed() once libsndfile refused data. One thread at a time.

#include <cstdint>
#include <string>
#include <vector>

#include "core/sound_sink_base.h"
#include "formats/audio_format.h"

struct sf_private_tag;  // libsndfile's SNDFILE

namespace osmera {

class LSNKSndFile : public LSoundSinkBase {
  public:
    // Creates `fileName` in `format` at `sampleRate` with `channels`, applying the
    // options that format takes (width, quality, bit rate, compression, raw encoding).
    LSNKSndFile(const std::string& fileName, const LWriteFormat& format,
                const LWriteOptions& options, int32_t sampleRate, uint8_t channels);
    ~LSNKSndFile() override;
    LSNKSndFile(const LSNKSndFile&) = delete;
    LSNKSndFile& operator=(const LSNKSndFile&) = delete;

    void Write(const int32_t* buffer, int32_t frames) override;

    // Flushes and closes the file. True when every write and the close succeeded; the
    // sink accepts no more data afterwards. Later calls return the same result.
    bool Finish();
    bool WriteFailed() const { return writeFailed_; }
    // Why the file could not be created, for the user; empty otherwise.
    const std::string& ErrorText() const { return errorText_; }

    // libsndfile's format code for `format` with `options` (the width chosen, raw encoding).
    static int SndFileFormatFor(const LWriteFormat& format, const LWriteOptions& options);

  private:
    static constexpr int32_t kBlockFrames = 8192;

    void ApplyOptions(const LWriteFormat& format, const LWriteOptions& options);
    // Hands `frames` frames to libsndfile; notes a failure. `last`: the file's final write.
    void WriteFrames(const int32_t* samples, int64_t frames, bool last);

    sf_private_tag* sf_ = nullptr;
    std::vector<int32_t> scaled_;   // converted frames not yet handed to libsndfile
    std::vector<double> asDouble_;  // a block for float files
    bool float_ = false;            // the file holds float samples
    bool writeFailed_ = false;
    bool finished_ = false;
    bool finishResult_ = false;
    std::string errorText_;
};

}  // namespace osmera
