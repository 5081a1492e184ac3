#include "effects/mix_effects.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "core/peak_limiter_source.h"
#include "core/trace.h"
#include "edit/src_cut_list_audio.h"
#include "effects/effect_table.h"

namespace osmera {

namespace {

constexpr int32_t kBlock = 8192;

int32_t MsToFrames(int32_t ms, int32_t rate) {
    return static_cast<int32_t>(std::clamp<int64_t>(int64_t{std::max(ms, 0)} * rate / 1000, 0,
                                                    std::numeric_limits<int32_t>::max()));
}

// The gain of a layer at its own frame `i` (0 <= i < length).
float LayerGain(const LMixLayer& l, int64_t i) {
    float g = l.gain;
    if (i < l.fadeIn)
        g *= static_cast<float>(i) / static_cast<float>(l.fadeIn);
    const int64_t fromEnd = int64_t{l.length} - 1 - i;
    if (fromEnd < l.fadeOut)
        g *= static_cast<float>(fromEnd) / static_cast<float>(l.fadeOut);
    return g;
}

}  // namespace

LSRCMix::LSRCMix(std::vector<LMixLayer> layers, int32_t length)
    : LSoundSourceBase(
          layers.empty() || !layers[0].source ? 44100 : layers[0].source->GetSampleRate(),
          layers.empty() || !layers[0].source ? 1 : layers[0].source->GetChannels(),
          kPeakProcessed),
      layers_(std::move(layers)),
      length_(std::max(length, 0)) {
    for (LMixLayer& l : layers_) {
        if (!l.source) {
            l.source = MakeEmptySource();
            l.length = 0;
        }
        l.length = std::clamp(l.length, 0, l.source->GetLengthSample());
        l.fadeIn = std::clamp(l.fadeIn, 0, l.length);
        l.fadeOut = std::clamp(l.fadeOut, 0, l.length);
    }
    in_.resize(static_cast<size_t>(kBlock) * channels);
    sum_.resize(static_cast<size_t>(kBlock) * channels);
    Seek(0);
}

void LSRCMix::Seek(int32_t position) {
    position_ = std::max(position, 0);
    for (LMixLayer& l : layers_)
        l.source->Seek(std::clamp(position_ - l.offset, 0, l.length));
}

void LSRCMix::Read(int32_t* buffer, int32_t frames) {
    for (int32_t done = 0; done < frames;) {
        const int32_t n = std::min(kBlock, frames - done);
        const int64_t from = int64_t{position_} + done;
        std::fill_n(sum_.begin(), static_cast<size_t>(n) * channels, 0.0f);
        for (LMixLayer& l : layers_) {
            // The part of this block that lies in the layer's span.
            const int64_t lo = std::max<int64_t>(from, l.offset);
            const int64_t hi = std::min<int64_t>(from + n, int64_t{l.offset} + l.length);
            if (lo >= hi)
                continue;
            const int32_t count = static_cast<int32_t>(hi - lo);
            if (l.source->GetPositionSample() != lo - l.offset)
                l.source->Seek(static_cast<int32_t>(lo - l.offset));
            l.source->Read(in_.data(), count);
            float* s = sum_.data() + static_cast<size_t>(lo - from) * channels;
            const int64_t first = lo - l.offset;
            const bool plain = first >= l.fadeIn && first + count <= int64_t{l.length} - l.fadeOut;
            for (int32_t i = 0; i < count; ++i) {
                const float g = plain ? l.gain : LayerGain(l, first + i);
                for (uint8_t c = 0; c < channels; ++c) {
                    const size_t k = static_cast<size_t>(i) * channels + c;
                    s[k] += g * static_cast<float>(in_[k]);
                }
            }
        }
        int32_t* out = buffer + static_cast<size_t>(done) * channels;
        constexpr float kTop = 2147483520.0f;
        for (size_t k = 0; k < static_cast<size_t>(n) * channels; ++k)
            out[k] = static_cast<int32_t>(std::lrint(std::clamp(sum_[k], -kTop, kTop)));
        done += n;
    }
    position_ += frames;
}

LSourceRef MakeMixSource(std::vector<LMixLayer> layers, int32_t length) {
    if (layers.empty())
        return {};
    for (const LMixLayer& l : layers) {
        if (!l.source || !l.source->IsOk() ||
            l.source->GetSampleRate() != layers[0].source->GetSampleRate() ||
            l.source->GetChannels() != layers[0].source->GetChannels()) {
            LTrace("MakeMixSource unusable or unlike layer");
            return {};
        }
    }
    LSourceRef mix(new LSRCMix(std::move(layers), length));
    return LSourceRef(new LSRCPeakLimiter(std::move(mix), kPeak16Bit));
}

int PasteMix(LProgress& progress, const LEffectRequest& request, LSourceRef other) {
    if (!request.list || request.params.size() < 3 || !other || !other->IsOk())
        return kJobFailed;
    if (request.rangeStart > request.rangeEnd)
        return kJobDone;
    ShowEffectTitle(progress, GetEffectInfo(LEffectId::kPasteMix).progressTitle);
    LCutListAudio& list = *request.list;
    const int32_t rate = static_cast<int32_t>(list.GetSampleRate());
    const int32_t start = std::max(request.rangeStart, 0);
    int32_t end = std::min(request.rangeEnd, list.GetLength());
    const bool longer = request.params[1] != 0;
    const int32_t otherLength = other->GetLengthSample();
    LMixLayer overlay{other, 0, otherLength, static_cast<float>(request.params[0]) / 100.0f, 0, 0};
    if (longer) {
        // The mix runs on over what follows the selection, and past the file's end.
        end = static_cast<int32_t>(std::max<int64_t>(
            end, std::min<int64_t>(int64_t{start} + otherLength, list.GetLength())));
    } else if (otherLength > end - start) {
        overlay.length = end - start;
        overlay.fadeOut = MsToFrames(request.params[2], rate);
    }
    const LCutListAudio range = CopyRange(list, start, end);
    LMixLayer base{LSourceRef(range.MakeSource()), 0, end - start, 1.0f, 0, 0};
    const int32_t length = std::max(end - start, overlay.length);
    LSourceRef mix = MakeMixSource({base, overlay}, length);
    return PumpIntoRange(progress, list, start, end, mix);
}

int CrossFade(LProgress& progress, const LEffectRequest& request, LSourceRef other) {
    if (!request.list || request.params.size() < 3 || !other || !other->IsOk())
        return kJobFailed;
    if (request.rangeStart > request.rangeEnd)
        return kJobDone;
    ShowEffectTitle(progress, GetEffectInfo(LEffectId::kCrossFade).progressTitle);
    LCutListAudio& list = *request.list;
    const int32_t rate = static_cast<int32_t>(list.GetSampleRate());
    const int32_t start = std::max(request.rangeStart, 0);
    const int32_t end = std::min(request.rangeEnd, list.GetLength());
    const int32_t selection = std::max(end - start, 0);
    const int32_t otherLength = other->GetLengthSample();
    const int32_t overlap = std::min({MsToFrames(request.params[0], rate), selection, otherLength});
    const int64_t length = int64_t{selection} + otherLength - overlap;
    if (length > std::numeric_limits<int32_t>::max() - int64_t{list.GetLength()} + selection) {
        LTrace("CrossFade result too long");
        return kJobFailed;
    }
    const LCutListAudio range = CopyRange(list, start, end);
    LMixLayer out{LSourceRef(range.MakeSource()),     0, selection, 1.0f, 0,
                  MsToFrames(request.params[2], rate)};
    LMixLayer in{other, selection - overlap, otherLength, 1.0f, MsToFrames(request.params[1], rate),
                 0};
    LSourceRef mix = MakeMixSource({out, in}, static_cast<int32_t>(length));
    return PumpIntoRange(progress, list, start, end, mix);
}

}  // namespace osmera
