#include "core/rate_kernel.h"

#include <cstddef>

namespace osmera {
namespace {

// On x86-64 Linux the loops are built twice, for the baseline instruction set and for
// processors with AVX2 (four doubles per operation); the loader picks one at start-up.
// ThreadSanitizer cannot run the loader's resolver of cloned functions, so its builds keep
// the baseline loop only.
#if defined(__SANITIZE_THREAD__)
#define OSMERA_RATE_KERNEL_CLONES
#elif defined(__x86_64__) && defined(__linux__) && defined(__GNUC__) && !defined(__clang__) && \
    __GNUC__ >= 12
#define OSMERA_RATE_KERNEL_CLONES __attribute__((target_clones("arch=x86-64-v3", "default")))
#elif defined(__x86_64__) && defined(__linux__) && (defined(__GNUC__) || defined(__clang__))
#define OSMERA_RATE_KERNEL_CLONES __attribute__((target_clones("avx2", "default")))
#else
#define OSMERA_RATE_KERNEL_CLONES
#endif

#if defined(__has_builtin)
#if __has_builtin(__builtin_shufflevector)
#define OSMERA_HAVE_SHUFFLE 1
#endif
#endif

#if (defined(__GNUC__) || defined(__clang__)) && defined(OSMERA_HAVE_SHUFFLE)
#define OSMERA_ALWAYS_INLINE __attribute__((always_inline)) inline
// Four doubles, loadable from any address of a double array.
typedef double LVec4 __attribute__((vector_size(32), aligned(8), may_alias));
// Eight 32-bit integers, likewise.
typedef int32_t LVec8i __attribute__((vector_size(32), aligned(4), may_alias));
// A macro rather than a function: returning a 32-byte vector from a function changes
// the calling convention between the AVX and the baseline clones.
#define LOAD4(p) (*reinterpret_cast<const LVec4*>(p))
#define OSMERA_HAVE_VEC4 1
#else
#define OSMERA_ALWAYS_INLINE inline
#endif

constexpr uint32_t kScaledPeak = 32767;
constexpr int32_t kRowTaps = 64;             // 63 taps and a 0, for whole vectors
constexpr int32_t kHalfTaps = kRowTaps / 2;  // taps 0-31 and 32-63 are summed apart

// The two half-sums of one output frame for each of C channels: lo over taps 0-31, hi
// over taps 32-63 (the last coefficient is 0). `c` is the coefficient row, `x` the first
// window frame of channel 0, and each further channel's samples lie `stride` further on.
template <int C>
OSMERA_ALWAYS_INLINE void Taps(const double* c, const double* x, size_t stride, double* lo,
                               double* hi) {
#ifdef OSMERA_HAVE_VEC4
    // Eight independent sums per frame, so that the multiply-adds overlap instead of
    // waiting for each other; each coefficient is loaded once for all channels. (Named
    // sums rather than arrays, which the compiler would keep in memory.)
    const LVec4 zero = {0, 0, 0, 0};
    const auto reduce = [](const LVec4& v) { return (v[0] + v[1]) + (v[2] + v[3]); };
    if constexpr (C == 1) {
        LVec4 a0 = zero, a1 = zero, a2 = zero, a3 = zero;
        LVec4 b0 = zero, b1 = zero, b2 = zero, b3 = zero;
        for (int32_t k = 0; k < kHalfTaps; k += 16) {
            a0 += LOAD4(c + k) * LOAD4(x + k);
            a1 += LOAD4(c + k + 4) * LOAD4(x + k + 4);
            a2 += LOAD4(c + k + 8) * LOAD4(x + k + 8);
            a3 += LOAD4(c + k + 12) * LOAD4(x + k + 12);
            b0 += LOAD4(c + kHalfTaps + k) * LOAD4(x + kHalfTaps + k);
            b1 += LOAD4(c + kHalfTaps + k + 4) * LOAD4(x + kHalfTaps + k + 4);
            b2 += LOAD4(c + kHalfTaps + k + 8) * LOAD4(x + kHalfTaps + k + 8);
            b3 += LOAD4(c + kHalfTaps + k + 12) * LOAD4(x + kHalfTaps + k + 12);
        }
        lo[0] = reduce((a0 + a1) + (a2 + a3));
        hi[0] = reduce((b0 + b1) + (b2 + b3));
    } else {
        const double* const y = x + stride;
        LVec4 al0 = zero, al1 = zero, ar0 = zero, ar1 = zero;
        LVec4 bl0 = zero, bl1 = zero, br0 = zero, br1 = zero;
        for (int32_t k = 0; k < kHalfTaps; k += 8) {
            const LVec4 ca0 = LOAD4(c + k), ca1 = LOAD4(c + k + 4);
            const LVec4 cb0 = LOAD4(c + kHalfTaps + k), cb1 = LOAD4(c + kHalfTaps + k + 4);
            al0 += ca0 * LOAD4(x + k);
            al1 += ca1 * LOAD4(x + k + 4);
            ar0 += ca0 * LOAD4(y + k);
            ar1 += ca1 * LOAD4(y + k + 4);
            bl0 += cb0 * LOAD4(x + kHalfTaps + k);
            bl1 += cb1 * LOAD4(x + kHalfTaps + k + 4);
            br0 += cb0 * LOAD4(y + kHalfTaps + k);
            br1 += cb1 * LOAD4(y + kHalfTaps + k + 4);
        }
        // The four sums side by side: pairs of lanes added, then halves.
        const LVec4 ll = al0 + al1, hl = bl0 + bl1, lr = ar0 + ar1, hr = br0 + br1;
        const LVec4 left = __builtin_shufflevector(ll, hl, 0, 4, 2, 6) +
                           __builtin_shufflevector(ll, hl, 1, 5, 3, 7);
        const LVec4 right = __builtin_shufflevector(lr, hr, 0, 4, 2, 6) +
                            __builtin_shufflevector(lr, hr, 1, 5, 3, 7);
        const LVec4 sums = __builtin_shufflevector(left, right, 0, 1, 4, 5) +
                           __builtin_shufflevector(left, right, 2, 3, 6, 7);
        lo[0] = sums[0];
        hi[0] = sums[1];
        lo[1] = sums[2];
        hi[1] = sums[3];
    }
#else
    for (int n = 0; n < C; ++n) {
        lo[n] = hi[n] = 0.0;
        for (int32_t k = 0; k < kHalfTaps; ++k) {
            lo[n] += c[k] * x[n * stride + k];
            hi[n] += c[kHalfTaps + k] * x[n * stride + kHalfTaps + k];
        }
    }
#endif
}

// The half-sums are exact integers; each is halved, then the rounding and the output
// shift are applied in 64 bits and the result is taken to 32 bits.
OSMERA_ALWAYS_INLINE int32_t Finish(double lo, double hi, const LRateKernelState& s) {
    const int64_t sum =
        (static_cast<int64_t>(lo) >> 1) + (static_cast<int64_t>(hi) >> 1) + s.rounding;
    const uint64_t shifted = static_cast<uint64_t>(sum >> s.rightShift) << s.leftShift;
    return static_cast<int32_t>(static_cast<uint32_t>(shifted));
}

template <int C>
OSMERA_ALWAYS_INLINE int32_t Run(LRateKernelState& s, int32_t* out, int32_t frames) {
    const double* const coefficients = s.coefficients;
    const double* const window = s.window;
    int32_t row = s.accumulator;
    int32_t start = s.windowStart;
    int32_t done = 0;
    for (;;) {
        double lo[C], hi[C];
        Taps<C>(coefficients + static_cast<size_t>(row) * kRowTaps, window + start, s.channelStride,
                lo, hi);
        for (int ch = 0; ch < C; ++ch)
            out[ch] = Finish(lo[ch], hi[ch], s);
        out += C;
        if (++done == frames) {
            s.accumulator = row + s.step;
            s.windowStart = start;
            return done;
        }
        // (row + S) / P and (row + S) % P without dividing: row is below P.
        row += s.stepRest;
        start += s.stepFrames;
        if (row >= s.phases) {
            row -= s.phases;
            ++start;
        }
        if (start > s.lastStart) {
            s.accumulator = row;
            s.windowStart = start;
            return done;
        }
    }
}

// The per-block passes go in groups of a fixed size, with no pointer that might overlap
// another, so that the compiler turns them into vector code.
constexpr size_t kGroupFrames = 16;

// (v + 2^(s-1)) >> s, without the sum that could leave 32 bits: the bit below the shift
// says whether the dropped part is at least one half. A shift of 0 leaves v as it is.
struct LScaleDown {
    explicit LScaleDown(int32_t s) : shift(s), below(s > 0 ? s - 1 : 0), half(s > 0 ? 1 : 0) {}
    int32_t operator()(int32_t v) const { return (v >> shift) + ((v >> below) & half); }
    int32_t shift, below, half;
};

OSMERA_ALWAYS_INLINE void ScaleToDoubles(const int32_t* __restrict in, double* __restrict out,
                                         size_t frames, LScaleDown scale) {
    for (size_t i = 0; i < frames; i += kGroupFrames) {
        for (size_t j = 0; j < kGroupFrames; ++j)
            out[i + j] = scale(in[i + j]);
    }
}

OSMERA_ALWAYS_INLINE void ScaleSplitToDoubles(const int32_t* __restrict in, double* __restrict left,
                                              double* __restrict right, size_t frames,
                                              LScaleDown scale) {
    for (size_t i = 0; i < frames; i += kGroupFrames) {
        for (size_t j = 0; j < kGroupFrames; ++j) {
            left[i + j] = scale(in[2 * (i + j)]);
            right[i + j] = scale(in[2 * (i + j) + 1]);
        }
    }
}

}  // namespace

OSMERA_RATE_KERNEL_CLONES
int32_t RunRateKernelMono(LRateKernelState& state, int32_t* out, int32_t frames) {
    return Run<1>(state, out, frames);
}

OSMERA_RATE_KERNEL_CLONES
int32_t RunRateKernelStereo(LRateKernelState& state, int32_t* out, int32_t frames) {
    return Run<2>(state, out, frames);
}

OSMERA_RATE_KERNEL_CLONES
int32_t ScaleRateWindow(int32_t* samples, size_t frames, int32_t channels, size_t keepFrom,
                        double* window, size_t channelStride) {
    const size_t total = frames * static_cast<size_t>(channels);
    int32_t low = 0, high = 0;
#ifdef OSMERA_HAVE_VEC4
    // Eight running minima and maxima, folded at the end.
    LVec8i lows = {}, highs = {};
    for (size_t i = 0; i < total; i += 8) {
        const LVec8i v = *reinterpret_cast<const LVec8i*>(samples + i);
        lows = lows < v ? lows : v;
        highs = highs > v ? highs : v;
    }
    for (int j = 0; j < 8; ++j) {
        low = low < lows[j] ? low : lows[j];
        high = high > highs[j] ? high : highs[j];
    }
#else
    for (size_t i = 0; i < total; ++i) {
        low = low < samples[i] ? low : samples[i];
        high = high > samples[i] ? high : samples[i];
    }
#endif
    // The largest magnitude, taken unsigned so that -2^31 has one.
    const uint32_t lowMagnitude = 0u - static_cast<uint32_t>(low);
    const uint32_t highMagnitude = static_cast<uint32_t>(high);
    const uint32_t largest = lowMagnitude > highMagnitude ? lowMagnitude : highMagnitude;
    int32_t shift = 0;
    while ((largest >> shift) > kScaledPeak)
        ++shift;

    const LScaleDown scale(shift);
    if (channels == 1) {
        ScaleToDoubles(samples, window, frames, scale);
    } else {
        ScaleSplitToDoubles(samples, window, window + channelStride, frames, scale);
    }
    for (size_t i = keepFrom * static_cast<size_t>(channels); i < total; ++i) {
        samples[i] = scale(samples[i]);
    }
    return shift;
}

}  // namespace osmera
