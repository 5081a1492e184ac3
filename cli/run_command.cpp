// osmera-cli run SCRIPT [--work-dir DIR] [--settings FILE]
//
// Runs a batch script of editing commands (script_runner.h). The cut tank works in a locked
// folder of its own inside the temporary folder, or inside --work-dir when given, so a script
// never touches the cuts of a running editor or of another run, nor the user's files; the
// folder and every cut file are removed when the script ends, whether it finished, failed or
// was interrupted. What runs killed outright left there goes at the next start.

#include <cstdio>
#include <filesystem>
#include <memory>
#include <system_error>

#include "cli/args.h"
#include "cli/commands.h"
#include "cli/ini_settings_store.h"
#include "cli/run_folder.h"
#include "cli/terminal_progress.h"
#include "effects/script_effect_commands.h"
#include "effects/script_runner.h"

namespace osmera::cli {
namespace {

// The runner's lines as this program prints them: printed lines on stdout, failing lines
// on stderr as they are, messages about the run on stderr after the program's name.
LScriptOutput TerminalOutput() {
    LScriptOutput output;
    output.print = [](const std::string& line) {
        std::fprintf(stdout, "%s\n", line.c_str());
        std::fflush(stdout);
    };
    output.report = [](const std::string& line) { std::fprintf(stderr, "%s\n", line.c_str()); };
    output.note = [](const std::string& line) { PrintError(line); };
    return output;
}

int ExitCode(int scriptResult) {
    switch (scriptResult) {
        case kScriptOk:
            return kExitOk;
        case kScriptBadLine:
            return kExitUsage;
        case kScriptCancelled:
            return kExitCancelled;
        default:
            return kExitFailed;
    }
}

}  // namespace

int RunScript(int argc, char** argv) {
    LArgs args(argc, argv, {"work-dir", "settings"});
    if (args.Error().empty() && args.Positional().size() != 1) {
        PrintError("run needs one script file (see osmera-cli run --help)");
        return kExitUsage;
    }
    if (!args.Error().empty()) {
        PrintError(args.Error());
        return kExitUsage;
    }
    const std::string& script = args.Positional()[0];
    std::error_code ec;
    if (std::filesystem::is_directory(script, ec)) {
        PrintError("cannot read the script " + script + ": it is a folder");
        return kExitFailed;
    }
    const std::string workDir = args.Value("work-dir").value_or("");
    LRunFolder folder(workDir);
    if (!folder.IsReady()) {
        PrintError(folder.Message());
        return kExitFailed;
    }
    // Scripts never start playback: the cursor simply lands at the start of each change.
    LMemorySettingsStore memorySettings;
    std::unique_ptr<LIniSettingsStore> fileSettings;
    if (const auto file = args.Value("settings")) {
        fileSettings = std::make_unique<LIniSettingsStore>(*file);
        if (fileSettings->IsGood())  // the first write shows whether the file can be saved
            fileSettings->SetInt("Settings", "AutoPlaybackAfterEffects", 0);
        if (!fileSettings->IsGood()) {
            PrintError("cannot use the settings file " + *file + ": " + fileSettings->Problem());
            return kExitFailed;
        }
    }
    LSettingsStore& settings =
        fileSettings ? static_cast<LSettingsStore&>(*fileSettings) : memorySettings;
    settings.SetInt("Settings", "AutoPlaybackAfterEffects", 0);
    SetScriptSettings(&settings);
    LTerminalProgress progress;
    int code;
    {
        LDocumentController controller(settings);
        const LScriptCommandTable table = MakeScriptCommandTable();
        LScriptRunner runner(table, controller, progress, TerminalOutput());
        code = ExitCode(runner.Run(script));
    }  // documents, undo steps and the clipboard release their cuts here
    SetScriptSettings(nullptr);
    progress.Done();
    if (fileSettings && !fileSettings->IsGood()) {
        PrintError("the settings were not saved to " + *args.Value("settings") + ": " +
                   fileSettings->Problem());
        if (code == kExitOk)
            code = kExitFailed;
    }
    return code;
}

}  // namespace osmera::cli
