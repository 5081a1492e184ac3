#pragma once
// The spectrogram of a source: for each pixel column of a time grid (the waveform views'
// grid, LFramesPerColumn), the power spectrum of the frames the column covers, channels
// averaged, as dB levels on the amplitude scale of spectrum_analysis.h, clamped to the
// settings' dB range.
//
// A column is the mean power of a few windows spread evenly across it: the windows stand
// one hop (the FFT size less the overlap) apart, as many as fit in the column but at most
// kMaxWindowsPerColumn, so that a column of a ten-hour file costs as much as a column of a
// short one. A column narrower than a hop takes the one window centred on it. Windows
// reaching past either end of the source read silence there.
//
// An LSpectrogramAnalyser owns its source and its transform: it is made on any thread
// and then used by one thread at a time (the display's spectrogram worker).

#include <atomic>
#include <cstdint>
#include <vector>

#include "core/sound_source_base.h"
#include "edit/peak_reader.h"
#include "effects/real_fft.h"

namespace osmera {

struct LSpectrogramSettings {
    int32_t fftSize = 2048;
    int32_t overlapPercent = 50;  // 0 to 95
    LFftWindow window = LFftWindow::kHann;
    float floorDb = -120.0f;  // the bottom of the colour scale
    float ceilingDb = 0.0f;   // the top of the colour scale
    bool operator==(const LSpectrogramSettings&) const = default;
};

class LSpectrogramAnalyser {
  public:
    static constexpr int32_t kMaxWindowsPerColumn = 4;

    // A bad FFT size becomes 2048, the overlap is clamped to [0, 95] and a range that is
    // not rising becomes [-120, 0].
    LSpectrogramAnalyser(LSourceRef source, const LSpectrogramSettings& settings);
    ~LSpectrogramAnalyser();
    LSpectrogramAnalyser(const LSpectrogramAnalyser&) = delete;
    LSpectrogramAnalyser& operator=(const LSpectrogramAnalyser&) = delete;

    bool IsOk() const { return source_ && source_->IsOk(); }
    const LSpectrogramSettings& Settings() const { return settings_; }
    int32_t Bins() const { return settings_.fftSize / 2 + 1; }
    int32_t SampleRate() const { return source_ ? source_->GetSampleRate() : 0; }
    int32_t Length() const { return source_ ? source_->GetLengthSample() : 0; }

    // Columns [first, first + count) of the grid `fpc` into `out` (count * Bins() levels,
    // column after column, bin 0 first). Stops early when `stop` becomes true and returns
    // the number of columns done (count when all were; 0 when the source is unusable).
    int32_t ComputeColumns(LFramesPerColumn fpc, int64_t first, int32_t count,
                           std::vector<float>& out, const std::atomic<bool>* stop = nullptr);

  private:
    void AddWindow(int64_t start, std::vector<float>& power);

    LSourceRef source_;
    LSpectrogramSettings settings_;
    LRealFft fft_;
    std::vector<float> window_;
    double windowSum_ = 0;
    std::vector<int32_t> raw_;
    std::vector<float> plane_;
};

}  // namespace osmera
