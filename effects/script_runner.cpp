#include "effects/script_runner.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <utility>

#include "edit/audio_cut_tank.h"
#include "effects/script_words.h"

namespace osmera {
namespace {

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
    const int loaded = Load(scriptPath);
    return loaded == kScriptOk ? RunLoaded() : loaded;
}

int LScriptRunner::Load(const std::string& scriptPath) {
    lines_.clear();
    std::ifstream in(scriptPath, std::ios::binary);
    std::error_code ec;
    if (!in || std::filesystem::is_directory(scriptPath, ec)) {
        context_.Note("cannot read the script " + scriptPath);
        return kScriptFailed;
    }
    std::ostringstream text;
    text << in.rdbuf();
    return LoadText(text.str(), scriptPath);
}

int LScriptRunner::LoadText(const std::string& text, const std::string& scriptPath) {
    lines_.clear();
    scriptPath_ = scriptPath;
    const std::filesystem::path base =
        std::filesystem::absolute(std::filesystem::path(scriptPath)).parent_path();
    std::istringstream in(text);
    std::vector<Line> lines;
    std::string lineText;
    std::vector<std::string> words;
    std::string error;
    for (int number = 1; std::getline(in, lineText); ++number) {
        if (!lineText.empty() && lineText.back() == '\r')
            lineText.pop_back();
        if (!SplitScriptLine(lineText, words, error)) {
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
    lines_ = std::move(lines);
    return kScriptOk;
}

bool LScriptRunner::Uses(const std::string& name) const {
    return std::any_of(lines_.begin(), lines_.end(),
                       [&name](const Line& line) { return line.command->name == name; });
}

int LScriptRunner::RunLoaded() {
    const std::string& scriptPath = scriptPath_;
    for (const Line& line : lines_) {
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
