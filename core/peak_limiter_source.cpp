#include "core/peak_limiter_source.h"

#include <algorithm>

namespace osmera {

LSRCPeakLimiter::LSRCPeakLimiter(LSourceRef inner, int32_t limit)
    : LSRCWrapBase(std::move(inner)), limit_(limit < 0 ? -limit : limit) {
    SetPeak(limit_);
}

void LSRCPeakLimiter::Read(int32_t* buffer, int32_t frames) {
    inner_->Read(buffer, frames);
    if (frames <= 0)
        return;
    const size_t n = static_cast<size_t>(frames) * channels;
    for (size_t i = 0; i < n; ++i)
        buffer[i] = std::clamp(buffer[i], -limit_, limit_);
}

}  // namespace osmera
