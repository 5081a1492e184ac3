#pragma once
// The gain of a cut-list entry and its 32-bit arithmetic.
//
// A gain is signed 32-bit fixed point with 24 fraction bits: 16777216 is unity and the
// largest value, 2147483647, is just under 128. Gains are applied while reading (never
// written into the audio), so amplifying a range only changes numbers in list entries.
// The arithmetic below is exact 32-bit integer arithmetic with the program's own
// truncations; where a 32-bit result is meant to wrap it wraps through uint32_t.

#include <cstddef>
#include <cstdint>

namespace osmera {

constexpr int32_t kUnityGain = 16777216;
constexpr int32_t kMaxGain = 2147483647;

// The low 32 bits of `v` as a signed value, as 32-bit arithmetic would leave them.
constexpr int32_t Wrap32(int64_t v) {
    return static_cast<int32_t>(static_cast<uint32_t>(v));
}

// Sample `s` times gain `g`: both are split at bit 12 and three of the four partial products
// are summed with arithmetic shifts; the product of the two low parts is dropped. The middle
// products always fit in 32 bits; the high product and the sum wrap.
constexpr int32_t MultiplyByGain(int32_t s, int32_t g) {
    const int32_t sHigh = s >> 12;
    const int32_t gHigh = g >> 12;
    const int32_t lowByHigh = ((s & 4095) * gHigh) >> 12;
    const int32_t highByLow = (sHigh * (g & 4095)) >> 12;
    return Wrap32(int64_t{sHigh} * gHigh + lowByHigh + highByLow);
}

// Applies `gain` to `count` samples in place. Unity leaves them untouched.
inline void ApplyGain(int32_t* samples, size_t count, int32_t gain) {
    if (gain == kUnityGain)
        return;
    for (size_t i = 0; i < count; ++i)
        samples[i] = MultiplyByGain(samples[i], gain);
}

// The gain `gain` scaled by `percent`. Below the limit (2147483647 up to 100 percent,
// (2147483647 / percent) * 100 above) the gain is divided by 100 before the multiplication,
// so nothing overflows there and the last two decimal digits are lost; at or above the limit
// the result is 2147483647, also when scaling down: a saturated gain never comes back down.
// 100 percent leaves the gain as it is; 0 percent silences.
constexpr int32_t ScaleGain(int32_t gain, int32_t percent) {
    if (percent == 100)
        return gain;
    const int32_t limit = percent <= 100 ? kMaxGain : (kMaxGain / percent) * 100;
    if (limit > gain)
        return Wrap32(int64_t{gain / 100} * percent);
    return kMaxGain;
}

}  // namespace osmera
