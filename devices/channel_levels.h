#pragma once
// Per-channel level figures of the player and the recorder meters.
//
// Player unit: 10 x log10(P / 8388626), P the mean of (x >> 5)^2 over a buffer, so a
// full-scale square wave reads 15 and silence -127. Recorder unit: 20 x log10(peak /
// 131072), so full scale reads +12 and a quarter of it 0. Both round half away from zero
// and are limited to -127..127.

#include <cstdint>

namespace osmera {

struct LChannelLevels {
    uint8_t channels = 0;  // at most 256 meaningful
    int8_t level[256] = {};
};

// Levels of `frames` interleaved frames of `channels` internal samples, in the player's
// unit. With no frames every channel reads -127.
void ComputePlayerLevels(const int32_t* samples, int32_t frames, uint8_t channels,
                         LChannelLevels* out);

// The player's level of a mean square P.
int8_t PlayerLevelOfPower(double power);

// The recorder's level of a peak magnitude.
int8_t RecorderLevelOfPeak(int64_t peak);

// Recorder levels of each channel into `levels` (one per channel); returns the display
// level: channel 0 for one channel, the larger of channels 0 and 1 for more, -127 for
// none.
int8_t ComputeRecorderLevels(const int32_t* samples, int32_t frames, uint8_t channels,
                             int8_t* levels);

}  // namespace osmera
