#pragma once
// Loudness measured per EBU R128 (ITU-R BS.1770 K-weighting and gating) through
// libebur128: integrated loudness in LUFS, loudness range in LU and true peak in dBTP
// (4x oversampled), and "Loudness Normalize...", which brings the integrated loudness of
// the range to a target without letting the true peak pass a ceiling.
//
// Runs on the calling thread; the progress (may be null) is polled once per block.

#include <cstdint>

#include "core/progress.h"
#include "core/sound_source_base.h"
#include "effects/effect_job.h"

namespace osmera {

struct LLoudness {
    double integrated = 0;  // LUFS; -HUGE_VAL for silence or audio shorter than 400 ms
    double range = 0;       // LU
    double truePeak = 0;    // dBTP; -HUGE_VAL for silence
};

// Measures [start, end) of `source` (seeked to start; samples are taken as stream units,
// 16-bit full scale = 0 dBFS). kJobFailed for an unusable source or more than two
// channels' worth of libebur128 refusal; kJobCancelled leaves `out` alone.
int MeasureLoudness(LProgress* progress, LSourceRef source, int32_t start, int32_t end,
                    LLoudness& out);

// The percent gain that brings `measured` to `targetLufs`, lowered so the true peak stays
// at or below `ceilingDb`: 100 for silence. At least 1, at most 12800 (the cut gain's
// range).
int32_t LoudnessGainPercent(const LLoudness& measured, int32_t targetLufs, int32_t ceilingDb);

// Loudness normalize of the request's range: params[0] the target in LUFS, params[1] the
// true-peak ceiling in dBTP. Measures (cancellable, nothing changed), then applies the
// gain to the cut gains of the range, writing no audio. The gain goes in whole percent
// (the cut-gain edit's unit): within 0.05 dB down to -6 dB, coarser for deep cuts. When
// the ceiling holds the gain back the loudness stays under the target: nothing limits or
// compresses the audio to make it fit. Nothing for an empty range.
int LoudnessNormalize(LProgress& progress, const LEffectRequest& request);

}  // namespace osmera
