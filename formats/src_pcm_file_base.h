#pragma once
// Readers of uncompressed PCM audio in a file (the data of a WAV file): one concrete source
// per sample width, 8, 16, 24 and 32 bits, all delivering the internal sample form with
// peak 524272. Made by LWaveFile::OpenSource, which finds the data and picks the width.
//
// The reader owns its file handle and keeps the file open until it is destroyed. Frames
// before 0 and at or after the length read as zeros; so do frames that the file does not
// hold (a file cut short inside its data keeps the length its header gave). The length is
// the header's, cut to 2147483647 frames; LFileFacts tells the uncut length and how much
// of it the file holds. One thread at a time.

#include <cstdint>
#include <vector>

#include "core/file.h"
#include "core/sound_source_base.h"
#include "formats/opened_file_facts.h"

namespace osmera {

class LSRCPCMFileBase : public LSoundSourceBase, public LFileFacts {
  public:
    // The largest block converted at once; Read splits larger requests.
    static constexpr int32_t kBufferFrames = 8192;

    void Read(int32_t* buffer, int32_t frames) override;
    int32_t GetPositionSample() override { return position_; }
    int32_t GetLengthSample() override { return length_; }
    // Records `position` as the position and places the file at that frame, clamped to
    // [0, length].
    void Seek(int32_t position) override;

    int32_t GetBytesPerSample() const { return bytesPerSample_; }
    int32_t GetBlockAlign() const { return blockAlign_; }

    int64_t GetClaimedFrames() const override { return claimedFrames_; }
    int64_t GetPresentFrames() const override { return presentFrames_; }
    int32_t GetKeptBytesPerSample() const override { return bytesPerSample_; }

  protected:
    // Takes over `file`, which stands at `dataStart`, the byte offset of the first frame;
    // `claimedFrames` is the data's length as the header gives it.
    LSRCPCMFileBase(LFile file, int64_t dataStart, int64_t claimedFrames, int32_t sampleRate,
                    uint8_t channels, int32_t bytesPerSample);

    // Converts `samples` file samples of this reader's width into internal samples.
    virtual void Convert(const uint8_t* in, int32_t* out, int32_t samples) const = 0;

  private:
    // Reads at most kBufferFrames frames.
    void ReadBlock(int32_t* buffer, int32_t frames);

    LFile file_;
    int64_t dataStart_;
    int32_t position_ = 0;
    int32_t length_;
    int64_t claimedFrames_;
    int64_t presentFrames_;
    int32_t blockAlign_;
    int32_t bytesPerSample_;
    std::vector<uint8_t> fileBuffer_;
};

class LSRCPCMFile8 : public LSRCPCMFileBase {
  public:
    LSRCPCMFile8(LFile file, int64_t dataStart, int64_t length, int32_t sampleRate,
                 uint8_t channels)
        : LSRCPCMFileBase(std::move(file), dataStart, length, sampleRate, channels, 1) {}

  protected:
    void Convert(const uint8_t* in, int32_t* out, int32_t samples) const override;
};

class LSRCPCMFile16 : public LSRCPCMFileBase {
  public:
    LSRCPCMFile16(LFile file, int64_t dataStart, int64_t length, int32_t sampleRate,
                  uint8_t channels)
        : LSRCPCMFileBase(std::move(file), dataStart, length, sampleRate, channels, 2) {}

  protected:
    void Convert(const uint8_t* in, int32_t* out, int32_t samples) const override;
};

class LSRCPCMFile24 : public LSRCPCMFileBase {
  public:
    LSRCPCMFile24(LFile file, int64_t dataStart, int64_t length, int32_t sampleRate,
                  uint8_t channels)
        : LSRCPCMFileBase(std::move(file), dataStart, length, sampleRate, channels, 3) {}

  protected:
    void Convert(const uint8_t* in, int32_t* out, int32_t samples) const override;
};

class LSRCPCMFile32 : public LSRCPCMFileBase {
  public:
    LSRCPCMFile32(LFile file, int64_t dataStart, int64_t length, int32_t sampleRate,
                  uint8_t channels)
        : LSRCPCMFileBase(std::move(file), dataStart, length, sampleRate, channels, 4) {}

  protected:
    void Convert(const uint8_t* in, int32_t* out, int32_t samples) const override;
};

}  // namespace osmera
