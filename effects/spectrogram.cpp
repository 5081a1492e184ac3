#include "effects/spectrogram.h"

#include <algorithm>
#include <cmath>

#include "effects/spectrum_analysis.h"

namespace osmera {

namespace {

constexpr float kScale = 524288.0f;

LSpectrogramSettings Checked(LSpectrogramSettings s) {
    if (!IsValidFftSize(s.fftSize))
        s.fftSize = 2048;
    s.overlapPercent = std::clamp(s.overlapPercent, 0, 95);
    if (!(s.floorDb < s.ceilingDb)) {
        s.floorDb = -120.0f;
        s.ceilingDb = 0.0f;
    }
    return s;
}

}  // namespace

LSpectrogramAnalyser::LSpectrogramAnalyser(LSourceRef source, const LSpectrogramSettings& settings)
    : source_(std::move(source)),
      settings_(Checked(settings)),
      fft_(settings_.fftSize),
      window_(MakeFftWindow(settings_.window, settings_.fftSize)) {
    for (float w : window_)
        windowSum_ += w;
    const size_t ch = source_ ? source_->GetChannels() : 1;
    raw_.resize(static_cast<size_t>(settings_.fftSize) * ch);
    plane_.resize(static_cast<size_t>(settings_.fftSize));
}

LSpectrogramAnalyser::~LSpectrogramAnalyser() = default;

void LSpectrogramAnalyser::AddWindow(int64_t start, std::vector<float>& power) {
    const int32_t n = settings_.fftSize;
    const int64_t length = source_->GetLengthSample();
    const size_t ch = source_->GetChannels();
    if (start >= length || start + n <= 0)
        return;  // silence adds nothing
    // Stream positions are 32-bit; the part before frame 0 reads as silence.
    const int32_t skip = start < 0 ? static_cast<int32_t>(-start) : 0;
    source_->Seek(static_cast<int32_t>(start + skip));
    source_->Read(raw_.data(), n - skip);
    const int64_t valid = std::min<int64_t>(n - skip, length - start - skip);
    for (size_t c = 0; c < ch; ++c) {
        std::fill(plane_.begin(), plane_.begin() + skip, 0.0f);
        for (int32_t i = 0; i < n - skip; ++i)
            plane_[static_cast<size_t>(skip + i)] =
                i < valid ? static_cast<float>(raw_[static_cast<size_t>(i) * ch + c]) / kScale
                          : 0.0f;
        fft_.AddPower(plane_.data(), window_, 1.0f, power);
    }
}

int32_t LSpectrogramAnalyser::ComputeColumns(LFramesPerColumn fpc, int64_t first, int32_t count,
                                             std::vector<float>& out,
                                             const std::atomic<bool>* stop) {
    const size_t bins = static_cast<size_t>(Bins());
    out.assign(static_cast<size_t>(std::max(count, 0)) * bins, settings_.floorDb);
    if (!IsOk() || count <= 0)
        return 0;
    const int32_t n = settings_.fftSize;
    const int64_t hop = std::max<int64_t>(1, int64_t{n} * (100 - settings_.overlapPercent) / 100);
    const float channels = static_cast<float>(source_->GetChannels());
    std::vector<float> power(bins);
    for (int32_t i = 0; i < count; ++i) {
        if (stop && stop->load(std::memory_order_relaxed))
            return i;
        const int64_t a = fpc.Boundary(first + i);
        const int64_t b = std::max(a + 1, fpc.Boundary(first + i + 1));
        const int64_t windows = std::clamp<int64_t>((b - a) / hop, 1, kMaxWindowsPerColumn);
        std::fill(power.begin(), power.end(), 0.0f);
        for (int64_t w = 0; w < windows; ++w) {
            const int64_t centre = a + (2 * w + 1) * (b - a) / (2 * windows);
            AddWindow(centre - n / 2, power);
        }
        const float weight = 1.0f / (static_cast<float>(windows) * channels);
        float* column = out.data() + static_cast<size_t>(i) * bins;
        for (size_t k = 0; k < bins; ++k)
            column[k] = std::clamp(PowerToDb(power[k] * weight, windowSum_), settings_.floorDb,
                                   settings_.ceilingDb);
    }
    return count;
}

}  // namespace osmera
