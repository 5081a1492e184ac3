#include "devices/channel_levels.h"

#include <algorithm>
#include <cmath>

namespace osmera {
namespace {

int8_t RoundLevel(double value, bool below) {
    const double rounded = below ? value - 0.5 : value + 0.5;
    return static_cast<int8_t>(std::clamp(static_cast<int>(rounded), -127, 127));
}

}  // namespace

int8_t PlayerLevelOfPower(double power) {
    constexpr double kRef = 8388626.0;
    if (power <= 0)
        return -127;
    const double v = std::clamp(10.0 * std::log10(power / kRef), -200.0, 200.0);
    return RoundLevel(v, power < kRef);
}

void ComputePlayerLevels(const int32_t* samples, int32_t frames, uint8_t channels,
                         LChannelLevels* out) {
    out->channels = channels;
    for (int c = 0; c < channels; ++c) {
        // The squares are summed in two parts so that the sum cannot overflow.
        uint32_t high = 0;
        uint32_t low = 0;
        for (int32_t i = 0; i < frames; ++i) {
            const int32_t v = samples[static_cast<size_t>(i) * channels + c] >> 5;
            const uint32_t square = static_cast<uint32_t>(v) * static_cast<uint32_t>(v);
            high += square >> 13;
            low += square & 0x1FFF;
        }
        const double power = frames > 0 ? (static_cast<double>(high) * 8192.0 + low) / frames : 0.0;
        out->level[c] = PlayerLevelOfPower(power);
    }
}

int8_t RecorderLevelOfPeak(int64_t peak) {
    constexpr double kRef = 131072.0;
    if (peak <= 0)
        return -127;
    const double v = 20.0 * std::log10(static_cast<double>(peak) / kRef);
    return RoundLevel(std::clamp(v, -200.0, 200.0), peak < 131072);
}

int8_t ComputeRecorderLevels(const int32_t* samples, int32_t frames, uint8_t channels,
                             int8_t* levels) {
    for (int c = 0; c < channels; ++c) {
        int32_t high = 0;
        int32_t low = 0;
        for (int32_t i = 0; i < frames; ++i) {
            const int32_t s = samples[static_cast<size_t>(i) * channels + c];
            high = std::max(high, s);
            low = std::min(low, s);
        }
        levels[c] = RecorderLevelOfPeak(std::max<int64_t>(high, -static_cast<int64_t>(low)));
    }
    if (channels == 0)
        return -127;
    if (channels == 1)
        return levels[0];
    return std::max(levels[0], levels[1]);
}

}  // namespace osmera
