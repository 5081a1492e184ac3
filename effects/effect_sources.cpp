#include "effects/effect_sources.h"

#include "core/trace.h"
#include "edit/src_cut_list_audio.h"
#include "effects/delay_effects.h"
#include "effects/dynamics_effects.h"
#include "effects/filter_effects.h"
#include "effects/noise_reduction.h"
#include "effects/pitch_effects.h"
#include "effects/stereo_pan.h"

namespace osmera {

bool HasEffectSource(LEffectId id) {
    switch (id) {
        case LEffectId::kHighPassFilter:
        case LEffectId::kEqualizer:
        case LEffectId::kEcho:
        case LEffectId::kReverb:
        case LEffectId::kCompressor:
        case LEffectId::kAutomaticGainControl:
        case LEffectId::kStereoPan:
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
    // Parameter i, or its table default when the caller gave fewer.
    auto param = [&](size_t i) {
        const LEffectInfo& info = GetEffectInfo(id);
        return i < params.size() ? params[i] : i < info.params.size() ? info.params[i].def : 0;
    };
    switch (id) {
        case LEffectId::kHighPassFilter:
            return MakeHighPassSource(std::move(input), param(0));
        case LEffectId::kEqualizer:
            return MakeEqualizerSource(std::move(input), params);
        case LEffectId::kEcho:
            return LSourceRef(new LSRCEcho(std::move(input), param(0), param(1)));
        case LEffectId::kReverb:
            return LSourceRef(new LSRCReverb(std::move(input), param(0), param(1)));
        case LEffectId::kCompressor:
            if (param(1) < 0 || param(1) > kRatioMaxIndex)
                return {};
            return LSourceRef(new LSRCCompressor(std::move(input), param(0), param(1), param(2)));
        case LEffectId::kAutomaticGainControl:
            return LSourceRef(new LSRCAutoGain(std::move(input)));
        case LEffectId::kStereoPan:
            return LSourceRef(new LSRCStereoPan(std::move(input), param(0)));
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
    // Effects whose progress title is "set by the effect" show their command.
    const LEffectInfo& info = GetEffectInfo(id);
    ShowEffectTitle(progress, *info.progressTitle ? info.progressTitle : info.command);
    LCutListAudio& list = *request.list;
    const LCutListAudio range = CopyRange(list, request.rangeStart, request.rangeEnd);
    LSourceRef effect = MakeEffectSource(id, LSourceRef(range.MakeSource()), request.params);
    if (!effect) {
        LTracef("PumpEffectSource no source for %s", info.command);
        return kJobFailed;
    }
    // The output is as long as the effect's source: a tail or a change of speed changes the
    // range's length.
    return PumpIntoRange(progress, list, request.rangeStart, request.rangeEnd, effect);
}

}  // namespace osmera
