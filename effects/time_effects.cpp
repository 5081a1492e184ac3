#include "effects/time_effects.h"

#include <algorithm>
#include <cstring>

#include "core/trace.h"
#include "edit/src_cut_list_audio.h"
#include "effects/effect_table.h"
#include "effects/level_effects.h"

namespace osmera {

LSRCReverse::LSRCReverse(LSourceRef inner)
    : LSRCWrapBase(std::move(inner)), length_(inner_->GetLengthSample()) {}

void LSRCReverse::Read(int32_t* buffer, int32_t frames) {
    if (frames <= 0)
        return;
    const size_t channels = GetChannels();
    std::memset(buffer, 0, static_cast<size_t>(frames) * channels * sizeof(int32_t));
    // Output frames [position, position + frames) are inner frames
    // (length - position - frames, length - position], read forwards and turned round.
    const int64_t first = std::max<int64_t>(position_, 0);
    const int64_t last = std::min<int64_t>(int64_t{position_} + frames, length_);  // excluded
    if (first < last) {
        const int64_t innerStart = length_ - last;
        const auto count = static_cast<int32_t>(last - first);
        int32_t* out = buffer + (first - position_) * channels;
        inner_->Seek(static_cast<int32_t>(innerStart));
        inner_->Read(out, count);
        // Reverse the order of the frames in place, keeping each frame's channels.
        for (int32_t a = 0, b = count - 1; a < b; ++a, --b) {
            for (size_t c = 0; c < channels; ++c)
                std::swap(out[a * channels + c], out[b * channels + c]);
        }
    }
    position_ = static_cast<int32_t>(std::min<int64_t>(int64_t{position_} + frames, INT32_MAX));
}

int Reverse(LProgress& progress, const LEffectRequest& request) {
    if (!request.list)
        return kJobFailed;
    if (request.rangeStart > request.rangeEnd)
        return kJobDone;
    ShowEffectTitle(progress, GetEffectInfo(LEffectId::kReverse).progressTitle);
    LCutListAudio& list = *request.list;
    const LCutListAudio range = CopyRange(list, request.rangeStart, request.rangeEnd);
    LSourceRef inner = range.MakeSource();
    LSourceRef reverse(new LSRCReverse(inner));
    LEffectOutput output(list.GetSampleRate(), list.GetChannels());
    const int32_t length = range.GetLength();
    const int result = RangePump(progress, reverse, output.Sink(), 0, length);
    return output.Finish(result, list, request.rangeStart, request.rangeEnd);
}

int32_t InsertSilence(LCutListAudio& list, LSilenceAt at, int32_t cursor, int32_t frames) {
    int32_t position = 0;
    switch (at) {
        case LSilenceAt::kStart:
            position = 0;
            break;
        case LSilenceAt::kCurrent:
            position = std::clamp(cursor, 0, list.GetLength());
            break;
        case LSilenceAt::kEnd:
            position = list.GetLength();
            break;
    }
    if (frames > 0)
        list.EfInsertSilence(position, frames);
    return position;
}

void RepeatLoop(LCutListAudio& list, int32_t start, int32_t end, int32_t times) {
    if (times < 1 || start >= end)
        return;
    list.EfRepeat(start, end, times);
}

int FadeOutAndTrim(LProgress& progress, const LEffectRequest& request) {
    const int result = Envelope(progress, request, FadeOutPoints(),
                                GetEffectInfo(LEffectId::kFadeOutAndTrim).progressTitle);
    if (result == kJobDone && request.rangeStart <= request.rangeEnd)
        request.list->EfTrimTail(request.rangeEnd);
    return result;
}

}  // namespace osmera
