#include "effects/script_words.h"

#include <cctype>
#include <cstdint>
#include <cstdlib>

#include "core/sound_time.h"

namespace osmera {

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

namespace {

constexpr int64_t kMaxFrames = 2147483647;

bool IsFrameWord(const std::string& word) {
    return !word.empty() && word.back() == 'f';
}

std::optional<int64_t> FrameWordValue(const std::string& word) {
    return ParseWholeNumber(word.substr(0, word.size() - 1), -kMaxFrames, kMaxFrames);
}

}  // namespace

bool IsTimeWord(const std::string& word) {
    if (word.empty())
        return false;
    if (IsFrameWord(word))
        return IsWholeNumberText(word.substr(0, word.size() - 1));
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

std::string TimeWordRangeError(const std::string& word) {
    if (IsFrameWord(word)) {
        if (FrameWordValue(word))
            return {};
        return "'" + word + "' is out of range: frame counts run from -2147483647f to 2147483647f";
    }
    bool tooLarge = false;
    LSoundTime::ParseTime(word, &tooLarge);
    if (!tooLarge)
        return {};
    const std::string most = LSoundTime::FormatMilliseconds(INT32_MAX);
    return "'" + word + "' is out of range: times run from -" + most + " to " + most;
}

std::optional<int32_t> TimeWordToFrames(const std::string& word, int32_t sampleRate) {
    if (IsFrameWord(word)) {
        const auto frames = FrameWordValue(word);
        if (!frames)
            return std::nullopt;
        return static_cast<int32_t>(*frames);
    }
    bool tooLarge = false;
    const int32_t ms = LSoundTime::ParseTime(word, &tooLarge);
    if (tooLarge || sampleRate <= 0)
        return std::nullopt;
    // The same sum as SetMilliseconds, in 64 bits, to see whether it fits.
    const int64_t frames = int64_t{ms / 1000} * sampleRate + int64_t{ms % 1000} * sampleRate / 1000;
    if (frames > kMaxFrames || frames < -kMaxFrames)
        return std::nullopt;
    LSoundTime time;
    time.SetMilliseconds(ms, sampleRate);
    return time.GetSamples();
}

std::string TimeBeyondRateMessage(const std::string& word, int32_t sampleRate) {
    const std::string most =
        LSoundTime::FormatMilliseconds(LSoundTime(INT32_MAX, sampleRate).GetMilliseconds());
    return "'" + word + "' lies beyond 2147483647 frames at " + std::to_string(sampleRate) +
           " Hz: times at this rate run from -" + most + " to " + most;
}

bool IsWholeNumberText(const std::string& word) {
    if (word.empty() || word == "-")
        return false;
    for (size_t i = 0; i < word.size(); ++i) {
        const char c = word[i];
        if (!std::isdigit(static_cast<unsigned char>(c)) && !(i == 0 && c == '-'))
            return false;
    }
    return true;
}

std::optional<int64_t> ParseWholeNumber(const std::string& word, int64_t lo, int64_t hi) {
    if (!IsWholeNumberText(word) || word.size() > 18)
        return std::nullopt;
    const long long v = std::strtoll(word.c_str(), nullptr, 10);
    if (v < lo || v > hi)
        return std::nullopt;
    return v;
}

}  // namespace osmera
