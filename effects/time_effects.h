#pragma once
// The effects that change a range in time: reversal (pumped into new cuts) and the ones
// that only edit the cut list: silence insertion, repeat loop, fade out and trim.
//
// Processing functions run on the thread that owns the list; the list changes only when
// they return kJobDone.

#include <cstdint>
#include <vector>

#include "core/progress.h"
#include "core/sound_source_base.h"
#include "effects/effect_job.h"

namespace osmera {

// Reads its inner source backwards: frame i of this source is frame length - 1 - i of the
// inner one, exactly, for every channel. It reads the inner source forwards one block at a
// time (seeking it before each block), so it never holds more than the block asked for.
// Frames before 0 and past the end read as zeros. Owns its inner source.
class LSRCReverse : public LSRCWrapBase {
  public:
    explicit LSRCReverse(LSourceRef inner);

    void Read(int32_t* buffer, int32_t frames) override;
    int32_t GetPositionSample() override { return position_; }
    int32_t GetLengthSample() override { return length_; }
    void Seek(int32_t position) override { position_ = position; }

  private:
    int32_t length_;
    int32_t position_ = 0;
};

// Reverses the range, replacing it.
int Reverse(LProgress& progress, const LEffectRequest& request);

// Where silence goes in.
enum class LSilenceAt { kStart, kCurrent, kEnd };
// Inserts `frames` frames of silence at the list's start, at `cursor` or at its end.
// Returns the position of the insertion.
int32_t InsertSilence(LCutListAudio& list, LSilenceAt at, int32_t cursor, int32_t frames);

// The range repeated so that it stands `times` + 1 times in a row (nothing for times < 1).
void RepeatLoop(LCutListAudio& list, int32_t start, int32_t end, int32_t times);

// Fades the range out and deletes everything after it.
int FadeOutAndTrim(LProgress& progress, const LEffectRequest& request);

}  // namespace osmera
