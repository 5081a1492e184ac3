#pragma once
// The filters: a cascade of second-order sections (biquads) run on every channel, which
// makes both the high-pass filter and the graphic equalizer, and the equalizer's settings:
// its bands, its presets and its file.
//
// High-pass: a 4th-order Butterworth (24 dB per octave below the cut-off, -3 dB at it),
// two biquad sections with the Butterworth pole Qs, designed by the bilinear transform
// with the cut-off prewarped.
//
// Equalizer: ten octave bands centred at 31, 63, 125, 250, 500, 1000, 2000, 4000, 8000
// and 16000 Hz, each a peaking biquad of one octave's bandwidth (Q 1.41) whose gain at
// its centre is the band's gain, from -12 to +12 dB. A band at 0 dB is left out, so the
// flat equalizer passes the signal untouched; bands at or above 45 % of the sample rate
// are left out too.
//
// The file "equalizer.dat" (in the folder "Current") keeps the band gains: one byte n,
// the number of bands (1 to 31), then n signed bytes (two's complement), the gain of
// each band from the lowest to the highest in tenths of a decibel, -120 to 120. A file
// that is missing, cut short or holds a value out of range is not used.
//
// Sources are used by one thread at a time; the rest may be called from any thread.

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "effects/block_effect_source.h"

namespace osmera {

// One second-order section: y = (b0 x + b1 x1 + b2 x2 - a1 y1 - a2 y2), a0 divided out.
struct LBiquad {
    double b0 = 1, b1 = 0, b2 = 0, a1 = 0, a2 = 0;
};

// A Butterworth-Q high-pass section at `hz` of `rate` with quality `q`.
LBiquad HighPassSection(double hz, double rate, double q);
// A peaking section at `hz` of `rate`: `db` at the centre, bandwidth set by `q`.
LBiquad PeakingSection(double hz, double rate, double q, double db);

// Runs `sections` one after the other on every channel, in double precision (transposed
// direct form II, one state pair per section and channel).
class LSRCBiquadCascade : public LSRCBlockEffect {
  public:
    LSRCBiquadCascade(LSourceRef inner, std::vector<LBiquad> sections);

  protected:
    void Process(double* samples, int32_t frames) override;
    void Reset() override;

  private:
    std::vector<LBiquad> sections_;
    std::vector<double> state_;  // per section and channel: s1, s2
};

// The order of the high-pass filter: its slope is 6 dB per octave per order.
constexpr int kHighPassOrder = 4;

// The high-pass filter at `hz` (clamped to 1 Hz .. 45 % of the rate) over `input`.
LSourceRef MakeHighPassSource(LSourceRef input, int32_t hz);

constexpr size_t kEqualizerBands = 10;
constexpr int32_t kEqualizerMaxTenths = 120;  // +-12 dB
// Centre of band `band` in Hz.
double EqualizerBandHz(size_t band);
// The equalizer with `gainTenths` (tenths of a dB, low band first; missing bands 0,
// values clamped to +-12 dB) over `input`.
LSourceRef MakeEqualizerSource(LSourceRef input, const std::vector<int32_t>& gainTenths);

// The presets "flat", "bass-boost" and "voice" as gains in tenths of a dB; empty for
// another name.
std::vector<int32_t> EqualizerPreset(const std::string& name);

// Reads or writes "equalizer.dat" as described above. Load leaves `gainTenths` alone and
// returns false when the file cannot be used.
bool LoadEqualizerGains(const std::string& path, std::vector<int32_t>& gainTenths);
bool SaveEqualizerGains(const std::string& path, const std::vector<int32_t>& gainTenths);

}  // namespace osmera
