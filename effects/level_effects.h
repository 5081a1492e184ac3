#pragma once
// The effects that change the level of a range over time: amplify and normalize (on the
// gains of the list's entries, no audio written), the envelope with its fixed forms fade in
// and fade out, and DC offset correction (both pumped into new cuts).
//
// Each processing function takes the progress and the request (effect_job.h) and returns a
// job result; the request's list is changed only when the result is kJobDone. They run
// on the thread that owns the list.

#include <cstdint>
#include <string>
#include <vector>

#include "core/progress.h"
#include "core/sound_sink_base.h"
#include "core/sound_source_base.h"
#include "effects/effect_job.h"

namespace osmera {

// An envelope point: x from 0 to 255 is the position x / 255 in the range, y the gain
// y / 128 (128 unity, 0 silence).
struct LEnvelopePoint {
    uint8_t x = 0;
    uint8_t y = 0;
    bool operator==(const LEnvelopePoint&) const = default;
};
using LPointList = std::vector<LEnvelopePoint>;

LPointList FadeInPoints();   // (0, 0), (255, 128)
LPointList FadeOutPoints();  // (0, 128), (255, 0)
LPointList FlatPoints();     // (0, 128), (255, 128): unity over the whole range

// A point-list file: one byte n, then n pairs of bytes x, y. False (and `points` left
// alone) when the file cannot be read, holds fewer than 2 points or is cut short.
bool LoadPointList(const std::string& path, LPointList& points);
bool SavePointList(const std::string& path, const LPointList& points);

// Scales the gains of [start, end) by `percent` (nothing when start > end or 100).
void Amplify(LCutListAudio& list, int32_t start, int32_t end, int32_t percent);

// The percent that brings `peak` to `levelPercent` of 16-bit full scale, at most 400;
// 100 (no change) for silence.
int32_t NormalizeGain(int32_t levelPercent, int64_t peak);

// Measures the peak of the range (params[0] is the level in percent) and amplifies it to
// that level. Nothing unless rangeStart < rangeEnd. Cancel leaves the list alone.
int Normalize(LProgress& progress, const LEffectRequest& request);

// Pumps the range through the envelope `points` into new cuts that replace it. `title` is
// line 0 of the progress. kJobFailed for fewer than 2 points; kJobDone without change
// when rangeStart > rangeEnd.
int Envelope(LProgress& progress, const LEffectRequest& request, const LPointList& points,
             const char* title);

// The two-pass correction of `source` from its start to its length into `sink` (may be
// null: one channel at 44100 Hz is then assumed). kJobFailed when the formats differ or
// the source is not usable.
int DcOffsetCorrect(LProgress& progress, LSourceRef source, LSinkRef sink);

// DC offset correction of the request's range, replacing it.
int DcOffset(LProgress& progress, const LEffectRequest& request);

}  // namespace osmera
