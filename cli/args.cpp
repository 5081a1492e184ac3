#include "cli/args.h"

#include <charconv>
#include <cstdio>

#include "core/progress.h"

namespace osmera::cli {

LArgs::LArgs(int argc, char** argv, const std::set<std::string>& valued,
             const std::set<std::string>& flags) {
    bool onlyPositional = false;
    for (int i = 0; i < argc; ++i) {
        std::string a = argv[i];
        if (onlyPositional || a.size() < 3 || a.compare(0, 2, "--") != 0) {
            if (a == "--") {
                onlyPositional = true;
                continue;
            }
            positional_.push_back(a);
            continue;
        }
        std::string name = a.substr(2);
        std::optional<std::string> value;
        if (auto eq = name.find('='); eq != std::string::npos) {
            value = name.substr(eq + 1);
            name.resize(eq);
        }
        if (valued.count(name)) {
            if (!value) {
                if (i + 1 >= argc) {
                    error_ = "option --" + name + " needs a value";
                    return;
                }
                value = argv[++i];
            }
            options_[name] = *value;
        } else if (flags.count(name) && !value) {
            options_[name] = "";
        } else {
            error_ = "unknown option --" + name;
            return;
        }
    }
}

std::optional<std::string> LArgs::Value(const std::string& option) const {
    auto it = options_.find(option);
    if (it == options_.end())
        return std::nullopt;
    return it->second;
}

long LArgs::IntValue(const std::string& option, long def, long lo, long hi) {
    auto v = Value(option);
    if (!v)
        return def;
    long n = 0;
    auto [end, ec] = std::from_chars(v->data(), v->data() + v->size(), n);
    if (ec != std::errc() || end != v->data() + v->size() || n < lo || n > hi) {
        if (error_.empty()) {
            error_ = "--" + option + " must be a whole number from " + std::to_string(lo) + " to " +
                     std::to_string(hi) + ", not '" + *v + "'";
        }
        return def;
    }
    return n;
}

void PrintError(const std::string& message) {
    std::fprintf(stderr, "osmera-cli: %s\n", message.c_str());
}

int JobExitCode(int result, const std::string& out, const std::string& message) {
    if (result == kJobCancelled) {
        PrintError("interrupted; " + out + " was left as it was");
        return kExitCancelled;
    }
    if (result != kJobDone) {
        PrintError(message);
        return kExitFailed;
    }
    return kExitOk;
}

std::string QuoteValue(const std::string& value, bool force) {
    const bool needs =
        force || value.empty() || value.find_first_of(" \t\"\\\r\n") != std::string::npos;
    if (!needs)
        return value;
    std::string out = "\"";
    for (char c : value) {
        if (c == '"' || c == '\\')
            out += '\\';
        if (c == '\r') {
            out += "\\r";
            continue;
        }
        if (c == '\n') {
            out += "\\n";
            continue;
        }
        out += c;
    }
    return out + '"';
}

}  // namespace osmera::cli
