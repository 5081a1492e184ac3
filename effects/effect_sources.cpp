#include "effects/effect_sources.h"

#include "core/trace.h"
#include "edit/src_cut_list_audio.h"
#include "effects/noise_reduction.h"
#include "effects/pitch_effects.h"

namespace osmera {

bool HasEffectSource(LEffectId id) {
    switch (id) {
        case LEffectId::kSimpleSpeedPitch:
        case LEffectId::kConstantPitchSpeed:
        case LEffectId::kConstantSpeedPitch:
        case LEffectId::kNoiseReduction:
            return true;
        default:
            return false;
    }
}

LSourceRef MakeEffectSource(LEffectId id, LSourceRef input, const std::vector<int32_t>& params) {
    if (!input)
        return {};
    switch (id) {
        case LEffectId::kSimpleSpeedPitch:
        case LEffectId::kConstantPitchSpeed:
        case LEffectId::kConstantSpeedPitch:
            return params.empty() ? LSourceRef() : MakeSpeedEffectSource(id, input, params[0]);
        case LEffectId::kNoiseReduction:
            return params.empty() ? LSourceRef() : MakeNoiseReductionSource(input, params[0]);
        default:
            return {};
    }
}

int PumpEffectSource(LProgress& progress, const LEffectRequest& request, LEffectId id) {
    if (!request.list)
        return kJobFailed;
    if (request.rangeStart > request.rangeEnd)
        return kJobDone;
    ShowEffectTitle(progress, GetEffectInfo(id).progressTitle);
    LCutListAudio& list = *request.list;
    const LCutListAudio range = CopyRange(list, request.rangeStart, request.rangeEnd);
    LSourceRef effect = MakeEffectSource(id, LSourceRef(range.MakeSource()), request.params);
    if (!effect) {
        LTracef("PumpEffectSource no source for %s", GetEffectInfo(id).command);
        return kJobFailed;
    }
    const int32_t length = effect->GetLengthSample();
    LEffectOutput output(list.GetSampleRate(), list.GetChannels());
    const int result = RangePump(progress, effect, output.Sink(), 0, length);
    return output.Finish(result, list, request.rangeStart, request.rangeEnd, length);
}

}  // namespace osmera
