// osmera-cli convert IN OUT [--rate HZ] [--channels 1|2] [--bits 8|16|24|32]
//                    [--format NAME] [--quality Q] [--bitrate KBPS] [--compression 0-8]
//                    [--encoding ENC] [--endian little|big] [--pair N]
//
// Pumps IN through the format-matching chain into the writer that OUT's extension (or
// --format) selects: WAV, FLAC, Ogg Vorbis, Opus, MP3, AIFF, AU, CAF, W64, RF64, raw, VOX,
// GSM. The output is written beside OUT under a temporary name and moved over OUT only
// when everything was written, so a failure or Ctrl+C never leaves half a file where OUT
// was. For a headerless input (.raw, .pcm, .vox, .gsm) --rate, --channels, --encoding and
// --endian describe the input; otherwise --rate and --channels are the output's, and
// --encoding and --endian describe a raw output. An input of more than two channels is
// mixed down to stereo (or --pair N takes its channels 2N-1 and 2N), with a note saying
// so. Inputs longer than 2147483647 frames and outputs too large for a WAV header are
// refused before anything is written; an input that ends before its header says is
// converted (the rest as silence) with a warning.

#include <cstdio>

#include "cli/args.h"
#include "cli/commands.h"
#include "cli/format_options.h"
#include "cli/source_description.h"
#include "cli/terminal_progress.h"
#include "core/rate_filter.h"
#include "formats/audio_file_writer.h"
#include "formats/open_audio_source.h"
#include "formats/open_error_message.h"
#include "formats/opened_file_facts.h"

namespace osmera::cli {

int RunConvert(int argc, char** argv) {
    std::set<std::string> names = WriteOptionNames();
    names.insert(OpenOptionNames().begin(), OpenOptionNames().end());
    LArgs args(argc, argv, names);
    if (args.Error().empty() && args.Positional().size() != 2) {
        PrintError("convert needs an input and an output file (see osmera-cli convert --help)");
        return kExitUsage;
    }
    const std::string& in = args.Positional().size() == 2 ? args.Positional()[0] : "";
    const std::string& out = args.Positional().size() == 2 ? args.Positional()[1] : "";
    const bool rawInput = IsHeaderlessInput(in);
    const long rateArg = rawInput ? 0 : args.IntValue("rate", 0, 1, 196000);
    const long channelsArg = rawInput ? 0 : args.IntValue("channels", 0, 1, 2);
    LWriteOptions writeOptions;
    LOpenOptions openOptions;
    std::string error = args.Error();
    if (error.empty())
        ParseWriteOptions(args, writeOptions, error);
    if (error.empty())
        ParseOpenOptions(args, openOptions, error);
    if (!error.empty()) {
        PrintError(error);
        return kExitUsage;
    }

    LOpenReport opened;
    LSourceRef source = OpenAudioSource(in, openOptions, &opened);
    if (!source->IsOk()) {
        PrintError(OpenErrorMessage(*source, in));
        return kExitFailed;
    }
    const LOpenedFileFacts facts = LOpenedFileFacts::Of(*source);
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
    if (!opened.note.empty())
        PrintError("note: " + in + ": " + opened.note);

    const LWriteFormat* format = ChooseWriteFormat(out, writeOptions);
    const int32_t rate = format && format->fixedRate ? format->fixedRate
                         : rateArg                   ? static_cast<int32_t>(rateArg)
                                                     : source->GetSampleRate();
    if (writeOptions.bits == 0)
        writeOptions.bits = DescribeSource(*source).writeBits;
    if (rate > source->GetSampleRate() &&
        LRateFilter(source->GetSampleRate(), rate, false).Step() == 0) {
        PrintError("cannot convert " + in + " from " + std::to_string(source->GetSampleRate()) +
                   " Hz to " + std::to_string(rate) +
                   " Hz: the rates are too far apart (the output rate must be less than 510 "
                   "times the input rate)");
        return kExitFailed;
    }

    LSaveRequest request;
    request.options = writeOptions;
    request.sampleRate = static_cast<int32_t>(rateArg);
    request.channels = static_cast<uint8_t>(channelsArg);
    request.title = "Converting";
    const LAudioTags tags = ReadAudioTags(in);
    request.tags = &tags;
    LTerminalProgress progress;
    std::string message;
    const int result = SaveSourceAs(source, out, request, &progress, &message);
    progress.Done();
    return JobExitCode(result, out, message);
}

}  // namespace osmera::cli
