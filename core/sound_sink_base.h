#pragma once
// The push sink audio is written into: a file writer, a piece of the cut tank, the
// recorder's target. Shared through LRef; a file sink completes its file in its
// destructor, that is when the last reference is dropped.
//
// A sink is used by one thread at a time. Construction never throws: IsError() tells
// whether the sink can accept data, and every producer checks it before writing.

#include <cstdint>

#include "core/ref.h"

namespace osmera {

class LSoundSinkBase : public LRefCounted {
  public:
    // 0 channels sets the error bit and uses 1 channel.
    LSoundSinkBase(int32_t sampleRate, uint8_t channels);

    // Consumes `frames` frames of `buffer` (frames * channels integers) and adds
    // `frames` to the write position.
    virtual void Write(const int32_t* buffer, int32_t frames) = 0;
    // Moves the write position back; the base does nothing.
    virtual void Seek(int32_t position);

    int32_t GetSampleRate() const { return sampleRate; }
    uint8_t GetChannels() const { return channels; }
    // Frames written so far.
    int32_t GetPosition() const { return position; }
    // True when the sink cannot accept data.
    bool IsError() const { return (errorFlags & 1) != 0; }

  protected:
    void SetErrorBit() { errorFlags |= 1; }

    int32_t position = 0;
    int32_t sampleRate;
    uint8_t channels;
    uint8_t errorFlags = 0;
};

using LSinkRef = LRef<LSoundSinkBase>;

}  // namespace osmera
