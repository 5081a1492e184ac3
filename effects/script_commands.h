#pragma once
// The commands a batch script may use, as a table of name -> handler that other parts of the
// program extend. A family of commands lives in its own file with a registration function:
//
//     void RegisterEffectScriptCommands(LScriptCommandTable& table) {
//         table.Add({"normalize", "normalize PERCENT", {LScriptArg::kInt}, 1, {},
//                    [](LScriptContext& ctx, const LScriptArgs& args) -> std::string {
//                        LOMFile* doc = ctx.Document();
//                        if (!doc) return kNoDocumentMessage;
//                        ...
//                        return {};  // done
//                    }});
//     }
//
// and one line in MakeScriptCommandTable (script_commands.cpp) calls it.
//
// Every word of every line is checked against the command's argument kinds before the first
// line runs, so a misspelt line never leaves half a job done: time words within the
// 32-bit range of milliseconds and frames, whole numbers within 32 bits, and what the
// command's own check demands. A handler returns "" when it
// did its work, else the sentence that the runner prints as "SCRIPT:LINE: sentence" before
// it stops the script. Handlers that pump audio pass ctx.progress to the job so that Ctrl+C
// stops it; the runner notices the cancel itself.

#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "core/progress.h"
#include "edit/document_controller.h"

namespace osmera {

extern const char* const kNoDocumentMessage;

// What the words of a command must be.
enum class LScriptArg {
    kTime,  // position or length: time text or frames with a trailing 'f' (script_words.h)
    kInt,   // whole number within 32 bits
    kPath,  // file path, relative to the script's folder unless absolute
    kWord,  // anything
};

// The words of one line after the command's name: positional words and --name VALUE options.
class LScriptArgs {
  public:
    LScriptArgs(std::vector<std::string> positional, std::map<std::string, std::string> options,
                std::filesystem::path baseFolder);

    size_t Count() const { return positional_.size(); }
    const std::string& Word(size_t i) const { return positional_[i]; }
    // A kTime word as frames at `sampleRate` (RunScriptCommand has made sure they fit the
    // current document's rate).
    int32_t Frames(size_t i, int32_t sampleRate) const;
    // A kInt word: checked to lie within 32 bits before the script runs (0 for a word that
    // does not, which only a command's own check can see).
    int64_t Int(size_t i) const;
    // A kInt word as written, at +-2^62 when beyond that: for checks that name a range.
    int64_t WideInt(size_t i) const;
    // A kPath word resolved against the script's folder.
    std::string Path(size_t i) const;
    bool HasOption(const std::string& name) const { return options_.count(name) != 0; }
    const std::string& Option(const std::string& name) const { return options_.at(name); }

  private:
    std::vector<std::string> positional_;
    std::map<std::string, std::string> options_;
    std::filesystem::path baseFolder_;
};

// Where the text of a script run goes, one line per call without its newline. An empty
// function drops its lines. Called on the thread that runs the script.
struct LScriptOutput {
    // What commands print for the user (`info`, `get`, "N clicks repaired").
    std::function<void(const std::string& line)> print;
    // A failing line, as "SCRIPT:LINE: message".
    std::function<void(const std::string& line)> report;
    // A message about the run itself ("cannot read the script ...") or a warning
    // ("warning: ..."); the command-line program puts its own name before it.
    std::function<void(const std::string& line)> note;
};

// Everything a handler works on. Owned by the runner for the whole script; the controller,
// the progress and the output are the caller's.
struct LScriptContext {
    LDocumentController& controller;
    LProgress& progress;
    const LScriptOutput& output;

    LOMFile* Document() const { return controller.GetCurrent(); }
    void Print(const std::string& line) const {
        if (output.print)
            output.print(line);
    }
    void Note(const std::string& line) const {
        if (output.note)
            output.note(line);
    }
};

using LScriptHandler = std::string (*)(LScriptContext& ctx, const LScriptArgs& args);
// Further checks of a line's words before the script runs ("" when fine); may be null.
// Runs before kInt words are held to 32 bits, so it can refuse with its own range.
using LScriptCheck = std::string (*)(const LScriptArgs& args);

struct LScriptCommand {
    std::string name;
    std::string usage;              // "select START END", shown when a line is wrong
    std::vector<LScriptArg> args;   // kinds of the positional words, in order
    size_t required = 0;            // how many of them must be given
    std::set<std::string> options;  // --name VALUE options the command takes
    LScriptHandler run = nullptr;
    LScriptCheck check = nullptr;
};

class LScriptCommandTable {
  public:
    // Adds `command`; a later command of the same name replaces the earlier one.
    void Add(LScriptCommand command);
    const LScriptCommand* Find(const std::string& name) const;
    const std::map<std::string, LScriptCommand>& All() const { return commands_; }

  private:
    std::map<std::string, LScriptCommand> commands_;
};

// open, new, select, select-all, cursor, cut, copy, paste, paste-over, delete, trim,
// trim-start, trim-end, silence, insert-silence, repeat, amplify, undo, info, save, close.
void RegisterEditScriptCommands(LScriptCommandTable& table);

// Runs one line's command: first refuses a time word whose frames lie beyond the 32-bit
// range at the current document's rate (a time in seconds means a number of frames only
// once the rate is known), then calls the handler. The result is the handler's.
std::string RunScriptCommand(const LScriptCommand& command, LScriptContext& ctx,
                             const LScriptArgs& args);

// The table of every command scripts know.
LScriptCommandTable MakeScriptCommandTable();

// Reads the words after the command name into `args`; false (and `error` set) when they
// do not fit the command.
bool ParseScriptArgs(const LScriptCommand& command, const std::vector<std::string>& words,
                     const std::filesystem::path& baseFolder, LScriptArgs& args,
                     std::string& error);

}  // namespace osmera
