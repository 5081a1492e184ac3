#include "effects/pitch_effects.h"

#include <rubberband/RubberBandStretcher.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "core/format_match.h"
#include "core/peak_limiter_source.h"
#include "core/tape_speed_sources.h"
#include "core/trace.h"
#include "edit/src_cut_list_audio.h"

namespace osmera {

namespace {

constexpr int32_t kFeedFrames = 4096;
constexpr float kScale = 524288.0f;  // 16-bit full scale in stream units

using RubberBand::RubberBandStretcher;

// Real-time mode streams; the rest are the settings for music.
constexpr RubberBandStretcher::Options kOptions =
    RubberBandStretcher::OptionProcessRealTime | RubberBandStretcher::OptionEngineFaster |
    RubberBandStretcher::OptionTransientsCrisp | RubberBandStretcher::OptionChannelsTogether |
    RubberBandStretcher::OptionWindowStandard | RubberBandStretcher::OptionFormantShifted |
    RubberBandStretcher::OptionPitchHighQuality;

bool FitsLength(int64_t frames) {
    return frames >= 0 && frames <= std::numeric_limits<int32_t>::max();
}

}  // namespace

LSourceRef MakeSpeedPitchSource(LSourceRef input, int32_t percent) {
    if (!input || !input->IsOk() || percent < kMinSpeedPercent)
        return {};
    const int32_t rate = input->GetSampleRate();
    if (!FitsLength(int64_t{input->GetLengthSample()} * 100 / percent))
        return {};
    // Played at rate * percent / 100 the same frames run percent % as fast; converting
    // back to the rate keeps that speed and filters what would alias.
    const int64_t label = (int64_t{rate} * percent + 50) / 100;
    if (label < 1 || label > std::numeric_limits<int32_t>::max())
        return {};
    if (label == rate)
        return input;
    LSourceRef labelled(new LSRCRateLabel(std::move(input), static_cast<int32_t>(label)));
    LSourceRef converted = ConvertRate(std::move(labelled), rate);
    if (!converted->IsOk() || converted->GetSampleRate() != rate) {
        LTracef("MakeSpeedPitchSource no converter for %d%%", percent);
        return {};
    }
    return LSourceRef(new LSRCPeakLimiter(std::move(converted), kPeak16Bit));
}

LSRCTimeStretch::LSRCTimeStretch(LSourceRef input, double timeRatio, double pitchScale)
    : LSRCWrapBase(std::move(input)), timeRatio_(timeRatio) {
    SetPeak(kPeak16Bit);
    if (!IsOk())
        return;
    if (!(timeRatio > 0) || !(pitchScale > 0)) {
        SetError(kSourceBadParams);
        return;
    }
    length_ = static_cast<int32_t>(std::min<double>(
        std::llround(inner_->GetLengthSample() * timeRatio), std::numeric_limits<int32_t>::max()));
    stretcher_ = std::make_unique<RubberBandStretcher>(static_cast<size_t>(sampleRate),
                                                       static_cast<size_t>(channels), kOptions,
                                                       timeRatio, pitchScale);
    stretcher_->setMaxProcessSize(kFeedFrames);
    block_.resize(static_cast<size_t>(kFeedFrames) * channels);
    planes_.assign(channels, std::vector<float>(kFeedFrames));
    Restart(0);
}

LSRCTimeStretch::~LSRCTimeStretch() = default;

void LSRCTimeStretch::Restart(int32_t inputFrame) {
    stretcher_->reset();
    pending_.clear();
    pendingAt_ = 0;
    finished_ = false;
    inputAt_ = std::clamp(inputFrame, 0, inner_->GetLengthSample());
    inner_->Seek(inputAt_);
    // The stretcher wants some silence before the first frame and delays its output by
    // its start delay: feed the one, drop the other, so output frame 0 is input frame 0.
    const size_t pad = stretcher_->getPreferredStartPad();
    for (auto& plane : planes_)
        std::fill(plane.begin(), plane.end(), 0.0f);
    std::vector<const float*> in(channels);
    for (size_t done = 0; done < pad;) {
        const size_t n = std::min<size_t>(pad - done, kFeedFrames);
        for (uint8_t c = 0; c < channels; ++c)
            in[c] = planes_[c].data();
        stretcher_->process(in.data(), n, false);
        done += n;
    }
    dropFrames_ = static_cast<int64_t>(stretcher_->getStartDelay());
}

void LSRCTimeStretch::Seek(int32_t position) {
    if (!stretcher_)
        return;
    position_ = std::max(position, 0);
    Restart(static_cast<int32_t>(position_ / timeRatio_));
}

void LSRCTimeStretch::Feed() {
    const int32_t n = std::min(kFeedFrames, inner_->GetLengthSample() - inputAt_);
    std::vector<const float*> in(channels);
    for (uint8_t c = 0; c < channels; ++c)
        in[c] = planes_[c].data();
    if (n <= 0) {
        stretcher_->process(in.data(), 0, true);
        finished_ = true;
        return;
    }
    inner_->Read(block_.data(), n);
    for (uint8_t c = 0; c < channels; ++c) {
        float* plane = planes_[c].data();
        const int32_t* src = block_.data() + c;
        for (int32_t i = 0; i < n; ++i)
            plane[i] = static_cast<float>(src[static_cast<size_t>(i) * channels]) / kScale;
    }
    inputAt_ += n;
    finished_ = inputAt_ >= inner_->GetLengthSample();
    stretcher_->process(in.data(), static_cast<size_t>(n), finished_);
}

bool LSRCTimeStretch::Drain() {
    const int available = stretcher_->available();
    if (available <= 0)
        return false;
    const size_t n = std::min<size_t>(static_cast<size_t>(available), kFeedFrames);
    std::vector<float*> out(channels);
    for (uint8_t c = 0; c < channels; ++c)
        out[c] = planes_[c].data();
    const size_t got = stretcher_->retrieve(out.data(), n);
    size_t from = 0;
    if (dropFrames_ > 0) {
        from = std::min<size_t>(got, static_cast<size_t>(dropFrames_));
        dropFrames_ -= static_cast<int64_t>(from);
    }
    const size_t base = pending_.size();
    pending_.resize(base + (got - from) * channels);
    for (uint8_t c = 0; c < channels; ++c) {
        for (size_t i = from; i < got; ++i)
            pending_[base + (i - from) * channels + c] = planes_[c][i];
    }
    return true;
}

void LSRCTimeStretch::Read(int32_t* buffer, int32_t frames) {
    if (frames <= 0)
        return;
    const size_t want = static_cast<size_t>(frames) * channels;
    if (!stretcher_) {
        std::fill(buffer, buffer + want, 0);
        position_ += frames;
        return;
    }
    // Compact what was read so the pending buffer stays about one block long.
    if (pendingAt_ > 0) {
        pending_.erase(pending_.begin(), pending_.begin() + static_cast<ptrdiff_t>(pendingAt_));
        pendingAt_ = 0;
    }
    while (pending_.size() < want) {
        if (Drain())
            continue;
        if (finished_)
            break;
        Feed();
    }
    const size_t have = std::min(pending_.size(), want);
    const float limit = static_cast<float>(kPeak16Bit);
    for (size_t i = 0; i < have; ++i)
        buffer[i] =
            static_cast<int32_t>(std::lrint(std::clamp(pending_[i] * kScale, -limit, limit)));
    std::fill(buffer + have, buffer + want, 0);
    pendingAt_ = have;
    position_ += frames;
}

LSourceRef MakeTempoSource(LSourceRef input, int32_t percent) {
    if (!input || !input->IsOk() || percent < kMinSpeedPercent ||
        !FitsLength(int64_t{input->GetLengthSample()} * 100 / percent))
        return {};
    return LSourceRef(new LSRCTimeStretch(std::move(input), 100.0 / percent, 1.0));
}

LSourceRef MakePitchSource(LSourceRef input, int32_t percent) {
    if (!input || !input->IsOk() || percent < kMinSpeedPercent)
        return {};
    return LSourceRef(new LSRCTimeStretch(std::move(input), 1.0, percent / 100.0));
}

LSourceRef MakeSpeedEffectSource(LEffectId id, LSourceRef input, int32_t percent) {
    switch (id) {
        case LEffectId::kSimpleSpeedPitch:
            return MakeSpeedPitchSource(std::move(input), percent);
        case LEffectId::kConstantPitchSpeed:
            return MakeTempoSource(std::move(input), percent);
        case LEffectId::kConstantSpeedPitch:
            return MakePitchSource(std::move(input), percent);
        default:
            return {};
    }
}

const char* SpeedEffectTitle(LEffectId id) {
    switch (id) {
        case LEffectId::kConstantPitchSpeed:
            return "Changing Speed";
        case LEffectId::kConstantSpeedPitch:
            return "Changing Pitch";
        default:
            return "Changing Speed and Pitch";
    }
}

int SpeedEffect(LProgress& progress, const LEffectRequest& request, LEffectId id) {
    if (!request.list || request.params.empty())
        return kJobFailed;
    if (request.rangeStart > request.rangeEnd)
        return kJobDone;
    ShowEffectTitle(progress, SpeedEffectTitle(id));
    LCutListAudio& list = *request.list;
    const LCutListAudio range = CopyRange(list, request.rangeStart, request.rangeEnd);
    LSourceRef effect =
        MakeSpeedEffectSource(id, LSourceRef(range.MakeSource()), request.params[0]);
    if (effect && int64_t{list.GetLength()} - range.GetLength() + effect->GetLengthSample() >
                      std::numeric_limits<int32_t>::max()) {
        LTrace("SpeedEffect result too long");
        return kJobFailed;
    }
    return PumpIntoRange(progress, list, request.rangeStart, request.rangeEnd, effect);
}

}  // namespace osmera
