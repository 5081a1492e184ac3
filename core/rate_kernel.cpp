#include "core/rate_kernel.h"

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

#if defined(__GNUC__) || defined(__clang__)
#define OSMERA_ALWAYS_INLINE __attribute__((always_inline)) inline
// Four doubles, loadable from any address of a double array.
typedef double LVec4 __attribute__((vector_size(32), aligned(8), may_alias));
// A macro rather than a function: returning a 32-byte vector from a function changes
// the calling convention between the AVX and the baseline clones.
#define LOAD4(p) (*reinterpret_cast<const LVec4*>(p))
#define OSMERA_HAVE_VEC4 1
#else
#define OSMERA_ALWAYS_INLINE inline
#endif

constexpr int32_t kRowTaps = 64;           // 63 taps and a 0, for whole vectors
constexpr int32_t kHalfTaps = kRowTaps / 2;  // taps 0-31 and 32-63 are summed apart

// The two half-sums of one output frame for each of C channels: lo over taps 0-31, hi
// over taps 32-63 (the last coefficient is 0). `c` and `x` are C-interleaved.
template <int C>
OSMERA_ALWAYS_INLINE void Taps(const double* c, const double* x, double* lo, double* hi) {
    constexpr int32_t kHalf = kHalfTaps * C;
#ifdef OSMERA_HAVE_VEC4
    // Eight independent sums, so that the multiply-adds overlap instead of waiting for
    // each other.
    LVec4 a0 = {0, 0, 0, 0}, a1 = a0, a2 = a0, a3 = a0, b0 = a0, b1 = a0, b2 = a0, b3 = a0;
    for (int32_t k = 0; k < kHalf; k += 16) {
        a0 += LOAD4(c + k) * LOAD4(x + k);
        a1 += LOAD4(c + k + 4) * LOAD4(x + k + 4);
        a2 += LOAD4(c + k + 8) * LOAD4(x + k + 8);
        a3 += LOAD4(c + k + 12) * LOAD4(x + k + 12);
        b0 += LOAD4(c + kHalf + k) * LOAD4(x + kHalf + k);
        b1 += LOAD4(c + kHalf + k + 4) * LOAD4(x + kHalf + k + 4);
        b2 += LOAD4(c + kHalf + k + 8) * LOAD4(x + kHalf + k + 8);
        b3 += LOAD4(c + kHalf + k + 12) * LOAD4(x + kHalf + k + 12);
    }
    const LVec4 a = (a0 + a1) + (a2 + a3);
    const LVec4 b = (b0 + b1) + (b2 + b3);
    if constexpr (C == 1) {
        lo[0] = (a[0] + a[1]) + (a[2] + a[3]);
        hi[0] = (b[0] + b[1]) + (b[2] + b[3]);
    } else {
        lo[0] = a[0] + a[2];
        lo[1] = a[1] + a[3];
        hi[0] = b[0] + b[2];
        hi[1] = b[1] + b[3];
    }
#else
    for (int ch = 0; ch < C; ++ch) lo[ch] = hi[ch] = 0.0;
    for (int32_t k = 0; k < kHalf; ++k) lo[k % C] += c[k] * x[k];
    for (int32_t k = kHalf; k < 2 * kHalf; ++k) hi[k % C] += c[k] * x[k];
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
        Taps<C>(coefficients + static_cast<size_t>(row) * (kRowTaps * C),
                window + static_cast<size_t>(start) * C, lo, hi);
        for (int ch = 0; ch < C; ++ch) out[ch] = Finish(lo[ch], hi[ch], s);
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

}  // namespace

OSMERA_RATE_KERNEL_CLONES
int32_t RunRateKernelMono(LRateKernelState& state, int32_t* out, int32_t frames) {
    return Run<1>(state, out, frames);
}

OSMERA_RATE_KERNEL_CLONES
int32_t RunRateKernelStereo(LRateKernelState& state, int32_t* out, int32_t frames) {
    return Run<2>(state, out, frames);
}

}  // namespace osmera
