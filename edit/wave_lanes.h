#pragma once
// Where a sample value lands in a waveform picture: the picture is split into equal lanes
// (one per channel, or one shared by both), each with its middle line at 0 and full scale
// (524288, times the vertical magnification) at its edges, values beyond clipped to the
// lane. Shared by the editor's views and the command line's pictures so both draw the same
// columns. Pure arithmetic; any thread.

#include <algorithm>
#include <cstdint>

namespace osmera {

// The row of `value` in lane `lane` of `lanes` in a picture `height` rows high.
inline int WaveLaneY(int32_t value, int lane, int lanes, int height, int scale) {
    lanes = std::max(lanes, 1);
    const int top = lane * height / lanes;
    const int bottom = (lane + 1) * height / lanes - 1;
    const int mid = (top + bottom + 1) / 2;
    const int64_t half = std::max(1, (bottom - top) / 2);
    const int64_t dy = int64_t{value} * scale * half / 524288;
    return static_cast<int>(std::clamp<int64_t>(mid - dy, top, bottom));
}

}  // namespace osmera
