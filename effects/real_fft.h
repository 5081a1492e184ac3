#pragma once
// One real-to-complex transform of a fixed size (FFTW, single precision), its inverse and
// their buffers, and the analysis windows the effects and the analysers weight frames with.
//
// An LRealFft is used by one thread at a time; making and destroying one takes FFTW's
// planner, which is serialised here, so transforms may be made on any thread.

#include <fftw3.h>

#include <cstdint>
#include <vector>

namespace osmera {

class LRealFft {
  public:
    // A transform of `n` points (n at least 2).
    explicit LRealFft(int32_t n);
    ~LRealFft();
    LRealFft(const LRealFft&) = delete;
    LRealFft& operator=(const LRealFft&) = delete;

    int32_t Size() const { return size_; }
    int32_t Bins() const { return size_ / 2 + 1; }
    // The time buffer (Size() values): the forward input and the inverse output.
    float* Time() { return time_; }
    // The spectrum (Bins() complex values): the forward output and the inverse input.
    fftwf_complex* Freq() { return freq_; }
    void Forward() { fftwf_execute(forward_); }
    // Unnormalised: a round trip multiplies by Size().
    void Inverse() { fftwf_execute(inverse_); }

    // The windowed power spectrum of `frame` (Size() values) added, times `weight`, to
    // `power` (Bins() values).
    void AddPower(const float* frame, const std::vector<float>& window, float weight,
                  std::vector<float>& power);

  private:
    int32_t size_;
    float* time_;
    fftwf_complex* freq_;
    fftwf_plan forward_;
    fftwf_plan inverse_;
};

// The analysis windows offered to the user, in menu order.
enum class LFftWindow { kHann, kBlackmanHarris, kFlatTop, kRectangular };

// The user-facing name of `window` ("Hann", "Blackman-Harris", "Flat top", "Rectangular").
const char* FftWindowName(LFftWindow window);

// The periodic window of `n` points.
std::vector<float> MakeFftWindow(LFftWindow window, int32_t n);

}  // namespace osmera
