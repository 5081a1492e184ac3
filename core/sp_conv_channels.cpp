#include "core/sp_conv_channels.h"

#include <algorithm>

namespace osmera {

LSPConvChannels::LSPConvChannels(LSourceRef inner, uint8_t outChannels)
    : LSRCWrapBase(std::move(inner)), innerChannels_(channels) {
    SetChannels(outChannels);
    buffer_.resize(static_cast<size_t>(kBufferFrames) * innerChannels_);
}

void LSPConvChannels::Read(int32_t* buffer, int32_t frames) {
    while (frames > 0) {
        const int32_t n = std::min(frames, kBufferFrames);
        inner_->Read(buffer_.data(), n);
        Convert(buffer_.data(), buffer, n);
        buffer += static_cast<size_t>(n) * channels;
        frames -= n;
    }
}

LSPConvChannels2To1::LSPConvChannels2To1(LSourceRef inner) : LSPConvChannels(std::move(inner), 1) {}

void LSPConvChannels2To1::Convert(const int32_t* in, int32_t* out, int32_t frames) const {
    const size_t step = innerChannels_;
    for (int32_t i = 0; i < frames; ++i)
        out[i] = in[static_cast<size_t>(i) * step];
}

LSPConvChannels1To2::LSPConvChannels1To2(LSourceRef inner) : LSPConvChannels(std::move(inner), 2) {}

void LSPConvChannels1To2::Convert(const int32_t* in, int32_t* out, int32_t frames) const {
    const size_t step = innerChannels_;
    for (int32_t i = 0; i < frames; ++i) {
        const int32_t v = in[static_cast<size_t>(i) * step];
        out[2 * i] = v;
        out[2 * i + 1] = v;
    }
}

}  // namespace osmera
