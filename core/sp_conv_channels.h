#pragma once
// Channel-count converters: stereo to mono and mono to stereo.

#include <cstdint>
#include <vector>

#include "core/sound_source_base.h"

namespace osmera {

// Common part of the channel converters: owns the inner source and a buffer of 8192 of
// its frames, made once. Rate, peak, position, length and Seek are the inner source's.
// Used by one thread at a time.
class LSPConvChannels : public LSRCWrapBase {
  public:
    static constexpr int32_t kBufferFrames = 8192;

    void Read(int32_t* buffer, int32_t frames) final;

  protected:
    LSPConvChannels(LSourceRef inner, uint8_t outChannels);

    // Converts `frames` inner frames in `in` (innerChannels_ each) into `out`.
    virtual void Convert(const int32_t* in, int32_t* out, int32_t frames) const = 0;

    uint8_t innerChannels_;

  private:
    std::vector<int32_t> buffer_;
};

// Stereo to mono by keeping the left channel: output frame i is input sample 2i, bit for
// bit. The right channel is dropped, not mixed in, so the level never changes. (Given
// another channel count it keeps the first channel of each frame.)
class LSPConvChannels2To1 final : public LSPConvChannels {
  public:
    explicit LSPConvChannels2To1(LSourceRef inner);

  private:
    void Convert(const int32_t* in, int32_t* out, int32_t frames) const override;
};

// Mono to stereo: each input sample goes to both channels. (Given a source with more
// channels it duplicates the first channel of each frame.)
class LSPConvChannels1To2 final : public LSPConvChannels {
  public:
    explicit LSPConvChannels1To2(LSourceRef inner);

  private:
    void Convert(const int32_t* in, int32_t* out, int32_t frames) const override;
};

}  // namespace osmera
