#pragma once
// What an opened audio file really holds, beside what its source delivers, and the
// sentences that tell the user when the two differ.
//
// A source counts frames in 32 bits and a PCM reader keeps its header's length even when
// the file ends early (the missing frames read as zeros). Both rules are kept; instead,
// every program that opens a file for the user asks LOpenedFileFacts::Of(source) and shows
// its Warnings(), so nothing is cut or padded without a word:
// - claimed frames: the length the file's header (or decoder) states, not cut to 32 bits;
// - present frames: the frames whose bytes the file actually holds;
// - opened frames: what the source delivers, the claimed length cut to 2147483647.
//
// Plain values; any thread.

#include <cstdint>
#include <string>
#include <vector>

#include "core/sound_source_base.h"

namespace osmera {

// Implemented by the file readers (beside LSoundSourceBase) to tell what their file holds.
class LFileFacts {
  public:
    // The length the file's header or decoder states, in frames, not cut to 32 bits.
    virtual int64_t GetClaimedFrames() const = 0;
    // The frames the file holds bytes for; at most GetClaimedFrames().
    virtual int64_t GetPresentFrames() const = 0;
    // The PCM width (bytes per sample, 1 to 4) a save of this file keeps: the file's own
    // width for PCM, 2 for coded data (decoded audio carries 16-bit precision).
    virtual int32_t GetKeptBytesPerSample() const = 0;

  protected:
    ~LFileFacts() = default;
};

struct LOpenedFileFacts {
    // The largest frame count a source can deliver.
    static constexpr int64_t kMaxOpenedFrames = 2147483647;

    int64_t claimedFrames = 0;
    int64_t presentFrames = 0;
    int32_t openedFrames = 0;
    int32_t sampleRate = 0;
    int32_t channels = 0;
    int32_t keptBytesPerSample = 2;

    // The facts of `source`. A source that is not a file reader holds what it delivers:
    // claimed and present frames are its length, and it keeps 16 bits.
    static LOpenedFileFacts Of(LSoundSourceBase& source);

    // Frames of the file beyond what a source can count: left out when opening.
    int64_t LeftOutFrames() const { return claimedFrames - openedFrames; }
    // Frames the header claims that the file does not hold: read as silence.
    int64_t MissingFrames() const { return claimedFrames - presentFrames; }
    bool HasTooManyChannels() const { return channels > 2; }

    // One sentence per difference (left out, missing), each naming `fileName` and how
    // much; empty when the file opens whole.
    std::vector<std::string> Warnings(const std::string& fileName) const;
    // What becomes of a file of more than two channels when it is opened (a downmix to
    // stereo, or one pair); "" for mono and stereo.
    std::string ChannelsNote(const std::string& fileName) const;

    // `frames` at `rate` in the ordinary hundredths form ("104:10:00.00"), computed in 64
    // bits; "more than 596 hours" beyond what a millisecond count holds.
    static std::string TimeText(int64_t frames, int32_t rate);
};

}  // namespace osmera
