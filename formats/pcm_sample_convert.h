#pragma once
// Conversions between PCM file samples and the internal sample form (a 16-bit value times
// 16, full scale +-524288), one pair per sample width. Multi-byte samples are
// little-endian byte sequences, whatever the host's byte order.
//
// Writing never clips: the pump's limiter keeps internal values within +-524272. Values
// outside that range wrap in the file, as the shifts and low-byte truncations below give
// (the 8-bit form turns 522240 and above into byte 0). Wrapping goes through uint32_t so
// that it is defined behaviour.

#include <cstdint>

namespace osmera {

// 8 bits, unsigned: (v - 128) * 4096.
inline int32_t Pcm8ToInternal(const uint8_t* p) {
    return (static_cast<int32_t>(p[0]) - 128) * 4096;
}

// 16 bits, signed: v * 16.
inline int32_t Pcm16ToInternal(const uint8_t* p) {
    const auto v = static_cast<int16_t>(static_cast<uint16_t>(p[0] | (p[1] << 8)));
    return v * 16;
}

// 24 bits, signed: the three bytes fill the top of a 32-bit word, which is shifted right
// arithmetically by 12, so the result is the 24-bit value shifted right by 4 with sign.
inline int32_t Pcm24ToInternal(const uint8_t* p) {
    const uint32_t w = (static_cast<uint32_t>(p[0]) << 8) | (static_cast<uint32_t>(p[1]) << 16) |
                       (static_cast<uint32_t>(p[2]) << 24);
    return static_cast<int32_t>(w) >> 12;
}

// 32 bits, signed: (v + 2048) >> 12 with rounding. Computed in 64 bits so that the top
// 2048 codes read as +524288 instead of wrapping to -524288.
inline int32_t Pcm32ToInternal(const uint8_t* p) {
    const uint32_t w = static_cast<uint32_t>(p[0]) | (static_cast<uint32_t>(p[1]) << 8) |
                       (static_cast<uint32_t>(p[2]) << 16) | (static_cast<uint32_t>(p[3]) << 24);
    return static_cast<int32_t>((static_cast<int64_t>(static_cast<int32_t>(w)) + 2048) >> 12);
}

// 8 bits: the low byte of ((x + 2048) >> 12) + 128.
inline void InternalToPcm8(int32_t x, uint8_t* p) {
    const auto rounded = static_cast<int32_t>(static_cast<uint32_t>(x) + 2048u) >> 12;
    p[0] = static_cast<uint8_t>(static_cast<uint32_t>(rounded) + 128u);
}

// 16 bits: the low 16 bits of (x + 8) >> 4.
inline void InternalToPcm16(int32_t x, uint8_t* p) {
    const auto v = static_cast<uint32_t>(static_cast<int32_t>(static_cast<uint32_t>(x) + 8u) >> 4);
    p[0] = static_cast<uint8_t>(v);
    p[1] = static_cast<uint8_t>(v >> 8);
}

// 24 bits: the top three bytes of x << 12.
inline void InternalToPcm24(int32_t x, uint8_t* p) {
    const uint32_t w = static_cast<uint32_t>(x) << 12;
    p[0] = static_cast<uint8_t>(w >> 8);
    p[1] = static_cast<uint8_t>(w >> 16);
    p[2] = static_cast<uint8_t>(w >> 24);
}

// 32 bits: x << 12.
inline void InternalToPcm32(int32_t x, uint8_t* p) {
    const uint32_t w = static_cast<uint32_t>(x) << 12;
    p[0] = static_cast<uint8_t>(w);
    p[1] = static_cast<uint8_t>(w >> 8);
    p[2] = static_cast<uint8_t>(w >> 16);
    p[3] = static_cast<uint8_t>(w >> 24);
}

}  // namespace osmera
