#pragma once
// Sources that make audio rather than read it: silence, a sine tone, and a source over
// a vector of samples held in memory. Used for inserted silence, test signals, and by
// tests as known input.

#include <cstdint>
#include <vector>

#include "core/sound_source_base.h"

namespace osmera {

// Common behaviour: a finite source of `length` frames that reads zeros outside
// [0, length), tracks its position and seeks anywhere (also before 0 or past the end).
class LSRCGeneratorBase : public LSoundSourceBase {
  public:
    LSRCGeneratorBase(int32_t sampleRate, uint8_t channels, int32_t peak, int32_t length);

    void Read(int32_t* buffer, int32_t frames) final;
    int32_t GetPositionSample() final { return position_; }
    int32_t GetLengthSample() final { return length_; }
    void Seek(int32_t position) final { position_ = position; }

  protected:
    // Fills `count` frames starting at frame `first`, which lie inside [0, length).
    virtual void Generate(int32_t* buffer, int32_t first, int32_t count) = 0;

  private:
    int32_t position_ = 0;
    int32_t length_;
};

class LSRCSilence : public LSRCGeneratorBase {
  public:
    LSRCSilence(int32_t sampleRate, uint8_t channels, int32_t length);

  protected:
    void Generate(int32_t* buffer, int32_t first, int32_t count) override;
};

// A sine of `frequency` Hz and `amplitude` (internal scale), the same on every channel.
class LSRCTone : public LSRCGeneratorBase {
  public:
    LSRCTone(int32_t sampleRate, uint8_t channels, int32_t length, double frequency,
             int32_t amplitude);

  protected:
    void Generate(int32_t* buffer, int32_t first, int32_t count) override;

  private:
    double step_;
    int32_t amplitude_;
};

// Interleaved samples held in memory; the length is samples.size() / channels.
class LSRCSampleVector : public LSRCGeneratorBase {
  public:
    LSRCSampleVector(int32_t sampleRate, uint8_t channels, std::vector<int32_t> samples,
                     int32_t peak = kPeakProcessed);

    const std::vector<int32_t>& Samples() const { return samples_; }

  protected:
    void Generate(int32_t* buffer, int32_t first, int32_t count) override;

  private:
    std::vector<int32_t> samples_;
};

}  // namespace osmera
