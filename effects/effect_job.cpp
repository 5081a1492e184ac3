#include "effects/effect_job.h"

#include <algorithm>

#include "core/pr_source_to_sink.h"
#include "core/trace.h"
#include "edit/snk_cut_list_audio.h"
#include "effects/effect_table.h"

namespace osmera {

int RangePump(LProgress& progress, LSourceRef source, LSinkRef sink, int32_t start, int32_t end,
              LPRSourceToSink::BlockHook hook) {
    start = std::max(start, 0);
    end = std::max(end, start);
    LPRSourceToSink pump(std::move(source), std::move(sink), &progress);
    pump.SetBlockHook(std::move(hook));
    return pump.ProcessSpan(start, end);
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

int PumpIntoRange(LProgress& progress, LCutListAudio& list, int32_t start, int32_t end,
                  LSourceRef effect) {
    if (!effect || !effect->IsOk()) {
        LTrace("PumpIntoRange no usable effect source");
        return kJobFailed;
    }
    const int32_t length = effect->GetLengthSample();
    LEffectOutput output(list.GetSampleRate(), list.GetChannels());
    const int result = RangePump(progress, effect, output.Sink(), 0, length);
    return output.Finish(result, list, start, end, length);
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

bool LEffectOutput::Close() {
    if (sink_) {
        writeFailed_ = sink_->IsError();
        sink_.Reset();
    }
    return !writeFailed_;
}

int LEffectOutput::Finish(int result, LCutListAudio& list, int32_t start, int32_t end,
                          int32_t outputLength) {
    const bool written = Close();
    if (result == kJobDone && !written) {
        LTrace("LEffectOutput::Finish output could not be written");
        result = kJobFailed;
    }
    if (result == kJobDone) {
        // An empty range still pumps one frame; only the range's own length goes back.
        start = std::max(start, 0);
        output_.EfTrimTail(outputLength >= 0 ? outputLength : std::max(end - start, 0));
        ReplaceRange(list, start, end, output_);
    }
    output_.Clear();
    return result;
}

}  // namespace osmera
