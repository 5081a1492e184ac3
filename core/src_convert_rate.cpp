#include "core/src_convert_rate.h"

#include <algorithm>
#include <limits>

#include "core/trace.h"

namespace osmera {
namespace {

constexpr int32_t kLastStart = LSRCConvertRate::kBlockFrames - 1;
constexpr int32_t kRowTaps = 64;  // the kernel's row: 63 taps and a 0
// The inner peak up to which the converter reports twice the inner peak.
constexpr int32_t kDoublePeakLimit = 1048576;
// The window buffers hold one frame beyond the window, always 0, which makes their size a
// multiple of 16 frames as ScaleRateWindow wants.
constexpr size_t kBufferFrames = LSRCConvertRate::kWindowFrames + 1;

int32_t ClampTo32(int64_t v) {
    return static_cast<int32_t>(std::clamp<int64_t>(v, std::numeric_limits<int32_t>::min(),
                                                    std::numeric_limits<int32_t>::max()));
}

}  // namespace

LSRCConvertRate::LSRCConvertRate(LSourceRef inner, int32_t targetRate, bool narrowCutoff)
    : LSRCWrapBase(std::move(inner)),
      filter_(GetSampleRate(), targetRate < 1 ? 44100 : targetRate, narrowCutoff),
      supported_(channels == 1 || channels == 2) {
    SetSampleRate(targetRate);  // below 1: 44100 and error 3
    SetPeak(peak <= kDoublePeakLimit ? peak * 2 : peak);

    int32_t step = filter_.Step();
    if (step < 1) {
        LTrace("LSRCConvertRate::LSRCConvertRate rates too far apart ERROR");
        SetError(kSourceBadParams);
        step = filter_.Phases();  // keeps the arithmetic sound; the source is unusable
    }
    const int32_t phases = filter_.Phases();
    kernel_.phases = phases;
    kernel_.step = step;
    kernel_.stepFrames = step / phases;
    kernel_.stepRest = step % phases;
    kernel_.lastStart = kLastStart;
    kernel_.accumulator = 0;
    kernel_.windowStart = kFirstStart;
    SetShift(0);
    if (!supported_)
        return;

    const size_t ch = channels;
    samples_.assign(kBufferFrames * ch, 0);   // the history of a new converter is silence
    window_.assign(kBufferFrames * ch, 0.0);  // one channel after the other
    coefficients_.assign(static_cast<size_t>(phases) * kRowTaps, 0.0);
    for (int32_t j = 0; j < phases; ++j) {
        for (int32_t k = 0; k < LRateFilter::kTaps; ++k) {
            coefficients_[static_cast<size_t>(j) * kRowTaps + k] = filter_.Coefficient(j, k);
        }
    }
    kernel_.coefficients = coefficients_.data();
    kernel_.window = window_.data();
    kernel_.channelStride = kBufferFrames;
}

void LSRCConvertRate::SetShift(int32_t shift) {
    shift_ = shift;
    const int32_t outShift = 15 - shift;
    kernel_.rightShift = std::max(outShift, 0);
    kernel_.leftShift = std::max(-outShift, 0);
    kernel_.rounding = outShift > 0 ? (int64_t{1} << outShift) / 2 : 0;
}

void LSRCConvertRate::Advance() {
    kernel_.windowStart += kernel_.accumulator / kernel_.phases;
    kernel_.accumulator %= kernel_.phases;
}

void LSRCConvertRate::Refill() {
    const size_t ch = channels;
    int32_t* const samples = samples_.data();
    const size_t history = kHistoryFrames * ch;

    // The last frames become the history, back at their full scale. Only a sample that
    // was rounded up to 32768 at a shift of 16 or more can reach beyond 32 bits; it is
    // held at the limit rather than wrapped to the other sign.
    const int32_t* const tail = samples + kBlockFrames * ch;
    for (size_t i = 0; i < history; ++i) {
        samples[i] = ClampTo32(static_cast<int64_t>(tail[i]) * (int64_t{1} << shift_));
    }
    inner_->Read(samples + history, kBlockFrames);

    SetShift(ScaleRateWindow(samples, kBufferFrames, channels, kBlockFrames, window_.data(),
                             kBufferFrames));
    kernel_.windowStart -= kBlockFrames;
}

void LSRCConvertRate::Read(int32_t* buffer, int32_t frames) {
    if (frames <= 0)
        return;
    if (!supported_) {
        LTrace("Multichannels (or 0) used when BUILD_SUPPORT_MULTICHANS is not set");
        return;
    }
    Advance();
    int32_t done = 0;
    for (;;) {
        while (kernel_.windowStart > kLastStart)
            Refill();
        int32_t* out = buffer + static_cast<size_t>(done) * channels;
        done += channels == 1 ? RunRateKernelMono(kernel_, out, frames - done)
                              : RunRateKernelStereo(kernel_, out, frames - done);
        if (done == frames)
            return;
    }
}

int32_t LSRCConvertRate::Scale(int64_t value, int64_t mul, int64_t div) {
    return ClampTo32((value / div) * mul + ((value % div) * mul) / div);
}

int32_t LSRCConvertRate::GetPositionSample() {
    const int64_t passed =
        static_cast<int64_t>(inner_->GetPositionSample()) - (kFirstStart - kernel_.windowStart);
    return Scale(passed, kernel_.phases, kernel_.step);
}

int32_t LSRCConvertRate::GetLengthSample() {
    return Scale(inner_->GetLengthSample(), kernel_.phases, kernel_.step);
}

void LSRCConvertRate::Seek(int32_t position) {
    const int64_t p = std::max(position, 0);
    const int64_t phases = kernel_.phases;
    const int64_t step = kernel_.step;
    const int64_t rest = (p % phases) * step;
    inner_->Seek(ClampTo32((p / phases) * step + rest / phases - LRateFilter::kCentreTap));
    kernel_.accumulator = static_cast<int32_t>(rest % phases);
    kernel_.windowStart = kBlockFrames;
    // The 63 frames around the first output become the next refill's history.
    if (supported_)
        inner_->Read(samples_.data() + kBlockFrames * channels, kHistoryFrames);
    SetShift(0);
}

}  // namespace osmera
