// osmera-cli info FILE...
//
// One line per file of space-separated key=value pairs that scripts can read. Values
// holding spaces or quotes are quoted with backslash escapes; message= is always quoted.

#include <cstdio>

#include "cli/args.h"
#include "cli/commands.h"
#include "cli/source_description.h"
#include "core/sound_time.h"
#include "formats/open_audio_source.h"
#include "formats/open_error_message.h"

namespace osmera::cli {

int RunInfo(int argc, char** argv) {
    LArgs args(argc, argv, {});
    if (!args.Error().empty() || args.Positional().empty()) {
        PrintError(args.Error().empty() ? "info needs at least one file" : args.Error());
        return kExitUsage;
    }
    int exitCode = kExitOk;
    for (const std::string& path : args.Positional()) {
        LSourceRef source = OpenAudioSource(path);
        if (!source->IsOk()) {
            std::printf("file=%s error=%d message=%s\n", QuoteValue(path).c_str(),
                        source->GetError(),
                        QuoteValue(OpenErrorMessage(*source, path), true).c_str());
            exitCode = kExitFailed;
            continue;
        }
        const LSourceDescription d = DescribeSource(*source);
        const LSoundTime length(source->GetLengthSample(), source->GetSampleRate());
        std::printf("file=%s format=%s channels=%d rate=%d bits=%d frames=%d time=%s\n",
                    QuoteValue(path).c_str(), QuoteValue(d.format).c_str(), source->GetChannels(),
                    source->GetSampleRate(), d.bits, source->GetLengthSample(),
                    LSoundTime::FormatHundredths(length.GetMilliseconds()).c_str());
    }
    return exitCode;
}

}  // namespace osmera::cli
