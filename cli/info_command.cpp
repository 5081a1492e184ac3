// osmera-cli info FILE...
//
// One line per file of space-separated key=value pairs that scripts can read. Values
// holding spaces or quotes are quoted with backslash escapes; message= is always quoted.
// frames= and time= give the length the file states. A file that ends before its header
// says adds present-frames= and present-time=, one longer than a document can hold adds
// opened-frames=, and either, or more than two channels, adds a quoted warning=.
// With --loudness the file is read through and its EBU R128 integrated loudness
// (loudness=, LUFS), loudness range (loudness-range=, LU) and true peak (true-peak=,
// dBTP) are added, one decimal each; -inf for silence.

#include <cmath>
#include <cstdio>

#include "cli/args.h"
#include "cli/commands.h"
#include "cli/source_description.h"
#include "effects/loudness.h"
#include "formats/open_audio_source.h"
#include "formats/open_error_message.h"
#include "formats/opened_file_facts.h"

namespace osmera::cli {

namespace {

std::string Decibels(double v) {
    if (!std::isfinite(v))
        return "-inf";
    char text[32];
    std::snprintf(text, sizeof text, "%.1f", v);
    return text;
}

}  // namespace

int RunInfo(int argc, char** argv) {
    LArgs args(argc, argv, {}, {"loudness"});
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
        const LOpenedFileFacts facts = LOpenedFileFacts::Of(*source);
        const int32_t rate = source->GetSampleRate();
        // frames= and time= are the length the file states; when the file holds less, or
        // more than opens, both lengths are shown and the warning says what that means.
        std::string line = "file=" + QuoteValue(path) + " format=" + QuoteValue(d.format) +
                           " channels=" + std::to_string(facts.channels) +
                           " rate=" + std::to_string(rate) + " bits=" + std::to_string(d.bits) +
                           " frames=" + std::to_string(facts.claimedFrames) +
                           " time=" + LOpenedFileFacts::TimeText(facts.claimedFrames, rate);
        if (facts.MissingFrames() > 0) {
            line += " present-frames=" + std::to_string(facts.presentFrames) +
                    " present-time=" + LOpenedFileFacts::TimeText(facts.presentFrames, rate);
        }
        if (facts.LeftOutFrames() > 0)
            line += " opened-frames=" + std::to_string(facts.openedFrames);
        if (args.Has("loudness")) {
            LLoudness loud;
            if (MeasureLoudness(nullptr, source, 0, source->GetLengthSample(), loud) == kJobDone) {
                line += " loudness=" + Decibels(loud.integrated) +
                        " loudness-range=" + Decibels(loud.range) +
                        " true-peak=" + Decibels(loud.truePeak);
            }
        }
        std::string warning = facts.ChannelsRefusal(path);
        for (const std::string& w : facts.Warnings(path))
            warning += (warning.empty() ? "" : " ") + w;
        if (!warning.empty())
            line += " warning=" + QuoteValue(warning, true);
        std::printf("%s\n", line.c_str());
    }
    return exitCode;
}

}  // namespace osmera::cli
