// osmera-cli convert IN OUT [--rate HZ] [--channels 1|2] [--bits 8|16|24|32]
//
// Pumps IN through the format-matching chain into a PCM WAV writer. The output is
// written beside OUT under a temporary name and moved over OUT only when everything was
// written, so a failure or Ctrl+C never leaves half a file where OUT was. Inputs of more
// than two channels or longer than 2147483647 frames, and outputs too large for a WAV
// header, are refused before anything is written; an input that ends before its header
// says is converted (the rest as silence) with a warning.

#include <cstdio>

#include "cli/args.h"
#include "cli/commands.h"
#include "cli/source_description.h"
#include "cli/terminal_progress.h"
#include "core/pr_source_to_sink.h"
#include "core/rate_filter.h"
#include "core/safe_replace.h"
#include "formats/open_audio_source.h"
#include "formats/open_error_message.h"
#include "formats/opened_file_facts.h"
#include "formats/wave_file.h"

namespace osmera::cli {

int RunConvert(int argc, char** argv) {
    LArgs args(argc, argv, {"rate", "channels", "bits"});
    if (args.Error().empty() && args.Positional().size() != 2) {
        PrintError("convert needs an input and an output file (see osmera-cli convert --help)");
        return kExitUsage;
    }
    const long rateArg = args.IntValue("rate", 0, 1, 196000);
    const long channelsArg = args.IntValue("channels", 0, 1, 2);
    const long bitsArg = args.IntValue("bits", 0, 8, 32);
    if (!args.Error().empty()) {
        PrintError(args.Error());
        return kExitUsage;
    }
    if (bitsArg != 0 && bitsArg % 8 != 0) {
        PrintError("--bits must be 8, 16, 24 or 32");
        return kExitUsage;
    }
    const std::string& in = args.Positional()[0];
    const std::string& out = args.Positional()[1];

    LSourceRef source = OpenAudioSource(in);
    if (!source->IsOk()) {
        PrintError(OpenErrorMessage(*source, in));
        return kExitFailed;
    }
    const LOpenedFileFacts facts = LOpenedFileFacts::Of(*source);
    if (facts.HasTooManyChannels()) {
        PrintError(facts.ChannelsRefusal(in));
        return kExitFailed;
    }
    // A conversion that left out the end of its input would look like a whole one.
    if (facts.LeftOutFrames() > 0) {
        PrintError("cannot convert \"" + in + "\": it holds " +
                   std::to_string(facts.claimedFrames) + " frames (" +
                   LOpenedFileFacts::TimeText(facts.claimedFrames, facts.sampleRate) +
                   "), more than the 2147483647 frames this program can convert; " + out +
                   " was left as it was");
        return kExitFailed;
    }
    for (const std::string& warning : facts.Warnings(in))
        PrintError("warning: " + warning);

    const int32_t rate = rateArg ? static_cast<int32_t>(rateArg) : source->GetSampleRate();
    const auto channels = static_cast<uint8_t>(channelsArg ? channelsArg : source->GetChannels());
    const int32_t bits =
        bitsArg ? static_cast<int32_t>(bitsArg) : DescribeSource(*source).writeBits;
    const int64_t outFrames = int64_t{source->GetLengthSample()} * rate / source->GetSampleRate();
    if (const std::string tooLarge = LSNKPCMFileBase::CheckSize(out, outFrames, channels, bits / 8);
        !tooLarge.empty()) {
        PrintError(tooLarge + " " + out + " was left as it was.");
        return kExitFailed;
    }

    if (rate > source->GetSampleRate() &&
        LRateFilter(source->GetSampleRate(), rate, false).Step() == 0) {
        PrintError("cannot convert " + in + " from " + std::to_string(source->GetSampleRate()) +
                   " Hz to " + std::to_string(rate) +
                   " Hz: the rates are too far apart (the output rate must be less than 510 "
                   "times the input rate)");
        return kExitFailed;
    }

    LSafeReplace replace(out);
    if (replace.Failed()) {
        PrintError("cannot write " + out + ": " + replace.ErrorText());
        return kExitFailed;
    }
    auto sink = LWaveFile::CreateSink(replace.TempPath(), rate, 0, bits / 8, channels);
    if (sink->IsError()) {
        PrintError("cannot create " + out + ": check the folder exists and you may write to it");
        return kExitFailed;
    }

    LTerminalProgress progress;
    const int result = LPRSourceToSink(source, sink, &progress, "Converting").Process();
    progress.Done();
    if (result == kJobCancelled) {
        PrintError("interrupted; " + out + " was left as it was");
        return kExitCancelled;
    }
    if (result != kJobDone) {
        PrintError("cannot convert " + in + " to " + std::to_string(rate) + " Hz, " +
                   std::to_string(channels) + " channel(s)");
        return kExitFailed;
    }
    const bool written = sink->Finish() && !sink->WriteFailed();
    sink.Reset();
    if (!written) {
        PrintError("cannot write " + out + " (is the disk full?); it was left as it was");
        return kExitFailed;
    }
    if (!replace.Commit()) {
        PrintError("cannot replace " + out + ": " + replace.ErrorText() +
                   " It was left as it was.");
        return kExitFailed;
    }
    if (replace.OtherLinks() > 0)
        PrintError("note: " + out + " had " + std::to_string(replace.OtherLinks()) +
                   " other hard link(s); they keep the old contents");
    return kExitOk;
}

}  // namespace osmera::cli
