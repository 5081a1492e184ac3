#include "core/rate_filter.h"

#include <cmath>
#include <numbers>

namespace osmera {
namespace {

// A phase count whose S / P is this close to the rate ratio is good enough.
constexpr long double kRatioTolerance = 0.001L;
// Steps beyond this (ratios far beyond any real pair of rates) are refused, so that the
// phase accumulator and the position arithmetic stay far from overflow.
constexpr long double kMaxStep = 1 << 30;

// The nearest integer, halves away from zero.
long double Nearest(long double v) {
    return std::round(v);
}

}  // namespace

double LRateFilter::BesselI0(double x) {
    // Term k is (x^2 / 4)^k / (k!)^2; each follows from the one before.
    static constexpr double kFactors[] = {1.0 / 4,  1.0 / 16,  1.0 / 36,
                                          1.0 / 64, 1.0 / 100, 1.0 / 144};
    const double xx = x * x;
    double term = 1.0;
    double sum = 1.0;
    for (double f : kFactors) {
        term = term * xx * f;
        sum += term;
    }
    return sum;
}

LRateFilter::LRateFilter(int32_t inRate, int32_t outRate, bool narrowCutoff) {
    const long double ratio = static_cast<long double>(inRate) / outRate;

    // The smallest phase count that approximates the ratio well enough, else the best one.
    long double bestDiff = 0;
    for (int32_t p = 1; p <= kMaxPhases; ++p) {
        const long double diff = std::fabs(ratio - Nearest(ratio * p) / p);
        if (p == 1 || diff < bestDiff) {
            bestDiff = diff;
            phases_ = p;
        }
        if (diff < kRatioTolerance)
            break;
    }
    const long double step = ratio * phases_ + 0.5L;
    step_ = step >= 1 && step < kMaxStep + 1 ? static_cast<int32_t>(step) : 0;

    const bool up = inRate < outRate;
    if (up) {
        cutoff_ = 0.975;
    } else {
        cutoff_ = static_cast<double>(outRate) / static_cast<double>(inRate) -
                  (narrowCutoff ? 0.09375 : 0.046875);
    }
    beta_ = up ? 2.12 : 4.538;

    // Kaiser-windowed sinc; x is the distance of the tap from the output instant in input
    // frames, and the window reaches zero at (kTaps / 2 + 1) frames from the centre.
    constexpr double kWindowSpan = (kTaps / 2 + 1) * (kTaps / 2 + 1);
    const double i0Beta = BesselI0(beta_);
    const double scale = 65536.0 * cutoff_;
    coefficients_.resize(static_cast<size_t>(phases_) * kTaps);
    for (int32_t j = 0; j < phases_; ++j) {
        for (int32_t k = 0; k < kTaps; ++k) {
            const double x = (k - kCentreTap) - static_cast<double>(j) / phases_;
            const double arg = std::numbers::pi * cutoff_ * x;
            double value = scale;
            // A cutoff of exactly 0 (possible only for extreme first stages) has no sinc
            // to divide: its coefficients are all 0, as 65536 * c says.
            if (x != 0.0 && arg != 0.0) {
                value = scale * std::sin(arg) / arg *
                        BesselI0(beta_ * std::sqrt(1.0 - x * x / kWindowSpan)) / i0Beta;
            }
            coefficients_[static_cast<size_t>(j) * kTaps + static_cast<size_t>(k)] =
                static_cast<int32_t>(std::round(value));
        }
    }
}

}  // namespace osmera
