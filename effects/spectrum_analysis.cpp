#include "effects/spectrum_analysis.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "core/trace.h"
#include "effects/effect_job.h"

namespace osmera {

namespace {

constexpr float kScale = 524288.0f;  // full scale in stream units
constexpr int32_t kReadBlock = 8192;
constexpr int32_t kPollFrames = 65536;

}  // namespace

bool IsValidFftSize(int32_t n) {
    return n >= kMinFftSize && n <= kMaxFftSize && (n & (n - 1)) == 0;
}

float PowerToDb(float power, double windowSum) {
    // A sine of amplitude A gives |X| = A * windowSum / 2 at its bin.
    const double amplitude = 2.0 * std::sqrt(static_cast<double>(power)) / windowSum;
    if (!(amplitude > 1e-10))
        return kSpectrumFloorDb;
    return std::max(kSpectrumFloorDb, static_cast<float>(20.0 * std::log10(amplitude)));
}

float LSpectrum::LevelAt(size_t curve, double frequency) const {
    if (curve >= levels.size() || fftSize <= 0 || sampleRate <= 0)
        return kSpectrumFloorDb;
    const long bin = std::lround(frequency * fftSize / sampleRate);
    if (bin < 0 || bin >= static_cast<long>(levels[curve].size()))
        return kSpectrumFloorDb;
    return levels[curve][static_cast<size_t>(bin)];
}

int AnalyseSpectrum(LSourceRef source, int32_t from, int32_t to, const LSpectrumSettings& settings,
                    LSpectrum& out, LProgress* progress) {
    if (!source || !source->IsOk() || !IsValidFftSize(settings.fftSize)) {
        LTrace("AnalyseSpectrum: unusable source or FFT size");
        return kJobFailed;
    }
    const int32_t n = settings.fftSize;
    const int32_t length = source->GetLengthSample();
    from = std::clamp(from, 0, length);
    to = std::clamp(to, from, length);
    if (length <= 0)
        return kJobFailed;
    if (to - from < n) {
        // One window around the range's middle, inside the source where it fits.
        const int64_t mid = (int64_t{from} + to) / 2;
        int64_t start = std::clamp<int64_t>(mid - n / 2, 0, std::max(0, length - n));
        from = static_cast<int32_t>(start);
        to = from + n;  // past the end reads as silence below
    }
    const size_t ch = source->GetChannels();
    const int32_t hop = n / 2;
    const int32_t windows = 1 + (to - from - n) / hop;
    const std::vector<float> window = MakeFftWindow(settings.window, n);
    double windowSum = 0;
    for (float w : window)
        windowSum += w;
    LRealFft fft(n);
    const size_t bins = static_cast<size_t>(fft.Bins());
    std::vector<std::vector<float>> power(ch, std::vector<float>(bins, 0.0f));
    std::vector<std::vector<float>> planes(ch, std::vector<float>(static_cast<size_t>(n)));
    std::vector<int32_t> raw(static_cast<size_t>(std::max(n, kReadBlock)) * ch);

    // Fills planes[c][at, at + count) from the source's next frames.
    auto readInto = [&](int32_t at, int32_t count, int32_t position) {
        for (int32_t done = 0; done < count;) {
            const int32_t k = std::min(count - done, kReadBlock);
            source->Read(raw.data(), k);
            for (int32_t i = 0; i < k; ++i) {
                const bool inside = position + done + i < length;
                for (size_t c = 0; c < ch; ++c)
                    planes[c][static_cast<size_t>(at + done + i)] =
                        inside ? static_cast<float>(raw[static_cast<size_t>(i) * ch + c]) / kScale
                               : 0.0f;
            }
            done += k;
        }
    };

    source->Seek(from);
    readInto(0, n, from);
    int32_t sincePoll = 0;
    const float weight = 1.0f / static_cast<float>(windows);
    for (int32_t w = 0; w < windows; ++w) {
        if (w > 0) {
            for (size_t c = 0; c < ch; ++c)
                std::memmove(planes[c].data(), planes[c].data() + hop,
                             static_cast<size_t>(n - hop) * sizeof(float));
            readInto(n - hop, hop, from + w * hop + n - hop);
        }
        for (size_t c = 0; c < ch; ++c)
            fft.AddPower(planes[c].data(), window, weight, power[c]);
        if (progress && (sincePoll += hop) >= kPollFrames) {
            sincePoll = 0;
            if (progress->IsCancelled())
                return kJobCancelled;
            progress->SetFraction(static_cast<double>(w) / windows);
        }
    }

    LSpectrum result;
    result.sampleRate = source->GetSampleRate();
    result.fftSize = n;
    result.windows = windows;
    if (settings.combined && ch > 1) {
        for (size_t c = 1; c < ch; ++c)
            for (size_t k = 0; k < bins; ++k)
                power[0][k] += power[c][k];
        for (size_t k = 0; k < bins; ++k)
            power[0][k] /= static_cast<float>(ch);
        power.resize(1);
    }
    for (auto& curve : power) {
        std::vector<float> levels(bins);
        for (size_t k = 0; k < bins; ++k) {
            // DC and the Nyquist bin have no mirror image to share their energy with.
            const bool edge = k == 0 || k + 1 == bins;
            levels[k] = PowerToDb(edge ? curve[k] / 4 : curve[k], windowSum);
        }
        result.levels.push_back(std::move(levels));
    }
    out = std::move(result);
    return kJobDone;
}

std::vector<LSpectrumPeak> FindSpectrumPeaks(const LSpectrum& spectrum, size_t curve, size_t count,
                                             float minDb, int32_t minSpacingBins) {
    std::vector<LSpectrumPeak> all;
    if (curve >= spectrum.levels.size())
        return all;
    const std::vector<float>& v = spectrum.levels[curve];
    for (size_t k = 1; k + 1 < v.size(); ++k) {
        if (v[k] <= minDb || v[k] < v[k - 1] || v[k] <= v[k + 1])
            continue;
        // Vertex of the parabola through the three levels.
        const double a = v[k - 1], b = v[k], c = v[k + 1];
        const double den = a - 2 * b + c;
        const double shift = den < 0 ? std::clamp(0.5 * (a - c) / den, -0.5, 0.5) : 0.0;
        all.push_back(
            {spectrum.BinFrequency(static_cast<double>(k) + shift), v[k], static_cast<int32_t>(k)});
    }
    std::sort(all.begin(), all.end(),
              [](const LSpectrumPeak& x, const LSpectrumPeak& y) { return x.level > y.level; });
    std::vector<LSpectrumPeak> kept;
    for (const LSpectrumPeak& p : all) {
        if (kept.size() >= count)
            break;
        const bool near = std::any_of(kept.begin(), kept.end(), [&](const LSpectrumPeak& q) {
            return std::abs(q.bin - p.bin) < minSpacingBins;
        });
        if (!near)
            kept.push_back(p);
    }
    return kept;
}

std::string NearestNoteName(double frequency) {
    if (!(frequency >= 8.0 && frequency <= 30000.0))
        return {};
    static const char* const kNames[12] = {"C",  "C#", "D",  "D#", "E",  "F",
                                           "F#", "G",  "G#", "A",  "A#", "B"};
    const double midi = 69.0 + 12.0 * std::log2(frequency / 440.0);
    const long note = std::lround(midi);
    const long cents = std::lround((midi - static_cast<double>(note)) * 100.0);
    const long octave = note / 12 - 1;
    char text[32];
    std::snprintf(text, sizeof text, "%s%ld %+ld ct", kNames[note % 12], octave, cents);
    return text;
}

}  // namespace osmera
