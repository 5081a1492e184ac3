#include "effects/noise_reduction.h"

#include <algorithm>
#include <cmath>
#include <queue>

#include "core/trace.h"
#include "edit/src_cut_list_audio.h"
#include "effects/effect_table.h"
#include "effects/real_fft.h"

namespace osmera {

namespace {

constexpr float kScale = 524288.0f;  // 16-bit full scale in stream units
constexpr float kMargin = 4.0f;      // a bin passes 6 dB above the noise
constexpr int32_t kSmoothBins = 2;   // bins each side in the power smoothing
constexpr int32_t kMaxQuietFrames = 64;
constexpr float kSilentEnergy = 1e-20f;  // a frame below this is digital silence
constexpr int32_t kPreviewSeconds = 30;

std::vector<float> HannWindow(int32_t n) {
    return MakeFftWindow(LFftWindow::kHann, n);
}

constexpr size_t kMedianBins = 16;  // bins each side of the estimate's median

std::vector<float> MedianOverBins(const std::vector<float>& power) {
    std::vector<float> out(power.size());
    std::vector<float> run;
    for (size_t k = 0; k < power.size(); ++k) {
        const size_t lo = k >= kMedianBins ? k - kMedianBins : 0;
        const size_t hi = std::min(power.size(), k + kMedianBins + 1);
        run.assign(power.begin() + static_cast<ptrdiff_t>(lo),
                   power.begin() + static_cast<ptrdiff_t>(hi));
        std::nth_element(run.begin(), run.begin() + static_cast<ptrdiff_t>(run.size() / 2),
                         run.end());
        out[k] = run[run.size() / 2];
    }
    return out;
}

}  // namespace

int32_t NoiseFrameSize(int32_t sampleRate) {
    if (sampleRate > 96000)
        return 8192;
    return sampleRate > 48000 ? 4096 : 2048;
}

int MeasureNoiseProfile(LProgress* progress, LSourceRef source, int32_t frames, bool quietestOnly,
                        LNoiseProfile& profile) {
    if (!source || !source->IsOk())
        return kJobFailed;
    const int32_t n = NoiseFrameSize(source->GetSampleRate());
    const size_t ch = source->GetChannels();
    const int32_t count = std::min(frames, source->GetLengthSample()) / n;
    LNoiseProfile result;
    result.frameSize = n;
    if (count < 1) {
        profile = result;
        return kJobDone;
    }
    const size_t bins = static_cast<size_t>(n / 2 + 1);
    const std::vector<float> window = HannWindow(n);
    LRealFft transform(n);
    std::vector<int32_t> raw(static_cast<size_t>(n) * ch);
    std::vector<std::vector<float>> planes(ch, std::vector<float>(static_cast<size_t>(n)));
    // The quietest frames: a max-heap of (energy, slot), the spectra in their slots.
    const int32_t keep = quietestOnly ? std::clamp(count / 10, 1, kMaxQuietFrames) : 0;
    std::priority_queue<std::pair<float, int32_t>> heap;
    std::vector<std::vector<float>> slots;
    std::vector<float> sum(bins, 0.0f);
    int32_t summed = 0;
    int32_t sincePoll = 0;
    for (int32_t f = 0; f < count; ++f) {
        if (progress && (sincePoll += n) >= 8192) {
            sincePoll = 0;
            if (progress->IsCancelled())
                return kJobCancelled;
            progress->SetFraction(static_cast<double>(f) / count);
        }
        source->Read(raw.data(), n);
        float energy = 0.0f;
        for (size_t c = 0; c < ch; ++c) {
            for (int32_t i = 0; i < n; ++i) {
                const float v = static_cast<float>(raw[static_cast<size_t>(i) * ch + c]) / kScale;
                planes[c][i] = v;
                energy += v * v * window[i];
            }
        }
        const float weight = 1.0f / static_cast<float>(ch);
        if (!quietestOnly) {
            for (size_t c = 0; c < ch; ++c)
                transform.AddPower(planes[c].data(), window, weight, sum);
            ++summed;
            continue;
        }
        if (energy < kSilentEnergy)
            continue;
        int32_t slot;
        if (static_cast<int32_t>(heap.size()) < keep) {
            slot = static_cast<int32_t>(slots.size());
            slots.emplace_back(bins, 0.0f);
        } else if (energy < heap.top().first) {
            slot = heap.top().second;
            heap.pop();
            std::fill(slots[slot].begin(), slots[slot].end(), 0.0f);
        } else {
            continue;
        }
        heap.push({energy, slot});
        for (size_t c = 0; c < ch; ++c)
            transform.AddPower(planes[c].data(), window, weight, slots[slot]);
    }
    if (quietestOnly) {
        for (const auto& s : slots) {
            for (size_t k = 0; k < bins; ++k)
                sum[k] += s[k];
        }
        summed = static_cast<int32_t>(slots.size());
    }
    if (summed > 0) {
        for (float& p : sum)
            p /= static_cast<float>(summed);
        // Noise is broadband, a held note is a narrow peak: an estimate takes the median
        // over a third of an octave-ish run of bins, so steady tones in the quietest
        // frames do not become part of the noise.
        result.power = quietestOnly ? MedianOverBins(sum) : std::move(sum);
    }
    profile = std::move(result);
    return kJobDone;
}

LSRCNoiseReduction::LSRCNoiseReduction(LSourceRef inner, const LNoiseProfile& profile,
                                       int32_t gateDb)
    : LSRCWrapBase(std::move(inner)) {
    SetPeak(kPeak16Bit);
    size_ = NoiseFrameSize(sampleRate);
    hop_ = size_ / 4;
    const float gate = static_cast<float>(std::min(gateDb, 0));
    floor_ = std::pow(10.0f, gate / 20.0f);
    const size_t bins = static_cast<size_t>(size_ / 2 + 1);
    if (profile.frameSize == size_ && profile.power.size() == bins) {
        // The profile smoothed over bins like the signal it is compared with.
        threshold_.resize(bins);
        for (size_t k = 0; k < bins; ++k) {
            const size_t lo = k >= kSmoothBins ? k - kSmoothBins : 0;
            const size_t hi = std::min(bins - 1, k + kSmoothBins);
            float s = 0.0f;
            for (size_t j = lo; j <= hi; ++j)
                s += profile.power[j];
            threshold_[k] = kMargin * s / static_cast<float>(hi - lo + 1);
        }
    }
    window_ = HannWindow(size_);
    plan_ = new LRealFft(size_);
    in_.assign(channels, std::vector<float>(static_cast<size_t>(size_)));
    out_.assign(channels, std::vector<float>(static_cast<size_t>(size_)));
    smooth_.assign(channels, std::vector<float>(bins));
    power_.resize(bins);
    raw_.resize(static_cast<size_t>(size_) * channels);
    Seek(0);
}

LSRCNoiseReduction::~LSRCNoiseReduction() {
    delete plan_;
}

void LSRCNoiseReduction::ReadInput(float* dst, int32_t from, int32_t count) {
    // dst is interleaved; frames outside [0, length) are silence.
    const int32_t length = inner_->GetLengthSample();
    std::fill(dst, dst + static_cast<size_t>(count) * channels, 0.0f);
    const int32_t lo = std::max(from, 0);
    const int32_t hi = std::min(from + count, length);
    if (lo >= hi)
        return;
    if (innerAt_ != lo)
        inner_->Seek(lo);
    inner_->Read(raw_.data(), hi - lo);
    innerAt_ = hi;
    float* d = dst + static_cast<size_t>(lo - from) * channels;
    const size_t n = static_cast<size_t>(hi - lo) * channels;
    for (size_t i = 0; i < n; ++i)
        d[i] = static_cast<float>(raw_[i]) / kScale;
}

void LSRCNoiseReduction::Seek(int32_t position) {
    position_ = std::max(position, 0);
    // Frames start hop by hop from position - pad, pad = size - hop: the first `pad`
    // finished frames lack earlier frames' overlap and are dropped, so output frame
    // `position` is whole.
    const int32_t pad = size_ - hop_;
    std::vector<float> first(static_cast<size_t>(pad) * channels);
    ReadInput(first.data(), position_ - pad, pad);
    for (uint8_t c = 0; c < channels; ++c) {
        for (int32_t i = 0; i < pad; ++i)
            in_[c][hop_ + i] = first[static_cast<size_t>(i) * channels + c];
        std::fill(out_[c].begin(), out_[c].end(), 0.0f);
        std::fill(smooth_[c].begin(), smooth_[c].end(), 0.0f);
    }
    inputAt_ = position_;
    skip_ = pad;
    queue_.clear();
    queueAt_ = 0;
}

void LSRCNoiseReduction::Step() {
    const size_t bins = static_cast<size_t>(size_ / 2 + 1);
    std::vector<float>& fresh = queue_;  // scratch space at the queue's end
    const size_t base = fresh.size();
    fresh.resize(base + static_cast<size_t>(hop_) * channels);
    ReadInput(fresh.data() + base, inputAt_, hop_);
    inputAt_ += hop_;
    const float exponent = -20.0f * std::log10(floor_) / 12.0412f;
    const float norm = 2.0f / 3.0f / static_cast<float>(size_);
    std::vector<float>& power = power_;
    for (uint8_t c = 0; c < channels; ++c) {
        std::vector<float>& in = in_[c];
        std::copy(in.begin() + hop_, in.end(), in.begin());
        for (int32_t i = 0; i < hop_; ++i)
            in[size_ - hop_ + i] = fresh[base + static_cast<size_t>(i) * channels + c];
        for (int32_t i = 0; i < size_; ++i)
            plan_->Time()[i] = in[i] * window_[i];
        plan_->Forward();
        fftwf_complex* x = plan_->Freq();
        if (!threshold_.empty()) {
            for (size_t k = 0; k < bins; ++k)
                power[k] = x[k][0] * x[k][0] + x[k][1] * x[k][1];
            // Running sum over 2 * kSmoothBins + 1 bins, then the mean with the last frame.
            std::vector<float>& last = smooth_[c];
            float run = 0.0f;
            size_t lo = 0, hi = 0;  // the sum holds [lo, hi)
            for (size_t k = 0; k < bins; ++k) {
                const size_t wantHi = std::min(bins, k + kSmoothBins + 1);
                const size_t wantLo = k >= kSmoothBins ? k - kSmoothBins : 0;
                for (; hi < wantHi; ++hi)
                    run += power[hi];
                for (; lo < wantLo; ++lo)
                    run -= power[lo];
                const float s = std::max(run, 0.0f) / static_cast<float>(hi - lo);
                const float smoothed = 0.5f * (s + last[k]);
                last[k] = s;
                const float r = smoothed / threshold_[k];
                float g = 1.0f;
                if (r < 1.0f) {
                    // At the profile (r = 1/4) and below the gain is the floor; above it
                    // it rises linearly in dB to 1 at the threshold.
                    g = r <= 0.25f ? floor_ : std::max(floor_, std::pow(r, exponent));
                }
                x[k][0] *= g;
                x[k][1] *= g;
            }
        }
        plan_->Inverse();
        std::vector<float>& out = out_[c];
        for (int32_t i = 0; i < size_; ++i)
            out[i] += plan_->Time()[i] * window_[i] * norm;
        for (int32_t i = 0; i < hop_; ++i)
            fresh[base + static_cast<size_t>(i) * channels + c] = out[i];
        std::copy(out.begin() + hop_, out.end(), out.begin());
        std::fill(out.end() - hop_, out.end(), 0.0f);
    }
    if (skip_ > 0) {
        const int64_t drop = std::min<int64_t>(skip_, hop_);
        fresh.erase(fresh.begin() + static_cast<ptrdiff_t>(base),
                    fresh.begin() + static_cast<ptrdiff_t>(base + drop * channels));
        skip_ -= drop;
    }
}

void LSRCNoiseReduction::Read(int32_t* buffer, int32_t frames) {
    if (frames <= 0)
        return;
    const size_t want = static_cast<size_t>(frames) * channels;
    if (queueAt_ > 0) {
        queue_.erase(queue_.begin(), queue_.begin() + static_cast<ptrdiff_t>(queueAt_));
        queueAt_ = 0;
    }
    while (queue_.size() < want)
        Step();
    const float limit = static_cast<float>(kPeak16Bit);
    for (size_t i = 0; i < want; ++i)
        buffer[i] = static_cast<int32_t>(std::lrint(std::clamp(queue_[i] * kScale, -limit, limit)));
    queueAt_ = want;
    position_ += frames;
}

LSourceRef MakeNoiseReductionSource(LSourceRef input, int32_t gateDb,
                                    const LNoiseProfile& profile) {
    if (!input || !input->IsOk())
        return {};
    LNoiseProfile p = profile;
    if (p.Empty() || p.frameSize != NoiseFrameSize(input->GetSampleRate())) {
        const int32_t scan = static_cast<int32_t>(std::min<int64_t>(
            input->GetLengthSample(), int64_t{input->GetSampleRate()} * kPreviewSeconds));
        MeasureNoiseProfile(nullptr, input, scan, true, p);
        input->Seek(0);
    }
    return LSourceRef(new LSRCNoiseReduction(std::move(input), p, gateDb));
}

int NoiseReduction(LProgress& progress, const LEffectRequest& request,
                   const LNoiseProfile& profile) {
    if (!request.list || request.params.empty())
        return kJobFailed;
    if (request.rangeStart > request.rangeEnd)
        return kJobDone;
    ShowEffectTitle(progress, GetEffectInfo(LEffectId::kNoiseReduction).progressTitle);
    LCutListAudio& list = *request.list;
    const LCutListAudio range = CopyRange(list, request.rangeStart, request.rangeEnd);
    LNoiseProfile p = profile;
    if (p.Empty() || p.frameSize != NoiseFrameSize(static_cast<int32_t>(list.GetSampleRate()))) {
        const int result = MeasureNoiseProfile(&progress, LSourceRef(range.MakeSource()),
                                               range.GetLength(), true, p);
        if (result != kJobDone)
            return result;
    }
    LSourceRef effect(new LSRCNoiseReduction(LSourceRef(range.MakeSource()), p, request.params[0]));
    return PumpIntoRange(progress, list, request.rangeStart, request.rangeEnd, effect);
}

}  // namespace osmera
