#pragma once
// The source that reads a cut list's audio: every entry's stretch of its cut file in turn,
// silence for silent entries, each sample multiplied by the entry's gain.
//
// It takes a private copy of the list's entries when it is made (with references of its
// own, dropped when it is destroyed), so later edits of the list never disturb a reader:
// the player and a running effect read the audio as it was when they started. The length
// is the list's length at that moment.
//
// Reads are large and sequential: each stretch of an entry is one file read straight into
// the caller's buffer. Positions before 0 and past the end read as zeros; a cut file that
// cannot be opened reads as silence (with a trace). The peak is 2097152: cuts may hold
// processed audio beyond the 16-bit range and gains may raise it.
//
// One thread at a time, like every source; it may be made on one thread and read on
// another once handed over.

#include <cstdint>
#include <vector>

#include "core/sound_source_base.h"
#include "edit/audio_cut_file.h"
#include "edit/cut_list_audio.h"

namespace osmera {

class LSRCCutListAudio : public LSoundSourceBase {
  public:
    explicit LSRCCutListAudio(const LCutListAudio& list);

    void Read(int32_t* buffer, int32_t frames) override;
    int32_t GetPositionSample() override { return position_; }
    int32_t GetLengthSample() override { return length_; }
    // Moves to frame `position` (before 0 and past the end allowed).
    void Seek(int32_t position) override;

  private:
    // Makes entry `index` current, `offset` frames into it.
    void StartEntry(size_t index, int64_t offset);
    void Zero(int32_t* buffer, int64_t frames) const;

    LCutListAudio entries_;  // the private copy
    int32_t length_;
    int32_t position_ = 0;
    size_t next_ = 0;     // the entry that becomes current when this one is used up
    int64_t left_ = 0;    // frames left in the current entry
    bool silent_ = true;  // the current entry reads as zeros
    int32_t gain_ = kUnityGain;
    LAudioCutReader reader_;
    uint32_t openCut_ = SILENT_CUT;  // the cut whose file reader_ holds open
};

}  // namespace osmera
