#include "core/pr_source_to_sink.h"

#include <vector>

#include "core/format_match.h"
#include "core/peak_limiter_source.h"
#include "core/trace.h"

namespace osmera {
namespace {

constexpr const char* kPleaseWait = "Please wait...";

bool FormatsAgree(LSoundSourceBase& source, LSoundSinkBase& sink) {
    if (source.GetChannels() != sink.GetChannels()) {
        LTrace("lssSource.GetChannels() != lssSink.GetChannels()");
        return false;
    }
    if (source.GetSampleRate() != sink.GetSampleRate()) {
        LTrace("lssSource.GetSampleRate() != lssSink.GetSampleRate()");
        return false;
    }
    return true;
}

}  // namespace

LPRSourceToSink::LPRSourceToSink(LSourceRef source, LSinkRef sink, LProgress* progress,
                                 std::string title)
    : source_(source ? std::move(source) : MakeEmptySource()),
      sink_(std::move(sink)),
      progress_(progress ? progress : &nullProgress_),
      title_(std::move(title)) {}

int LPRSourceToSink::Process() {
    progress_->SetLine(0, title_);
    progress_->SetLine(1, kPleaseWait);
    progress_->SetFraction(0.0);

    if (source_->GetError() != kSourceOk) {
        LTrace("LPRSourceToSink::Process Source Error");
        return kJobFailed;
    }
    if (!sink_ || sink_->IsError()) {
        LTrace("LPRSourceToSink::Process Sink Error");
        return kJobFailed;
    }

    // A converter that cannot do the conversion (rates too far apart) has an error of its
    // own while it reports the sink's format: refuse it rather than write audio at the
    // wrong speed.
    LSourceRef source = MatchFormat(source_, sink_->GetSampleRate(), sink_->GetChannels());
    if (source->GetError() != kSourceOk) {
        LTrace("LPRSourceToSink::Process Source Error");
        return kJobFailed;
    }
    if (!FormatsAgree(*source, *sink_))
        return kJobFailed;
    if (source->GetPeak() > kPeak16Bit)
        source = LSourceRef(new LSRCPeakLimiter(source, kPeak16Bit));

    // The real length decides how much of the last block is written; a length of 0 is
    // taken as 1 only so that the progress fraction never divides by zero.
    const int64_t length = source->GetLengthSample();
    const double progressLength = length == 0 ? 1.0 : static_cast<double>(length);

    std::vector<int32_t> buffer(static_cast<size_t>(kBlockFrames) * source->GetChannels());
    for (;;) {
        if (progress_->IsCancelled())
            return kJobCancelled;
        source->Read(buffer.data(), kBlockFrames);
        const int64_t position = source->GetPositionSample();
        if (position >= length) {
            const int64_t last = kBlockFrames - (position - length);
            if (last >= 1 && last <= kBlockFrames) {
                if (hook_)
                    hook_(buffer.data(), static_cast<int32_t>(last));
                sink_->Write(buffer.data(), static_cast<int32_t>(last));
            }
            return kJobDone;
        }
        if (hook_)
            hook_(buffer.data(), kBlockFrames);
        sink_->Write(buffer.data(), kBlockFrames);
        progress_->SetFraction(static_cast<double>(position) / progressLength);
    }
}

int LPRSourceToSink::ProcessSpan(int32_t start, int32_t end) {
    if (end < start)
        return kJobDone;
    progress_->SetLine(1, kPleaseWait);
    if (sink_ && !FormatsAgree(*source_, *sink_))
        return kJobFailed;
    if (start > 0)
        source_->Seek(start);

    int64_t total = start > 0 ? static_cast<int64_t>(end) - start : end;
    if (total < 1)
        total = 1;
    int64_t done = 0;

    std::vector<int32_t> buffer(static_cast<size_t>(kBlockFrames) * source_->GetChannels());
    for (;;) {
        if (progress_->IsCancelled())
            return kJobCancelled;
        int64_t n = total - done;
        if (n < 1)
            return kJobDone;
        if (n > kBlockFrames)
            n = kBlockFrames;
        source_->Read(buffer.data(), static_cast<int32_t>(n));
        if (hook_)
            hook_(buffer.data(), static_cast<int32_t>(n));
        if (sink_)
            sink_->Write(buffer.data(), static_cast<int32_t>(n));
        done += n;
        progress_->SetFraction(static_cast<double>(done) / static_cast<double>(total));
    }
}

}  // namespace osmera
