#pragma once
// Writers of PCM WAV files: one concrete sink per sample width, 8, 16, 24 and 32 bits.
// Made by LWaveFile::CreateSink.
//
// The file carries a 46-byte header whose RIFF and data sizes stay 0xFFFFFFFF while the
// sink writes, so a file whose writer never finished (a crash while recording or saving)
// is recognisable and still opens. Finish() — or the destructor, when the last reference
// goes and Finish() was not called — writes the final sizes and closes the file.
//
// Failures are states: IsError() when the file could not be created (or the sink is
// finished); WriteFailed() once any write to the file failed (a full disk, for instance),
// in which case the file is incomplete and must not be taken for a good one. Writing does
// not clip: values beyond +-524272 wrap in the file (the pump's limiter prevents them).
//
// One thread at a time.

#include <cstdint>
#include <string>
#include <vector>

#include "core/file.h"
#include "core/sound_sink_base.h"

namespace osmera {

class LSNKPCMFileBase : public LSoundSinkBase {
  public:
    // Size of the header; the audio data begins here.
    static constexpr int64_t kHeaderBytes = 46;
    // Frames converted at once; Write splits larger blocks.
    static constexpr int32_t kBufferFrames = 8192;
    // The most audio data the header's 32-bit sizes can describe: the RIFF size counts 38
    // header bytes besides the data.
    static constexpr int64_t kMaxDataBytes = int64_t{0xFFFFFFFF} - 38;

    // "" when `frames` frames of `channels` samples of `bytesPerSample` fit in a WAV file;
    // otherwise the sentence that refuses to write `fileName`, naming the limit. Savers ask
    // before they create the sink, so no file too large for its header is ever started.
    static std::string CheckSize(const std::string& fileName, int64_t frames, int32_t channels,
                                 int32_t bytesPerSample);

    ~LSNKPCMFileBase() override;

    // Appends `frames` frames at the write position and advances it by `frames`.
    void Write(const int32_t* buffer, int32_t frames) override;
    // Moves the write position back to `position` (a negative one to 0) and cuts the file
    // there. A position beyond the current one is ignored.
    void Seek(int32_t position) override;

    // Writes the final sizes into the header and closes the file. True when the file is
    // complete: every write and the header rewrite succeeded. Later calls return the same
    // result; the sink accepts no more data afterwards.
    bool Finish();
    bool WriteFailed() const { return writeFailed_; }

    int32_t GetBytesPerSample() const { return bytesPerSample_; }
    int32_t GetBlockAlign() const { return blockAlign_; }

  protected:
    // Opens `fileName` for reading and writing, creating it when missing and keeping its
    // contents when present; writes the provisional header; then places the file at frame
    // `startFrame` (0 if negative; not beyond the file's end), takes that frame as the
    // write position, and cuts the file there. A width outside 1..4, a rate below 1, 0
    // channels or a file that cannot be opened set the error bit and leave the file alone.
    LSNKPCMFileBase(const std::string& fileName, int32_t sampleRate, int32_t startFrame,
                    int32_t bytesPerSample, uint8_t channels);

    // Converts `samples` internal samples into file samples of this writer's width.
    virtual void Convert(const int32_t* in, uint8_t* out, int32_t samples) const = 0;

  private:
    // Writes the header at byte 0 with the given sizes.
    bool WriteHeader(uint32_t riffSize, uint32_t dataSize);
    bool PlaceAndCut(int64_t offset);
    void NoteWriteFailure(const char* what);

    LFile file_;
    int32_t bytesPerSample_;
    int32_t blockAlign_;
    std::vector<uint8_t> fileBuffer_;
    bool writeFailed_ = false;
    bool finished_ = false;
    bool finishResult_ = false;
};

class LSNKPCMFile8 : public LSNKPCMFileBase {
  public:
    LSNKPCMFile8(const std::string& fileName, int32_t sampleRate, int32_t startFrame,
                 uint8_t channels)
        : LSNKPCMFileBase(fileName, sampleRate, startFrame, 1, channels) {}

  protected:
    void Convert(const int32_t* in, uint8_t* out, int32_t samples) const override;
};

class LSNKPCMFile16 : public LSNKPCMFileBase {
  public:
    LSNKPCMFile16(const std::string& fileName, int32_t sampleRate, int32_t startFrame,
                  uint8_t channels)
        : LSNKPCMFileBase(fileName, sampleRate, startFrame, 2, channels) {}

  protected:
    void Convert(const int32_t* in, uint8_t* out, int32_t samples) const override;
};

class LSNKPCMFile24 : public LSNKPCMFileBase {
  public:
    LSNKPCMFile24(const std::string& fileName, int32_t sampleRate, int32_t startFrame,
                  uint8_t channels)
        : LSNKPCMFileBase(fileName, sampleRate, startFrame, 3, channels) {}

  protected:
    void Convert(const int32_t* in, uint8_t* out, int32_t samples) const override;
};

class LSNKPCMFile32 : public LSNKPCMFileBase {
  public:
    LSNKPCMFile32(const std::string& fileName, int32_t sampleRate, int32_t startFrame,
                  uint8_t channels)
        : LSNKPCMFileBase(fileName, sampleRate, startFrame, 4, channels) {}

  protected:
    void Convert(const int32_t* in, uint8_t* out, int32_t samples) const override;
};

}  // namespace osmera
