#include "cli/script_words.h"

#include <cctype>
#include <cerrno>
#include <cstdlib>

#include "core/sound_time.h"

namespace osmera::cli {

bool SplitScriptLine(const std::string& line, std::vector<std::string>& words, std::string& error) {
    words.clear();
    size_t i = 0;
    const size_t n = line.size();
    while (i < n) {
        while (i < n && std::isspace(static_cast<unsigned char>(line[i])))
            ++i;
        if (i == n || line[i] == '#')
            break;
        std::string word;
        if (line[i] == '"') {
            ++i;
            bool closed = false;
            while (i < n) {
                char c = line[i++];
                if (c == '"') {
                    closed = true;
                    break;
                }
                if (c == '\\' && i < n && (line[i] == '"' || line[i] == '\\'))
                    c = line[i++];
                word += c;
            }
            if (!closed) {
                error = "missing closing quote";
                return false;
            }
        } else {
            while (i < n && !std::isspace(static_cast<unsigned char>(line[i])))
                word += line[i++];
        }
        words.push_back(std::move(word));
    }
    return true;
}

bool IsTimeWord(const std::string& word) {
    if (word.empty())
        return false;
    if (word.back() == 'f')
        return ParseWholeNumber(word.substr(0, word.size() - 1), -2147483647, 2147483647)
            .has_value();
    bool digit = false;
    for (size_t i = 0; i < word.size(); ++i) {
        const char c = word[i];
        if (std::isdigit(static_cast<unsigned char>(c))) {
            digit = true;
        } else if (!(c == ':' || c == '.' || (c == '-' && i == 0))) {
            return false;
        }
    }
    return digit;
}

int32_t TimeWordToFrames(const std::string& word, int32_t sampleRate) {
    if (!word.empty() && word.back() == 'f') {
        return static_cast<int32_t>(
            ParseWholeNumber(word.substr(0, word.size() - 1), -2147483647, 2147483647).value_or(0));
    }
    LSoundTime time;
    time.SetMilliseconds(LSoundTime::ParseTime(word), sampleRate);
    return time.GetSamples();
}

std::optional<int64_t> ParseWholeNumber(const std::string& word, int64_t lo, int64_t hi) {
    if (word.empty() || word.size() > 18)
        return std::nullopt;
    for (size_t i = 0; i < word.size(); ++i) {
        const char c = word[i];
        if (!std::isdigit(static_cast<unsigned char>(c)) &&
            !(i == 0 && c == '-' && word.size() > 1))
            return std::nullopt;
    }
    const long long v = std::strtoll(word.c_str(), nullptr, 10);
    if (v < lo || v > hi)
        return std::nullopt;
    return v;
}

}  // namespace osmera::cli
