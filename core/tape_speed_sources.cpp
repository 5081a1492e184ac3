#include "core/tape_speed_sources.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "core/format_match.h"
#include "core/trace.h"

namespace osmera {

LSRCRateLabel::LSRCRateLabel(LSourceRef inner, int32_t rate) : LSRCWrapBase(std::move(inner)) {
    SetSampleRate(rate);
}

LSourceRef ChangeTapeSpeed(LSourceRef source, LTapeSpeed speed) {
    if (!source || !source->IsOk() || speed == LTapeSpeed::kNormal)
        return source;
    const int32_t rate = source->GetSampleRate();
    if (rate > std::numeric_limits<int32_t>::max() / 2) {
        LTrace("ChangeTapeSpeed rate too high, playing at normal speed");
        return source;
    }
    if (speed == LTapeSpeed::kHalf)
        return LSourceRef(new LSRCRateLabel(ConvertRate(std::move(source), rate * 2), rate));
    return ConvertRate(LSourceRef(new LSRCRateLabel(std::move(source), rate * 2)), rate);
}

int64_t TapeToSourceFrames(int64_t frames, LTapeSpeed speed) {
    switch (speed) {
        case LTapeSpeed::kHalf:
            return frames / 2;
        case LTapeSpeed::kDouble:
            return frames * 2;
        case LTapeSpeed::kNormal:
            break;
    }
    return frames;
}

int64_t SourceToTapeFrames(int64_t frames, LTapeSpeed speed) {
    switch (speed) {
        case LTapeSpeed::kHalf:
            return frames * 2;
        case LTapeSpeed::kDouble:
            return frames / 2;
        case LTapeSpeed::kNormal:
            break;
    }
    return frames;
}

LSRCLoop::LSRCLoop(LSourceRef inner) : LSRCWrapBase(std::move(inner)) {
    pass_ = std::max<int32_t>(inner_->GetLengthSample(), 0);
    if (pass_ == 0) {
        if (IsOk())
            SetError(kSourceEmpty);
        return;
    }
    const int32_t most = std::numeric_limits<int32_t>::max();
    length_ = (most / pass_) * pass_;
    inner_->Seek(0);
}

void LSRCLoop::Read(int32_t* buffer, int32_t frames) {
    const size_t ch = channels;
    int32_t done = 0;
    while (done < frames) {
        if (pass_ == 0 || position_ < 0 || position_ >= length_) {
            // Outside the loop: zeros, as a finite source reads past its end.
            std::memset(buffer + static_cast<size_t>(done) * ch, 0,
                        static_cast<size_t>(frames - done) * ch * sizeof(int32_t));
            position_ = static_cast<int32_t>(std::min<int64_t>(
                int64_t{position_} + (frames - done), std::numeric_limits<int32_t>::max()));
            return;
        }
        const int32_t offset = position_ % pass_;
        if (inner_->GetPositionSample() != offset)
            inner_->Seek(offset);
        const int32_t n = std::min(frames - done, pass_ - offset);
        inner_->Read(buffer + static_cast<size_t>(done) * ch, n);
        done += n;
        position_ += n;
    }
}

void LSRCLoop::Seek(int32_t position) {
    position_ = position;
    if (pass_ > 0 && position >= 0)
        inner_->Seek(position % pass_);
}

}  // namespace osmera
