// osmera-cli cd-burn [--dev DEVICE|IMAGE.cue] [--simulate] [--speed KBS] [--no-eject]
//                    [--gap SECONDS] [--title TEXT] [--performer TEXT] FILE...
//
// Burns the files as the tracks of an audio CD, in the order given, each converted to CD
// audio when it is not 44.1 kHz stereo (with a notice saying so), its tags' title and
// artist as CD-TEXT. --dev names the writer (default the first one found) or a .cue file
// to write a disc image instead.

#include <cstdio>
#include <filesystem>

#include "cli/args.h"
#include "cli/commands.h"
#include "cli/terminal_progress.h"
#include "devices/cd_burner.h"
#include "formats/audio_tags.h"

namespace osmera::cli {

int RunCdBurn(int argc, char** argv) {
    LArgs args(argc, argv, {"dev", "speed", "gap", "title", "performer"}, {"simulate", "no-eject"});
    if (!args.Error().empty() || args.Positional().empty()) {
        PrintError(args.Error().empty()
                       ? "cd-burn needs the files to burn (see osmera-cli cd-burn --help)"
                       : args.Error());
        return kExitUsage;
    }
    LCdBurnRequest request;
    request.simulate = args.Has("simulate");
    request.eject = !args.Has("no-eject");
    request.speedKb = static_cast<int32_t>(args.IntValue("speed", 0, 0, 100000));
    const long gap = args.IntValue("gap", 2, 0, 60);
    request.discTitle = args.Value("title").value_or("");
    request.discPerformer = args.Value("performer").value_or("");
    if (!args.Error().empty()) {
        PrintError(args.Error());
        return kExitUsage;
    }
    request.device = args.Value("dev").value_or("");
    if (request.device.empty()) {
        const std::vector<std::string> drives = CdBurnDrives();
        if (drives.empty()) {
            PrintError("no CD writer was found; name one with --dev, or a .cue file");
            return kExitFailed;
        }
        request.device = drives.front();
    }
    for (const std::string& file : args.Positional()) {
        LCdBurnItem item;
        item.path = file;
        const LAudioTags tags = ReadAudioTags(file);
        item.title = tags.title.empty() ? std::filesystem::path(file).stem().string() : tags.title;
        item.performer = tags.artist;
        item.gapSectors = static_cast<int32_t>(gap * 75);
        request.tracks.push_back(item);
    }
    LTerminalProgress progress;
    LCdBurnReport report;
    std::string message;
    const int result = BurnAudioCd(request, &progress, report, message);
    progress.Done();
    for (const std::string& n : report.notices)
        PrintError("note: " + n);
    if (result == kJobCancelled) {
        PrintError("interrupted; the disc was not finished");
        return kExitCancelled;
    }
    if (result != kJobDone) {
        PrintError(message);
        return kExitFailed;
    }
    std::printf("%s %zu tracks to %s\n", request.simulate ? "simulated" : "burned",
                request.tracks.size(), request.device.c_str());
    return kExitOk;
}

}  // namespace osmera::cli
