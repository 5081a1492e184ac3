#include "effects/effect_sources.h"

#include "core/trace.h"
#include "edit/src_cut_list_audio.h"

namespace osmera {

bool HasEffectSource(LEffectId id) {
    switch (id) {
        default:
            return false;
    }
}

LSourceRef MakeEffectSource(LEffectId id, LSourceRef input, const std::vector<int32_t>& params) {
    if (!input)
        return {};
    (void)params;
    switch (id) {
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
    LEffectOutput output(list.GetSampleRate(), list.GetChannels());
    const int result = RangePump(progress, effect, output.Sink(), 0, effect->GetLengthSample());
    return output.Finish(result, list, request.rangeStart, request.rangeEnd);
}

}  // namespace osmera
