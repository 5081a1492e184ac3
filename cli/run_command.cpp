// osmera-cli run SCRIPT [--work-dir DIR] [--settings FILE]
//
// Runs a batch script of editing commands (script_runner.h). The cut tank works in a private
// folder, a fresh temporary one unless --work-dir names one, so a script never touches the
// cuts of a running editor; every cut file is removed when the script ends, whether it
// finished, failed or was interrupted, and a temporary folder is removed with them.

#include <stdlib.h>

#include <filesystem>
#include <memory>
#include <system_error>

#include "cli/args.h"
#include "cli/commands.h"
#include "cli/ini_settings_store.h"
#include "cli/script_effect_commands.h"
#include "cli/script_runner.h"
#include "cli/terminal_progress.h"
#include "edit/audio_cut_tank.h"

namespace osmera::cli {
namespace {

// The tank's folder for one run; its cut files go when this goes (after every list that
// names a cut), and the folder too when it was made for the run.
class LRunFolder {
  public:
    explicit LRunFolder(const std::string& workDir) {
        std::error_code ec;
        if (!workDir.empty()) {
            std::filesystem::create_directories(workDir, ec);
            if (std::filesystem::is_directory(workDir, ec))
                path_ = workDir;
        } else {
            std::string pattern =
                (std::filesystem::temp_directory_path(ec) / "osmera-run-XXXXXX").string();
            if (::mkdtemp(pattern.data())) {
                path_ = pattern;
                owned_ = true;
            }
        }
        if (!path_.empty())
            LAudioCutTank::Instance().SetFolder(path_);
    }
    ~LRunFolder() {
        if (path_.empty())
            return;
        LAudioCutTank::Instance().Reset();  // deletes every cut file of the folder
        std::error_code ec;
        if (owned_)
            std::filesystem::remove_all(path_, ec);
    }
    LRunFolder(const LRunFolder&) = delete;
    LRunFolder& operator=(const LRunFolder&) = delete;

    bool IsReady() const { return !path_.empty(); }

  private:
    std::string path_;
    bool owned_ = false;
};

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
        PrintError(workDir.empty() ? "cannot make a temporary working folder"
                                   : "cannot use " + workDir + " as the working folder");
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
        LScriptRunner runner(table, controller, progress);
        code = runner.Run(script);
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
