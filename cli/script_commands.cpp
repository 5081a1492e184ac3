#include "cli/script_commands.h"

#include <cstdint>

#include "cli/script_effect_commands.h"
#include "cli/script_words.h"

namespace osmera::cli {

const char* const kNoDocumentMessage = "no document is open (use open or new first)";

LScriptArgs::LScriptArgs(std::vector<std::string> positional,
                         std::map<std::string, std::string> options,
                         std::filesystem::path baseFolder)
    : positional_(std::move(positional)),
      options_(std::move(options)),
      baseFolder_(std::move(baseFolder)) {}

int32_t LScriptArgs::Frames(size_t i, int32_t sampleRate) const {
    return TimeWordToFrames(positional_[i], sampleRate);
}

int64_t LScriptArgs::Int(size_t i) const {
    return ParseWholeNumber(positional_[i], INT64_MIN / 2, INT64_MAX / 2).value_or(0);
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
        const std::string& w = positional[i];
        bool fits = true;
        switch (command.args[i]) {
            case LScriptArg::kTime:
                fits = IsTimeWord(w);
                break;
            case LScriptArg::kInt:
                fits = ParseWholeNumber(w, INT64_MIN / 2, INT64_MAX / 2).has_value();
                break;
            case LScriptArg::kPath:
                fits = !w.empty();
                break;
            case LScriptArg::kWord:
                break;
        }
        if (!fits) {
            error = "'" + w + "' is not a valid " +
                    (command.args[i] == LScriptArg::kTime  ? "time (h:mm:ss.hh, seconds or frames "
                                                             "with a trailing f)"
                     : command.args[i] == LScriptArg::kInt ? "whole number"
                                                           : "path") +
                    " (usage: " + command.usage + ")";
            return false;
        }
    }
    args = LScriptArgs(std::move(positional), std::move(options), baseFolder);
    if (command.check) {
        error = command.check(args);
        if (!error.empty())
            return false;
    }
    return true;
}

LScriptCommandTable MakeScriptCommandTable() {
    LScriptCommandTable table;
    RegisterEditScriptCommands(table);
    RegisterEffectScriptCommands(table);
    return table;
}

}  // namespace osmera::cli
