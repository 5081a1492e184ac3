// osmera-cli info FILE...
//
// One line per file of space-separated key=value pairs that scripts can read. Values
// holding spaces or quotes are quoted with backslash escapes; message= is always quoted.
// frames= and time= give the length the file states. A file that ends before its header
// says adds present-frames= and present-time=, one longer than a document can hold adds
// opened-frames=, and either, or more than two channels, adds a quoted warning=.
// reader= names the reader that opened the file (wav, sndfile, ffmpeg, raw), duration=
// the stated length in seconds, and the tags the file has follow as title=, artist=,
// album=, year=, genre=, comment= and track=. --rate, --channels, --encoding and --endian
// describe headerless files (.raw, .pcm, .vox, .gsm).
// With --loudness the file is read through and its EBU R128 integrated loudness
// (loudness=, LUFS), loudness range (loudness-range=, LU) and true peak (true-peak=,
// dBTP) are added, one decimal each; -inf for silence.

#include <cmath>
#include <cstdio>

#include "cli/args.h"
#include "cli/commands.h"
#include "cli/format_options.h"
#include "cli/source_description.h"
#include "effects/loudness.h"
#include "formats/audio_tags.h"
#include "formats/open_audio_source.h"
#include "formats/open_error_message.h"
#include "formats/opened_file_facts.h"

namespace osmera::cli {
namespace {

const char* ReaderName(LReaderKind kind) {
    switch (kind) {
        case LReaderKind::kWav:
            return "wav";
        case LReaderKind::kSndFile:
            return "sndfile";
        case LReaderKind::kFfmpeg:
            return "ffmpeg";
        case LReaderKind::kRaw:
        case LReaderKind::kVox:
        case LReaderKind::kGsm:
            return "raw";
        case LReaderKind::kUnknown:
            break;
    }
    return "unknown";
}

std::string Decibels(double v) {
    if (!std::isfinite(v))
        return "-inf";
    char text[32];
    std::snprintf(text, sizeof text, "%.1f", v);
    return text;
}

}  // namespace

int RunInfo(int argc, char** argv) {
    LArgs args(argc, argv, OpenOptionNames(), {"loudness"});
    if (!args.Error().empty() || args.Positional().empty()) {
        PrintError(args.Error().empty() ? "info needs at least one file" : args.Error());
        return kExitUsage;
    }
    LOpenOptions options;
    std::string error;
    if (!ParseOpenOptions(args, options, error)) {
        PrintError(error);
        return kExitUsage;
    }
    options.multichannel = LOpenOptions::Channels::kKeep;
    int exitCode = kExitOk;
    for (const std::string& path : args.Positional()) {
        LOpenReport opened;
        LSourceRef source = OpenAudioSource(path, options, &opened);
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
        std::string warning = facts.ChannelsNote(path);
        for (const std::string& w : facts.Warnings(path))
            warning += (warning.empty() ? "" : " ") + w;
        if (!warning.empty())
            line += " warning=" + QuoteValue(warning, true);
        // Added after the older fields, so that scripts reading those keep working.
        std::string extra;
        char seconds[32];
        std::snprintf(seconds, sizeof seconds, "%.3f",
                      static_cast<double>(facts.claimedFrames) / static_cast<double>(rate));
        extra += std::string(" duration=") + seconds + " reader=" + ReaderName(opened.reader);
        const LAudioTags tags = ReadAudioTags(path);
        for (const auto& [key, value] : {std::pair<const char*, std::string>{"title", tags.title},
                                         {"artist", tags.artist},
                                         {"album", tags.album},
                                         {"year", tags.year ? std::to_string(tags.year) : ""},
                                         {"genre", tags.genre},
                                         {"comment", tags.comment},
                                         {"track", tags.track ? std::to_string(tags.track) : ""}}) {
            if (!value.empty())
                extra += std::string(" ") + key + "=" + QuoteValue(value);
        }
        std::printf("%s%s\n", line.c_str(), extra.c_str());
    }
    return exitCode;
}

}  // namespace osmera::cli
