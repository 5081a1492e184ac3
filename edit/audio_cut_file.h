#pragma once
// The two files of a cut, byte for byte.
//
// "<n>.aud": headerless frames; a frame is one signed 32-bit little-endian sample per
// channel, channel 0 first, holding the stream's internal value (16-bit sample * 16).
// Frame f starts at byte f * channels * 4.
//
// "<n>.grf": headerless, one record per block of 256 frames of the audio file, in order
// (the last block may be shorter; it is written when the cut is closed). A record is one
// pair of unsigned bytes per channel, in channel order: the positive peak (the block's
// largest sample, at least 0, shifted right by 11 and capped at 255) and the negative peak
// (the negated smallest sample, at least 0, shifted right by 11 and capped at 255).
// Record k starts at byte k * channels * 2.
//
// One writer per cut, used by one thread; a closed cut is read-only, so readers on any
// thread need no lock. Neither class throws: the writer remembers a failed write (a full
// disk) and says so; the reader delivers zeros for whatever the file does not hold.

#include <cstdint>
#include <string>
#include <vector>

#include "core/file.h"

namespace osmera {

constexpr int32_t kGraphBlockFrames = 256;

// A graph record byte for a block's running maximum (`peak` >= 0), or for the negated
// running minimum.
constexpr uint8_t GraphPeakByte(int64_t peak) {
    const int64_t v = peak >> 11;
    return static_cast<uint8_t>(v > 255 ? 255 : (v < 0 ? 0 : v));
}

class LAudioCutWriter {
  public:
    LAudioCutWriter() = default;
    ~LAudioCutWriter() { Close(); }
    LAudioCutWriter(const LAudioCutWriter&) = delete;
    LAudioCutWriter& operator=(const LAudioCutWriter&) = delete;

    // Creates (or empties) both files. False when either could not be created; the writer
    // is then failed and every later call does nothing.
    bool Create(const std::string& audPath, const std::string& grfPath, uint8_t channels);
    // Appends `frames` frames to the audio file and the finished graph records to the
    // graph file. False when anything could not be written (then and from then on).
    bool Write(const int32_t* buffer, int32_t frames);
    // Repositions both files at frame `frame` (>= 0) and cuts them there, so that a later
    // record covers the rest of a partial block. False on failure.
    bool Seek(int32_t frame);
    // Writes the record of a partial block and closes both files. False when a write failed
    // at any time. Safe to call twice.
    bool Close();

    bool HasFailed() const { return failed_; }

  private:
    bool Fail();
    void ClearBlock();
    void FinishRecord();

    LFile aud_;
    LFile grf_;
    uint8_t channels_ = 1;
    bool failed_ = false;
    int32_t blockFrames_ = 0;
    std::vector<int32_t> max_;
    std::vector<int32_t> min_;
    std::vector<uint8_t> records_;  // finished records not yet written
    std::vector<int32_t> swapped_;  // byte-swapped copy on big-endian hosts
};

class LAudioCutReader {
  public:
    // Opens a cut's audio file for reading. False when it cannot be opened.
    bool Open(const std::string& audPath, uint8_t channels);
    void Close() { aud_.Close(); }
    bool IsOpen() const { return aud_.IsOpen(); }
    // Positions the file at frame `frame`. False (and the reader closed) when the frame is
    // negative or the file cannot be positioned.
    bool SeekFrame(int64_t frame);
    // Reads `frames` frames; what the file does not hold (a short or damaged file) reads as
    // zeros.
    void ReadFrames(int32_t* buffer, int32_t frames);

  private:
    LFile aud_;
    uint8_t channels_ = 1;
};

}  // namespace osmera
