#include "effects/effect_job.h"

#include <algorithm>

#include "core/pr_source_to_sink.h"
#include "core/trace.h"
#include "edit/snk_cut_list_audio.h"
#include "effects/effect_table.h"

namespace osmera {

bool RangePump(LProgress& progress, LSoundSourceBase& source, LSoundSinkBase* sink, int32_t start,
               int32_t end) {
    if (start < 0)
        start = 0;
    int64_t total = int64_t{end} - start;
    if (total < 1)
        total = 1;
    if (start > 0)
        source.Seek(start);
    constexpr int32_t kBlock = LPRSourceToSink::kBlockFrames;
    std::vector<int32_t> buffer(static_cast<size_t>(kBlock) * source.GetChannels());
    int64_t done = 0;
    for (;;) {
        if (progress.IsCancelled())
            return true;
        const int64_t left = total - done;
        if (left < 1)
            return false;
        const auto n = static_cast<int32_t>(std::min<int64_t>(left, kBlock));
        source.Read(buffer.data(), n);
        if (sink)
            sink->Write(buffer.data(), n);
        done += n;
        progress.SetFraction(static_cast<double>(done) / static_cast<double>(total));
    }
}

void ReplaceRange(LCutListAudio& list, int32_t start, int32_t end, const LCutListAudio& output) {
    list.EfPasteOver(start, end, output);
}

LCutListAudio CopyRange(const LCutListAudio& list, int32_t start, int32_t end) {
    LCutListAudio range;
    list.EfCopy(std::max(start, 0), end, range);
    range.SetFormat(list.GetSampleRate(), list.GetChannels());
    return range;
}

void ShowEffectTitle(LProgress& progress, const char* title) {
    progress.SetLine(0, title);
    progress.SetLine(1, kPleaseWaitText);
}

LEffectOutput::LEffectOutput(uint32_t sampleRate, uint8_t channels)
    : output_(sampleRate, channels),
      sink_(output_.MakeSink(static_cast<int32_t>(sampleRate), channels)) {}

LEffectOutput::~LEffectOutput() {
    Close();
    output_.Clear();
}

LSoundSinkBase* LEffectOutput::Sink() const {
    return sink_.Get();
}

bool LEffectOutput::Close() {
    if (sink_) {
        writeFailed_ = sink_->IsError();
        sink_.Reset();
    }
    return !writeFailed_;
}

int LEffectOutput::Finish(int result, LCutListAudio& list, int32_t start, int32_t end) {
    const bool written = Close();
    if (result == kJobDone && !written) {
        LTrace("LEffectOutput::Finish output could not be written");
        result = kJobFailed;
    }
    if (result == kJobDone) {
        // An empty range still pumps one frame; only the range's own length goes back.
        start = std::max(start, 0);
        output_.EfTrimTail(std::max(end - start, 0));
        ReplaceRange(list, start, end, output_);
    }
    output_.Clear();
    return result;
}

}  // namespace osmera
