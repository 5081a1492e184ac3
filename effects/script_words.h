#pragma once
// The words of a script line and the reading of time and number words.
//
// A line is split at blanks; a word in double quotes may hold blanks (\" and \\ stand for a
// quote and a backslash inside it); a word that starts with '#' outside quotes begins a
// comment that runs to the end of the line.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace osmera {

// The words of `line`. False (and `error` set) for an unterminated quote.
bool SplitScriptLine(const std::string& line, std::vector<std::string>& words, std::string& error);

// True when `word` is written as a position or length: a whole number of frames with a
// trailing 'f' ("44100f"), or time text of digits, ':', '.' and a leading '-' ("1:02.5",
// "90", "0.25"). Says nothing about its size.
bool IsTimeWord(const std::string& word);
// Why a time word is too large at any rate ("" when it is not): frames beyond
// +-2147483647, or time text beyond +-2147483647 ms. Only for words IsTimeWord accepted.
std::string TimeWordRangeError(const std::string& word);
// The frames of a time word at `sampleRate` (time text through LSoundTime::ParseTime and
// SetMilliseconds), or nothing when they lie beyond +-2147483647 frames at that rate.
// Only for words IsTimeWord accepted.
std::optional<int32_t> TimeWordToFrames(const std::string& word, int32_t sampleRate);
// The refusal of a time word whose frames lie beyond the 32-bit range at `sampleRate`,
// naming the longest time that rate allows.
std::string TimeBeyondRateMessage(const std::string& word, int32_t sampleRate);

// True when `word` is written as a whole number: digits with an optional leading '-'.
bool IsWholeNumberText(const std::string& word);
// A whole number in [lo, hi], or nothing.
std::optional<int64_t> ParseWholeNumber(const std::string& word, int64_t lo, int64_t hi);

}  // namespace osmera
