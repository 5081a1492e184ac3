#pragma once
// The pull source every piece of audio in the program is read from, and the holders'
// helpers: the empty source that stands in an empty slot, and the wrapping source base
// that every effect and converter derives from.
//
// Samples are interleaved frames of signed 32-bit integers, one per channel. A 16-bit
// value v is held as v * 16, so 16-bit full scale is +-524288.
//
// A source is used by one thread at a time (see LRef). Construction never throws: a
// source whose construction failed is a valid object whose GetError() says why, and
// every consumer checks it before use. The error never clears.

#include <cstdint>

#include "core/ref.h"

namespace osmera {

// Source error codes.
enum : uint8_t {
    kSourceOk = 0,
    kSourceEmpty = 1,        // the empty source: nothing to read
    kSourceInnerFailed = 2,  // a wrapped source has an error
    kSourceBadParams = 3,    // bad rate, channels or block size; corrupt file
    kSourceNotOpened = 4,    // the file could not be opened
    kSourceCodecFailed = 5,  // no decoder could be opened for the file's data
};

// Peak of sources that read 16-bit-range data (PCM files and their codecs).
constexpr int32_t kPeak16Bit = 524272;
// Peak of generated, decoded and processed sources unless told otherwise.
constexpr int32_t kPeakProcessed = 2097152;

class LSoundSourceBase : public LRefCounted {
  public:
    // A rate below 1 becomes 44100 and 0 channels become 1; either sets error 3.
    LSoundSourceBase(int32_t sampleRate, uint8_t channels, int32_t peak);

    // Fills `frames` frames into `buffer` (frames * channels integers) and advances the
    // read position by exactly `frames`, also when fewer remain before the end; what is
    // written beyond the end is not meaningful (callers go by position and length).
    virtual void Read(int32_t* buffer, int32_t frames) = 0;
    // The read position in frames.
    virtual int32_t GetPositionSample() = 0;
    // The length in frames.
    virtual int32_t GetLengthSample() = 0;
    // Moves the read position. The base does nothing.
    virtual void Seek(int32_t position);

    int32_t GetSampleRate() const { return sampleRate; }
    uint8_t GetChannels() const { return channels; }
    // The largest magnitude this source can deliver.
    int32_t GetPeak() const { return peak; }
    uint8_t GetError() const { return error; }
    bool IsOk() const { return error == kSourceOk; }

    void SetSampleRate(int32_t rate);
    void SetChannels(uint8_t nChans);

  protected:
    void SetPeak(int32_t p) { peak = p; }
    void SetError(uint8_t code) { error = code; }

    int32_t sampleRate;
    int32_t peak;
    uint8_t channels;
    uint8_t error = kSourceOk;
};

using LSourceRef = LRef<LSoundSourceBase>;

// Stands in a source slot that holds nothing: 11025 Hz, 1 channel, peak 2097152,
// error 1. Reads zeros; position and length 0; Seek does nothing.
class LSRCEmpty : public LSoundSourceBase {
  public:
    LSRCEmpty();
    void Read(int32_t* buffer, int32_t frames) override;
    int32_t GetPositionSample() override { return 0; }
    int32_t GetLengthSample() override { return 0; }
};

// A new empty source.
LSourceRef MakeEmptySource();
// Releases what `slot` holds and puts a new empty source in its place.
void ResetSource(LSourceRef& slot);

// Base of every source that reads another (effects, converters). Copies the inner
// source's rate, channels and peak, takes error 2 when the inner source has an error,
// and forwards everything to the inner source unless a derived class overrides it.
// Owns the inner source through its reference, so releasing the top of a chain releases
// the chain. A null inner source is replaced by an empty one.
class LSRCWrapBase : public LSoundSourceBase {
  public:
    explicit LSRCWrapBase(LSourceRef inner);

    void Read(int32_t* buffer, int32_t frames) override { inner_->Read(buffer, frames); }
    int32_t GetPositionSample() override { return inner_->GetPositionSample(); }
    int32_t GetLengthSample() override { return inner_->GetLengthSample(); }
    void Seek(int32_t position) override { inner_->Seek(position); }

    const LSourceRef& Inner() const { return inner_; }

  protected:
    LSourceRef inner_;
};

}  // namespace osmera
