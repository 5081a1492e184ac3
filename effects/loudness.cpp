#include "effects/loudness.h"

#include <ebur128.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <vector>

#include "core/trace.h"
#include "edit/src_cut_list_audio.h"
#include "effects/effect_table.h"
#include "effects/level_effects.h"

namespace osmera {

namespace {

constexpr int32_t kBlock = 8192;
constexpr float kScale = 524288.0f;  // 16-bit full scale in stream units

struct StateDeleter {
    void operator()(ebur128_state* st) const { ebur128_destroy(&st); }
};

double ToDb(double linear) {
    return linear > 0 ? 20.0 * std::log10(linear) : -HUGE_VAL;
}

}  // namespace

int MeasureLoudness(LProgress* progress, LSourceRef source, int32_t start, int32_t end,
                    LLoudness& out) {
    if (!source || !source->IsOk())
        return kJobFailed;
    const uint8_t channels = source->GetChannels();
    std::unique_ptr<ebur128_state, StateDeleter> st(
        ebur128_init(channels, static_cast<unsigned long>(source->GetSampleRate()),
                     EBUR128_MODE_I | EBUR128_MODE_LRA | EBUR128_MODE_TRUE_PEAK));
    if (!st) {
        LTrace("MeasureLoudness ebur128_init failed");
        return kJobFailed;
    }
    start = std::max(start, 0);
    end = std::min(end, source->GetLengthSample());
    if (start > 0)
        source->Seek(start);
    std::vector<int32_t> raw(static_cast<size_t>(kBlock) * channels);
    std::vector<float> samples(raw.size());
    for (int32_t at = start; at < end;) {
        if (progress) {
            if (progress->IsCancelled())
                return kJobCancelled;
            progress->SetFraction(static_cast<double>(at - start) / (end - start));
        }
        const int32_t n = std::min(kBlock, end - at);
        source->Read(raw.data(), n);
        const size_t count = static_cast<size_t>(n) * channels;
        for (size_t i = 0; i < count; ++i)
            samples[i] = static_cast<float>(raw[i]) / kScale;
        if (ebur128_add_frames_float(st.get(), samples.data(), static_cast<size_t>(n)) !=
            EBUR128_SUCCESS) {
            LTrace("MeasureLoudness ebur128_add_frames_float failed");
            return kJobFailed;
        }
        at += n;
    }
    LLoudness result;
    if (ebur128_loudness_global(st.get(), &result.integrated) != EBUR128_SUCCESS ||
        !std::isfinite(result.integrated))
        result.integrated = -HUGE_VAL;
    if (ebur128_loudness_range(st.get(), &result.range) != EBUR128_SUCCESS ||
        !std::isfinite(result.range))
        result.range = 0;
    double peak = 0;
    for (unsigned c = 0; c < channels; ++c) {
        double p = 0;
        if (ebur128_true_peak(st.get(), c, &p) == EBUR128_SUCCESS)
            peak = std::max(peak, p);
    }
    result.truePeak = ToDb(peak);
    out = result;
    return kJobDone;
}

int32_t LoudnessGainPercent(const LLoudness& measured, int32_t targetLufs, int32_t ceilingDb) {
    if (!std::isfinite(measured.integrated))
        return 100;
    double gainDb = targetLufs - measured.integrated;
    if (std::isfinite(measured.truePeak))
        gainDb = std::min(gainDb, ceilingDb - measured.truePeak);
    const double percent = std::round(100.0 * std::pow(10.0, gainDb / 20.0));
    return static_cast<int32_t>(std::clamp(percent, 1.0, 12800.0));
}

int LoudnessNormalize(LProgress& progress, const LEffectRequest& request) {
    if (!request.list || request.params.size() < 2)
        return kJobFailed;
    if (request.rangeStart >= request.rangeEnd)
        return kJobDone;
    ShowEffectTitle(progress, GetEffectInfo(LEffectId::kLoudnessNormalize).progressTitle);
    LLoudness measured;
    const int result = MeasureLoudness(&progress, LSourceRef(request.list->MakeSource()),
                                       request.rangeStart, request.rangeEnd, measured);
    if (result != kJobDone)
        return result;
    const int32_t percent = LoudnessGainPercent(measured, request.params[0], request.params[1]);
    LTracef("LoudnessNormalize %.2f LUFS, %.2f dBTP: %d%%", measured.integrated, measured.truePeak,
            percent);
    Amplify(*request.list, request.rangeStart, request.rangeEnd, percent);
    return kJobDone;
}

}  // namespace osmera
