#pragma once
// The effects that put other audio over the selection: paste mix (the controller's
// clipboard, or the system clipboard's audio), mix file (an audio file) and cross fade
// (the selection fading out into the clipboard fading in).
//
// The other audio comes as a source already in the document's rate and channel count
// (MatchFormat); the caller keeps whatever list it reads alive for the call. Processing
// functions run on the thread that owns the list and change it only on kJobDone.

#include <cstdint>
#include <vector>

#include "core/progress.h"
#include "core/sound_source_base.h"
#include "effects/effect_job.h"

namespace osmera {

// One input of a mix: `source` from its frame 0, placed at `offset` in the output for
// `length` frames, scaled by `gain`, rising linearly from 0 over its first `fadeIn` frames
// and falling to 0 over its last `fadeOut` frames. Silence outside its span.
struct LMixLayer {
    LSourceRef source;
    int32_t offset = 0;
    int32_t length = 0;
    float gain = 1.0f;
    int32_t fadeIn = 0;
    int32_t fadeOut = 0;
};

// The sum of its layers over `length` frames, computed in floats block by block and
// rounded into 32-bit samples (saturated only at the 32-bit range: MakeMixSource puts the
// limiter behind it). Owns the layers' sources; they must all have its rate and channels.
class LSRCMix : public LSoundSourceBase {
  public:
    LSRCMix(std::vector<LMixLayer> layers, int32_t length);

    void Read(int32_t* buffer, int32_t frames) override;
    int32_t GetPositionSample() override { return position_; }
    int32_t GetLengthSample() override { return length_; }
    void Seek(int32_t position) override;

  private:
    std::vector<LMixLayer> layers_;
    std::vector<int32_t> in_;
    std::vector<float> sum_;
    int32_t length_;
    int32_t position_ = 0;
};

// The mix behind the engine's limiter at 16-bit full scale; null when a layer is unusable
// or differs from the first in rate or channels.
LSourceRef MakeMixSource(std::vector<LMixLayer> layers, int32_t length);

// Paste mix and mix file. params: volume in percent, "LongerSelection" (non-zero: when the
// other audio is longer than the selection the mix runs on past the selection's end, over
// what follows it and beyond the end of the file; zero: the other audio is cut at the
// selection's end, fading out over its last "FadeOutTime" milliseconds), "FadeOutTime".
// The sum keeps the selection at full level and the other audio at the volume.
int PasteMix(LProgress& progress, const LEffectRequest& request, LSourceRef other);

// Cross fade. params: "GapTimeMS", "FadeInTimeMS", "FadeOutTimeMS". The other audio (the
// clipboard) follows the selection, starting "GapTimeMS" before the selection's end so the
// two overlap by that time (at most the shorter of the two); the selection fades out over
// its last "FadeOutTimeMS" and the other audio fades in over its first "FadeInTimeMS".
// The selection is replaced by the whole: selection + other - overlap frames long.
int CrossFade(LProgress& progress, const LEffectRequest& request, LSourceRef other);

}  // namespace osmera
