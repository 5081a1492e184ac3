#pragma once
// Runs a batch script: a text file of editing commands, one per line, on documents held by
// a document controller. Blank lines and '#' comments are skipped; paths are relative to
// the script's folder.
//
// The whole script is read and every line checked against the command table first, so a
// misspelt line stops the script before anything was done. Then the lines run in order
// until one fails, or the user presses Ctrl+C (checked between lines and inside every
// pump). A failing line is reported on stderr as "SCRIPT:LINE: message". A line that may
// write new audio is refused before it starts when the cut tank has no free number left
// (kCutTankFullMessage: save, close and reopen); edits, saving and closing still run.
//
// The runner uses whatever cut tank folder was set up by its caller; it does not clean it.

#include <cstdio>
#include <string>

#include "cli/script_commands.h"

namespace osmera::cli {

class LScriptRunner {
  public:
    // `table`, `controller` and `progress` are borrowed for the runner's life.
    LScriptRunner(const LScriptCommandTable& table, LDocumentController& controller,
                  LProgress& progress, FILE* out = stdout, FILE* err = stderr);

    // Runs the script file; returns the exit code: kExitOk, kExitUsage for a line that does
    // not fit its command (nothing was run), kExitFailed for a line that failed while
    // running (or an unreadable script), kExitCancelled after Ctrl+C.
    int Run(const std::string& scriptPath);

  private:
    void Report(const std::string& script, int line, const std::string& message);

    const LScriptCommandTable& table_;
    LScriptContext context_;
    FILE* err_;
};

}  // namespace osmera::cli
