#include "effects/colour_map.h"

#include <algorithm>
#include <cmath>

namespace osmera {

namespace {

// Eleven evenly spaced stops; colours between are interpolated linearly.
constexpr uint32_t kStops[] = {0x440154, 0x482475, 0x414487, 0x355f8d, 0x2a788e, 0x21918c,
                               0x22a884, 0x44bf70, 0x7ad151, 0xbddf26, 0xfde725};
constexpr int kLast = static_cast<int>(sizeof kStops / sizeof kStops[0]) - 1;

uint32_t Mix(uint32_t a, uint32_t b, float f, int shift) {
    const float x = static_cast<float>((a >> shift) & 0xff);
    const float y = static_cast<float>((b >> shift) & 0xff);
    return static_cast<uint32_t>(std::lround(x + (y - x) * f)) << shift;
}

}  // namespace

uint32_t SpectrogramColour(float t) {
    if (!(t > 0.0f))
        return kStops[0];
    if (t >= 1.0f)
        return kStops[kLast];
    const float at = t * kLast;
    const int i = std::min(static_cast<int>(at), kLast - 1);
    const float f = at - static_cast<float>(i);
    return Mix(kStops[i], kStops[i + 1], f, 16) | Mix(kStops[i], kStops[i + 1], f, 8) |
           Mix(kStops[i], kStops[i + 1], f, 0);
}

}  // namespace osmera
