#pragma once
// The inner loop of the sample-rate converter (LSRCConvertRate): the 63-tap filter run
// over the converter's input window for a stretch of output frames.
//
// The results are the converter's exact integer arithmetic. Samples and coefficients are
// held as doubles only because every product (a coefficient below 65536 in magnitude
// times a scaled sample of at most 32768) and every sum of 32 of them is an integer
// below 2^53, so each is exact in any order of summation, and wide floating-point
// multiply-adds are what vector units do fastest. Each half-sum is then turned back into
// a 64-bit integer and finished with the converter's shifts and rounding.
//
// Called only by the converter, on the thread that reads it.

#include <cstddef>
#include <cstdint>

namespace osmera {

struct LRateKernelState {
    // P rows of 64 taps: the 63 coefficients and a 0.
    const double* coefficients = nullptr;
    // The input window's scaled samples, one channel after the other: channel n's
    // sample of frame f is window[n * channelStride + f].
    const double* window = nullptr;
    size_t channelStride = 0;
    int32_t phases = 1;      // P
    int32_t stepFrames = 0;  // S / P
    int32_t stepRest = 0;    // S % P
    int32_t step = 1;        // S
    int32_t lastStart = 0;   // the largest window start the window can serve
    int32_t rightShift = 0;  // the output shift when it is 0 or more
    int32_t leftShift = 0;   // minus the output shift when it is below 0
    int64_t rounding = 0;    // added before the output shift

    // The phase accumulator, below P on entry, and the window start.
    int32_t accumulator = 0;
    int32_t windowStart = 0;
};

// Computes up to `frames` output frames into `out` (interleaved, 1 or 2 channels), the
// first with the state as it stands (accumulator below P, window start at most
// lastStart). After each frame S is added to the accumulator. Returns the number of
// frames computed: either `frames`, and then the accumulator holds the row plus S; or
// fewer, when moving on to the next frame took the window start past lastStart, and
// then the state already stands at that next frame and the caller refills the window
// before calling again.
int32_t RunRateKernelMono(LRateKernelState& state, int32_t* out, int32_t frames);
int32_t RunRateKernelStereo(LRateKernelState& state, int32_t* out, int32_t frames);

// The block scaling of a freshly filled window: finds the largest magnitude over the
// `frames` interleaved frames of `samples` (1 or 2 channels; frames a multiple of 16),
// picks the smallest shift s that brings it within 32767, and writes every sample scaled
// down by it with rounding, (v + 2^(s-1)) >> s, into `window`, one channel after the
// other, `channelStride` apart. Of `samples` itself only the frames from `keepFrom` on
// are scaled in place (they become the next window's history). Returns s.
int32_t ScaleRateWindow(int32_t* samples, size_t frames, int32_t channels, size_t keepFrom,
                        double* window, size_t channelStride);

}  // namespace osmera
