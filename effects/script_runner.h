#pragma once
// Runs a batch script: a text file of editing commands, one per line, on documents held by
// a document controller. Blank lines and '#' comments are skipped; paths are relative to
// the script's folder. The command-line program (`osmera-cli run`) and the editor
// ("-batch SCRIPT") run scripts through this same runner.
//
// The whole script is read and every line checked against the command table first, so a
// misspelt line stops the script before anything was done. Then the lines run in order
// until one fails, or the user cancels through the progress (checked between lines and
// inside every pump). A failing line is reported through the output's `report` as
// "SCRIPT:LINE: message". A line that may write new audio is refused before it starts when
// the cut tank has no free number left (kCutTankFullMessage: save, close and reopen);
// edits, saving and closing still run.
//
// Ownership: the caller owns and lends the command table, the document controller (its
// documents are the ones the script works on; the command-line program makes one of its
// own, the editor lends its own), the progress and the output, for the runner's life. The
// runner uses whatever cut tank folder the caller set up; it does not clean it. The effect
// and settings commands use the store set by SetScriptSettings (script_effect_commands.h).
//
// Threads: one thread, the one that owns the controller's documents, for the whole run.
// No terminal is needed: every line of text goes to the output's functions.

#include <string>
#include <vector>

#include "effects/script_commands.h"

namespace osmera {

// Results of a run.
enum : int {
    kScriptOk = 0,
    kScriptFailed = 1,       // a line failed while running, or the script could not be read
    kScriptBadLine = 2,      // a line does not fit its command: nothing was run
    kScriptCancelled = 130,  // cancelled through the progress
};

class LScriptRunner {
  public:
    LScriptRunner(const LScriptCommandTable& table, LDocumentController& controller,
                  LProgress& progress, LScriptOutput output);

    // Runs the script file; returns kScriptOk, kScriptBadLine, kScriptFailed or
    // kScriptCancelled. The same as Load and then RunLoaded.
    int Run(const std::string& scriptPath);

    // Reads and checks every line of the script file without running any: kScriptOk,
    // kScriptBadLine (reported) or kScriptFailed (the file cannot be read; noted).
    int Load(const std::string& scriptPath);
    // The same for a script's text already read; `scriptPath` names it in reports and
    // its folder is the base of relative paths.
    int LoadText(const std::string& text, const std::string& scriptPath);
    // Runs the lines the last successful Load left, on the controller's current document.
    int RunLoaded();
    // True when a loaded line runs the command `name` (the batch converter asks for "save").
    bool Uses(const std::string& name) const;

  private:
    struct Line {
        int number;
        const LScriptCommand* command;
        LScriptArgs args;
    };

    void Report(const std::string& script, int line, const std::string& message);

    const LScriptCommandTable& table_;
    std::string scriptPath_;
    std::vector<Line> lines_;
    LScriptOutput output_;
    LScriptContext context_;
};

}  // namespace osmera
