#include "effects/script_commands.h"

#include <cstdint>

#include "effects/script_effect_commands.h"
#include "effects/script_words.h"

namespace osmera {

const char* const kNoDocumentMessage = "no document is open (use open or new first)";

LScriptArgs::LScriptArgs(std::vector<std::string> positional,
                         std::map<std::string, std::string> options,
                         std::filesystem::path baseFolder)
    : positional_(std::move(positional)),
      options_(std::move(options)),
      baseFolder_(std::move(baseFolder)) {}

int32_t LScriptArgs::Frames(size_t i, int32_t sampleRate) const {
    return TimeWordToFrames(positional_[i], sampleRate).value_or(0);
}

int64_t LScriptArgs::Int(size_t i) const {
    return ParseWholeNumber(positional_[i], INT32_MIN, INT32_MAX).value_or(0);
}

int64_t LScriptArgs::WideInt(size_t i) const {
    const std::string& w = positional_[i];
    const int64_t extreme = !w.empty() && w.front() == '-' ? INT64_MIN / 2 : INT64_MAX / 2;
    return ParseWholeNumber(w, INT64_MIN / 2, INT64_MAX / 2).value_or(extreme);
}

std::string LScriptArgs::Path(size_t i) const {
    const std::filesystem::path p(positional_[i]);
    return p.is_absolute() ? p.string() : (baseFolder_ / p).lexically_normal().string();
}

void LScriptCommandTable::Add(LScriptCommand command) {
    const std::string name = command.name;
    commands_.insert_or_assign(name, std::move(command));
}

const LScriptCommand* LScriptCommandTable::Find(const std::string& name) const {
    const auto it = commands_.find(name);
    return it == commands_.end() ? nullptr : &it->second;
}

namespace {

// "" when `w` fits an argument of kind `kind`, else why not.
std::string CheckWord(LScriptArg kind, const std::string& w) {
    switch (kind) {
        case LScriptArg::kTime:
            if (!IsTimeWord(w))
                return "'" + w +
                       "' is not a valid time (h:mm:ss.hh, seconds or frames with a trailing f)";
            return TimeWordRangeError(w);
        case LScriptArg::kInt:
            return IsWholeNumberText(w) ? "" : "'" + w + "' is not a valid whole number";
        case LScriptArg::kPath:
            return w.empty() ? "'' is not a valid path" : "";
        case LScriptArg::kWord:
            return {};
    }
    return {};
}

}  // namespace

bool ParseScriptArgs(const LScriptCommand& command, const std::vector<std::string>& words,
                     const std::filesystem::path& baseFolder, LScriptArgs& args,
                     std::string& error) {
    std::vector<std::string> positional;
    std::map<std::string, std::string> options;
    for (size_t i = 1; i < words.size(); ++i) {
        const std::string& w = words[i];
        if (w.size() > 2 && w.compare(0, 2, "--") == 0) {
            const std::string name = w.substr(2);
            if (command.options.count(name) == 0) {
                error =
                    command.name + " has no option --" + name + " (usage: " + command.usage + ")";
                return false;
            }
            if (i + 1 == words.size()) {
                error = "--" + name + " needs a value";
                return false;
            }
            options[name] = words[++i];
            continue;
        }
        positional.push_back(w);
    }
    if (positional.size() < command.required || positional.size() > command.args.size()) {
        error = "wrong number of words (usage: " + command.usage + ")";
        return false;
    }
    for (size_t i = 0; i < positional.size(); ++i) {
        error = CheckWord(command.args[i], positional[i]);
        if (!error.empty()) {
            error += " (usage: " + command.usage + ")";
            return false;
        }
    }
    args = LScriptArgs(std::move(positional), std::move(options), baseFolder);
    // The command's own check first, so that it can name its own range.
    if (command.check) {
        error = command.check(args);
        if (!error.empty())
            return false;
    }
    for (size_t i = 0; i < args.Count(); ++i) {
        if (command.args[i] == LScriptArg::kInt &&
            !ParseWholeNumber(args.Word(i), INT32_MIN, INT32_MAX)) {
            error = "'" + args.Word(i) +
                    "' is out of range: whole numbers run from -2147483648 to 2147483647 (usage: " +
                    command.usage + ")";
            return false;
        }
    }
    return true;
}

std::string RunScriptCommand(const LScriptCommand& command, LScriptContext& ctx,
                             const LScriptArgs& args) {
    if (const LOMFile* doc = ctx.Document()) {
        const auto rate = static_cast<int32_t>(doc->audio.GetSampleRate());
        for (size_t i = 0; i < args.Count() && i < command.args.size(); ++i) {
            if (command.args[i] == LScriptArg::kTime && !TimeWordToFrames(args.Word(i), rate))
                return TimeBeyondRateMessage(args.Word(i), rate);
        }
    }
    return command.run(ctx, args);
}

LScriptCommandTable MakeScriptCommandTable() {
    LScriptCommandTable table;
    RegisterEditScriptCommands(table);
    RegisterEffectScriptCommands(table);
    return table;
}

}  // namespace osmera
