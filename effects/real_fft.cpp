#include "effects/real_fft.h"

#include <cmath>
#include <mutex>
#include <numbers>

namespace osmera {

namespace {

// FFTW's planner is not thread-safe; executing plans is.
std::mutex& PlannerMutex() {
    static std::mutex m;
    return m;
}

// A sum of cosines: a0 - a1 cos(x) + a2 cos(2x) - a3 cos(3x) + a4 cos(4x).
std::vector<float> CosineSum(int32_t n, const double (&a)[5]) {
    std::vector<float> w(static_cast<size_t>(n));
    for (int32_t i = 0; i < n; ++i) {
        const double x = 2.0 * std::numbers::pi * i / n;
        w[static_cast<size_t>(i)] =
            static_cast<float>(a[0] - a[1] * std::cos(x) + a[2] * std::cos(2 * x) -
                               a[3] * std::cos(3 * x) + a[4] * std::cos(4 * x));
    }
    return w;
}

}  // namespace

LRealFft::LRealFft(int32_t n) : size_(n) {
    time_ = fftwf_alloc_real(static_cast<size_t>(n));
    freq_ = fftwf_alloc_complex(static_cast<size_t>(n / 2 + 1));
    std::lock_guard<std::mutex> lock(PlannerMutex());
    forward_ = fftwf_plan_dft_r2c_1d(n, time_, freq_, FFTW_ESTIMATE);
    inverse_ = fftwf_plan_dft_c2r_1d(n, freq_, time_, FFTW_ESTIMATE);
}

LRealFft::~LRealFft() {
    std::lock_guard<std::mutex> lock(PlannerMutex());
    fftwf_destroy_plan(forward_);
    fftwf_destroy_plan(inverse_);
    fftwf_free(time_);
    fftwf_free(freq_);
}

void LRealFft::AddPower(const float* frame, const std::vector<float>& window, float weight,
                        std::vector<float>& power) {
    for (int32_t i = 0; i < size_; ++i)
        time_[i] = frame[i] * window[static_cast<size_t>(i)];
    Forward();
    for (size_t k = 0; k < power.size(); ++k)
        power[k] += weight * (freq_[k][0] * freq_[k][0] + freq_[k][1] * freq_[k][1]);
}

const char* FftWindowName(LFftWindow window) {
    switch (window) {
        case LFftWindow::kHann:
            return "Hann";
        case LFftWindow::kBlackmanHarris:
            return "Blackman-Harris";
        case LFftWindow::kFlatTop:
            return "Flat top";
        case LFftWindow::kRectangular:
            return "Rectangular";
    }
    return "Hann";
}

std::vector<float> MakeFftWindow(LFftWindow window, int32_t n) {
    switch (window) {
        case LFftWindow::kHann:
            return CosineSum(n, {0.5, 0.5, 0, 0, 0});
        case LFftWindow::kBlackmanHarris:
            return CosineSum(n, {0.35875, 0.48829, 0.14128, 0.01168, 0});
        case LFftWindow::kFlatTop:
            return CosineSum(n, {0.21557895, 0.41663158, 0.277263158, 0.083578947, 0.006947368});
        case LFftWindow::kRectangular:
            break;
    }
    return std::vector<float>(static_cast<size_t>(n), 1.0f);
}

}  // namespace osmera
