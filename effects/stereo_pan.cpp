#include "effects/stereo_pan.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace osmera {

LSRCStereoPan::LSRCStereoPan(LSourceRef inner, int32_t position)
    : LSRCBlockEffect(std::move(inner), 0) {
    const double theta = std::clamp(position, 0, 100) / 100.0 * std::numbers::pi / 2;
    // Exact zeros at the ends, exact unity in the centre.
    left_ = position >= 100 ? 0.0 : position == 50 ? 1.0 : std::numbers::sqrt2 * std::cos(theta);
    right_ = position <= 0 ? 0.0 : position == 50 ? 1.0 : std::numbers::sqrt2 * std::sin(theta);
}

void LSRCStereoPan::Process(double* samples, int32_t frames) {
    if (GetChannels() != 2)
        return;
    for (int32_t i = 0; i < frames; ++i) {
        samples[2 * i] *= left_;
        samples[2 * i + 1] *= right_;
    }
}

}  // namespace osmera
