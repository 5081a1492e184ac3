#include "effects/script_runner.h"

#include <filesystem>
#include <fstream>
#include <set>
#include <utility>

#include "edit/audio_cut_tank.h"
#include "effects/script_words.h"

namespace osmera {
namespace {

struct ParsedLine {
    int number;
    const LScriptCommand* command;
    LScriptArgs args;
};

// Commands that only rearrange audio already in cuts, or touch no audio: they still run when
// the cut tank has no free number left, so that a script can save and close what it has.
// Every other command (open, every effect, and whatever is added later) may write new cuts
// and is refused before it starts when no number is free.
bool MakesNoNewCut(const std::string& name) {
    static const std::set<std::string> kRearranging = {
        "new",        "select", "select-all", "cursor",     "cut",      "copy",    "paste",
        "paste-over", "delete", "trim",       "trim-start", "trim-end", "silence", "insert-silence",
        "undo",       "info",   "save",       "close",      "set",      "get"};
    return kRearranging.count(name) != 0;
}

}  // namespace

LScriptRunner::LScriptRunner(const LScriptCommandTable& table, LDocumentController& controller,
                             LProgress& progress, LScriptOutput output)
    : table_(table), output_(std::move(output)), context_{controller, progress, output_} {}

void LScriptRunner::Report(const std::string& script, int line, const std::string& message) {
    if (output_.report)
        output_.report(script + ":" + std::to_string(line) + ": " + message);
}

int LScriptRunner::Run(const std::string& scriptPath) {
    std::ifstream in(scriptPath);
    if (!in) {
        context_.Note("cannot read the script " + scriptPath);
        return kScriptFailed;
    }
    const std::filesystem::path base =
        std::filesystem::absolute(std::filesystem::path(scriptPath)).parent_path();

    std::vector<ParsedLine> lines;
    std::string text;
    std::vector<std::string> words;
    std::string error;
    for (int number = 1; std::getline(in, text); ++number) {
        if (!text.empty() && text.back() == '\r')
            text.pop_back();
        if (!SplitScriptLine(text, words, error)) {
            Report(scriptPath, number, error);
            return kScriptBadLine;
        }
        if (words.empty())
            continue;
        const LScriptCommand* command = table_.Find(words[0]);
        if (!command) {
            Report(scriptPath, number, "unknown command '" + words[0] + "'");
            return kScriptBadLine;
        }
        LScriptArgs args({}, {}, base);
        if (!ParseScriptArgs(*command, words, base, args, error)) {
            Report(scriptPath, number, error);
            return kScriptBadLine;
        }
        lines.push_back({number, command, std::move(args)});
    }

    for (const ParsedLine& line : lines) {
        if (context_.progress.IsCancelled())
            break;
        if (!MakesNoNewCut(line.command->name) && !LAudioCutTank::Instance().HasFreeCuts()) {
            Report(scriptPath, line.number, kCutTankFullMessage);
            return kScriptFailed;
        }
        const std::string message = RunScriptCommand(*line.command, context_, line.args);
        if (context_.progress.IsCancelled())
            break;
        if (!message.empty()) {
            Report(scriptPath, line.number, message);
            return kScriptFailed;
        }
    }
    if (context_.progress.IsCancelled()) {
        context_.Note("interrupted; files not yet saved were left as they were");
        return kScriptCancelled;
    }
    return kScriptOk;
}

}  // namespace osmera
