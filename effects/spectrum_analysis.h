#pragma once
// The magnitude spectrum of a range of a source, averaged over the range (Welch: windows
// of the FFT size at a hop of half of it, their powers averaged), per channel or with the
// channels' powers averaged into one; its peaks; and the name of the note nearest to a
// frequency.
//
// Levels are dBFS on an amplitude scale: a sine of full scale (524288 in stream units)
// reads 0 dB at its bin when it lies on the bin (any frequency with the flat-top window,
// whose peak loses under 0.02 dB between bins; Hann loses up to 1.4 dB there). A bin with
// no energy reads kSpectrumFloorDb.
//
// Pure computation on the caller's thread; the source is read (sought and pulled) by it, so
// it must not be used by another thread meanwhile.

#include <cstdint>
#include <string>
#include <vector>

#include "core/progress.h"
#include "core/sound_source_base.h"
#include "effects/real_fft.h"

namespace osmera {

constexpr int32_t kMinFftSize = 256;
constexpr int32_t kMaxFftSize = 65536;
constexpr float kSpectrumFloorDb = -200.0f;

// Whether `n` is a power of two in [kMinFftSize, kMaxFftSize].
bool IsValidFftSize(int32_t n);

struct LSpectrumSettings {
    int32_t fftSize = 8192;
    LFftWindow window = LFftWindow::kHann;
    bool combined = false;  // one curve for all channels
};

struct LSpectrum {
    int32_t sampleRate = 0;
    int32_t fftSize = 0;
    int32_t windows = 0;  // how many windows were averaged
    // levels[channel][bin], fftSize / 2 + 1 bins; one curve when combined.
    std::vector<std::vector<float>> levels;

    bool Empty() const { return levels.empty(); }
    int32_t Bins() const { return fftSize / 2 + 1; }
    double BinFrequency(double bin) const { return fftSize > 0 ? bin * sampleRate / fftSize : 0.0; }
    // The level of `curve` at `frequency` (the nearest bin), kSpectrumFloorDb outside.
    float LevelAt(size_t curve, double frequency) const;
};

// The averaged spectrum of [from, to) of `source`. A range shorter than one window is
// widened to one window around its middle (kept inside the source where it can be; a
// source shorter than the window is padded with silence). Fails (kJobFailed) on a source
// with an error, an empty source or a bad FFT size; polls `progress` (may be null) about
// every 65536 frames, kJobCancelled leaving `out` alone.
int AnalyseSpectrum(LSourceRef source, int32_t from, int32_t to, const LSpectrumSettings& settings,
                    LSpectrum& out, LProgress* progress = nullptr);

// The power of one analysis window to dB as above: `power` is |X|^2 of the transform of
// samples scaled so that full scale is 1, `windowSum` the sum of the window's values.
float PowerToDb(float power, double windowSum);

struct LSpectrumPeak {
    double frequency = 0;  // refined between bins by a parabola through the top three
    float level = 0;       // dB at the peak bin
    int32_t bin = 0;
};

// The `count` highest local maxima of curve `curve` above `minDb`, highest first; maxima
// closer than `minSpacingBins` to a higher one are left out.
std::vector<LSpectrumPeak> FindSpectrumPeaks(const LSpectrum& spectrum, size_t curve, size_t count,
                                             float minDb = -100.0f, int32_t minSpacingBins = 3);

// The equal-tempered note nearest to `frequency` (A4 = 440 Hz) and the distance in cents,
// as "A4 +3 ct" / "C#5 -12 ct"; empty below 8 Hz or above 30 kHz.
std::string NearestNoteName(double frequency);

}  // namespace osmera
