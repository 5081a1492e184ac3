#include "effects/block_effect_source.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace osmera {

double DbToGain(double db) {
    return std::pow(10.0, db / 20.0);
}

LSRCBlockEffect::LSRCBlockEffect(LSourceRef inner, int32_t tailFrames, int32_t latencyFrames)
    : LSRCWrapBase(std::move(inner)),
      innerLength_(inner_->GetLengthSample()),
      length_(static_cast<int32_t>(
          std::min<int64_t>(int64_t{innerLength_} + std::max(tailFrames, 0), INT32_MAX))),
      latency_(std::max(latencyFrames, 0)),
      work_(static_cast<size_t>(kBlockFrames) * GetChannels()) {
    // Filters and gains may raise the level past the input's own peak: the output keeps
    // the headroom of processed audio.
    SetPeak(std::max(GetPeak(), kPeakProcessed));
}

void LSRCBlockEffect::Seek(int32_t position) {
    if (position == position_ && started_)
        return;
    position_ = position;
    inputPos_ = position;
    started_ = false;
    Reset();
}

void LSRCBlockEffect::Read(int32_t* buffer, int32_t frames) {
    if (frames <= 0)
        return;
    if (!started_) {
        // The first `latency_` outputs after a reset belong to frames before the position.
        inputPos_ = position_;
        started_ = true;
        Reset();
        if (latency_ > 0) {
            scratch_.resize(static_cast<size_t>(std::min(latency_, kBlockFrames)) * GetChannels());
            for (int32_t left = latency_; left > 0;) {
                const int32_t n = std::min(left, kBlockFrames);
                Feed(scratch_.data(), n);
                left -= n;
            }
        }
    }
    Feed(buffer, frames);
    position_ = static_cast<int32_t>(std::min<int64_t>(int64_t{position_} + frames, INT32_MAX));
}

void LSRCBlockEffect::Feed(int32_t* out, int32_t frames) {
    const size_t channels = GetChannels();
    const int32_t limit = GetPeak();
    for (int32_t done = 0; done < frames;) {
        const int32_t n = std::min(frames - done, kBlockFrames);
        int32_t* block = out + static_cast<size_t>(done) * channels;
        // The input frames [inputPos_, inputPos_ + n): read what lies inside the inner
        // source, silence for the rest.
        const int64_t first = inputPos_;
        const int64_t inside = std::clamp<int64_t>(int64_t{innerLength_} - first, 0, n);
        const int64_t before = std::clamp<int64_t>(-first, 0, inside);
        std::fill(work_.begin(), work_.begin() + static_cast<std::ptrdiff_t>(n * channels), 0.0);
        if (inside > before) {
            if (inner_->GetPositionSample() != first + before)
                inner_->Seek(static_cast<int32_t>(first + before));
            inner_->Read(block + before * channels, static_cast<int32_t>(inside - before));
            const size_t from = static_cast<size_t>(before) * channels;
            const size_t to = static_cast<size_t>(inside) * channels;
            for (size_t i = from; i < to; ++i)
                work_[i] = block[i];
        }
        Process(work_.data(), n);
        const size_t count = static_cast<size_t>(n) * channels;
        for (size_t i = 0; i < count; ++i)
            block[i] = SaturateSample(work_[i], limit);
        inputPos_ = static_cast<int32_t>(std::min<int64_t>(first + n, INT32_MAX));
        done += n;
    }
}

}  // namespace osmera
