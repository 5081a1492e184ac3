// osmera-cli markers FILE [--export OUT.txt | --import IN.txt --out OUT.wav [--replace]]
//
// The bookmarks and regions a WAV file keeps as cue points. Without options, lists them one a
// line as key=value pairs (type bookmark or region, name, start and end in seconds and in
// frames), in order of position. --export writes them to a label text file (start TAB end TAB
// name, in seconds; edit/marker_label_file.h). --import adds the markers of a label file to
// FILE's own (--replace: instead of them) and writes FILE's audio with them to OUT.wav, which
// may be FILE itself: OUT is replaced only when the whole file was written.

#include <cstdio>

#include "cli/args.h"
#include "cli/commands.h"
#include "cli/source_description.h"
#include "cli/terminal_progress.h"
#include "edit/marker_label_file.h"
#include "edit/marker_list.h"
#include "formats/audio_file_writer.h"
#include "formats/open_audio_source.h"
#include "formats/open_error_message.h"

namespace osmera::cli {
namespace {

std::string SecondsText(int32_t frames, int32_t rate) {
    char text[48];
    std::snprintf(text, sizeof text, "%.6f", static_cast<double>(frames) / rate);
    return text;
}

void PrintMarker(const char* type, const std::string& name, int32_t start, int32_t end,
                 int32_t rate) {
    std::printf("type=%s name=%s start=%s end=%s start-frame=%d end-frame=%d\n", type,
                QuoteValue(name).c_str(), SecondsText(start, rate).c_str(),
                SecondsText(end, rate).c_str(), start, end);
}

}  // namespace

int RunMarkers(int argc, char** argv) {
    LArgs args(argc, argv, {"export", "import", "out"}, {"replace"});
    std::string error = args.Error();
    if (error.empty() && args.Positional().size() != 1)
        error = "markers needs one audio file (see osmera-cli markers --help)";
    if (error.empty() && args.Has("export") && args.Has("import"))
        error = "--export and --import cannot be used together";
    if (error.empty() && args.Has("import") != args.Has("out"))
        error = "--import needs --out OUT.wav, and --out needs --import";
    if (error.empty() && args.Has("replace") && !args.Has("import"))
        error = "--replace goes with --import";
    const std::string out = args.Value("out").value_or("");
    LWriteOptions writeOptions;
    if (error.empty() && args.Has("out")) {
        const LWriteFormat* format = ChooseWriteFormat(out, writeOptions);
        if (!format || std::string(format->name) != "wav")
            error = "markers are kept only in WAV files: " + out + " must end in .wav";
    }
    if (!error.empty()) {
        PrintError(error);
        return kExitUsage;
    }

    const std::string& in = args.Positional()[0];
    LSourceRef source = OpenAudioSource(in);
    if (!source->IsOk()) {
        PrintError(OpenErrorMessage(*source, in));
        return kExitFailed;
    }
    const int32_t rate = source->GetSampleRate();
    const int32_t length = source->GetLengthSample();
    LMarkerList markers;
    markers.AddWaveCues(ReadWaveCues(in), length);

    if (auto path = args.Value("export")) {
        std::string message;
        if (!WriteLabelFile(*path, markers, static_cast<uint32_t>(rate), &message)) {
            PrintError(message);
            return kExitFailed;
        }
        return kExitOk;
    }
    if (auto path = args.Value("import")) {
        if (args.Has("replace"))
            markers.Clear();
        std::string message;
        int skipped = 0;
        if (!ReadLabelFile(*path, static_cast<uint32_t>(rate), length, markers, &message,
                           &skipped)) {
            PrintError(message + "; " + out + " was not written");
            return kExitFailed;
        }
        if (skipped > 0)
            PrintError("warning: " + std::to_string(skipped) + " marker(s) of " + *path +
                       " start after the end of " + in + " and were left out");
        const std::vector<LWaveCue> cues = markers.ToWaveCues();
        LSaveRequest request;
        request.options = writeOptions;
        request.options.bits = DescribeSource(*source).writeBits;
        request.title = "Saving";
        const LAudioTags tags = ReadAudioTags(in);
        request.tags = &tags;
        request.cues = &cues;
        LTerminalProgress progress;
        const int result = SaveSourceAs(source, out, request, &progress, &message);
        progress.Done();
        return JobExitCode(result, out, message);
    }
    for (const LWaveCue& cue : markers.ToWaveCues()) {
        const int32_t start = static_cast<int32_t>(cue.position);
        PrintMarker(cue.length ? "region" : "bookmark", cue.name, start,
                    static_cast<int32_t>(start + cue.length), rate);
    }
    return kExitOk;
}

}  // namespace osmera::cli
