// osmera-cli speak "TEXT" OUT [--voice V] [--rate WPM] [--pitch P] [--volume V] [--gap G]
//                   [--out-rate HZ] [--work-dir DIR]
// osmera-cli speak --file TEXT.txt OUT [the same options]
//
// Speaks TEXT (or the UTF-8 text of TEXT.txt) with an installed voice and saves the speech in
// the format OUT's extension selects (16-bit PCM for WAV), at espeak-ng's own 22050 Hz or at
// --out-rate. Each sentence start becomes a bookmark, kept as a cue point in a WAV file. OUT
// is replaced only when the whole file was written; an empty text, a value out of range or
// an unknown voice writes nothing.

#include <fstream>
#include <sstream>

#include "cli/args.h"
#include "cli/commands.h"
#include "cli/run_folder.h"
#include "cli/terminal_progress.h"
#include "edit/document_io.h"
#include "effects/speech_synth.h"

namespace osmera::cli {

int RunSpeak(int argc, char** argv) {
    LArgs args(argc, argv,
               {"voice", "rate", "pitch", "volume", "gap", "out-rate", "file", "work-dir"});
    LSpeechParams params;
    params.voice = args.Value("voice").value_or("");
    params.rate = static_cast<int32_t>(
        args.IntValue("rate", params.rate, LSpeechParams::kMinRate, LSpeechParams::kMaxRate));
    params.pitch =
        static_cast<int32_t>(args.IntValue("pitch", params.pitch, 0, LSpeechParams::kMaxPitch));
    params.volume =
        static_cast<int32_t>(args.IntValue("volume", params.volume, 0, LSpeechParams::kMaxVolume));
    params.wordGap =
        static_cast<int32_t>(args.IntValue("gap", params.wordGap, 0, LSpeechParams::kMaxWordGap));
    params.outRate = static_cast<int32_t>(args.IntValue(
        "out-rate", params.outRate, LSpeechParams::kMinOutRate, LSpeechParams::kMaxOutRate));
    std::string error = args.Error();
    const size_t words = args.Has("file") ? 1 : 2;
    if (error.empty() && args.Positional().size() != words)
        error = args.Has("file") ? "speak --file TEXT.txt needs one output file"
                                 : "speak needs the text and an output file (see osmera-cli "
                                   "speak --help)";
    if (!error.empty()) {
        PrintError(error);
        return kExitUsage;
    }

    std::string text;
    if (auto path = args.Value("file")) {
        std::ifstream in(*path, std::ios::binary);
        std::ostringstream read;
        read << in.rdbuf();
        if (!in.good() && !in.eof()) {
            PrintError("cannot read the text file " + *path);
            return kExitFailed;
        }
        text = read.str();
    } else {
        text = args.Positional()[0];
    }
    const std::string& out = args.Positional().back();
    error = LSpeechSynth::Check(text, params);
    if (!error.empty()) {
        PrintError(error + " " + out + " was not written.");
        return kExitFailed;
    }

    LRunFolder folder(args.Value("work-dir").value_or(""));
    if (!folder.IsReady()) {
        PrintError(folder.Message());
        return kExitFailed;
    }
    LCutListAudio speech;
    LMarkerList markers;
    LTerminalProgress progress;
    int result = LSpeechSynth::Speak(text, params, speech, markers, &progress, &error);
    if (result == kJobDone) {
        LWriteOptions options;
        options.bits = 16;
        const std::vector<LWaveCue> cues = markers.ToWaveCues();
        result = SaveAudioFile(speech, out, options, nullptr, &progress, &error, "Saving", &cues);
    }
    progress.Done();
    return JobExitCode(result, out, error);
}

}  // namespace osmera::cli
