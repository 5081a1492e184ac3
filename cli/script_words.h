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

namespace osmera::cli {

// The words of `line`. False (and `error` set) for an unterminated quote.
bool SplitScriptLine(const std::string& line, std::vector<std::string>& words, std::string& error);

// True when `word` is a position or length: a whole number of frames with a trailing 'f'
// ("44100f"), or time text of digits, ':', '.' and a leading '-' ("1:02.5", "90", "0.25").
bool IsTimeWord(const std::string& word);
// The frames of a time word at `sampleRate` (time text through LSoundTime::ParseTime and
// SetMilliseconds). Only for words IsTimeWord accepted.
int32_t TimeWordToFrames(const std::string& word, int32_t sampleRate);

// A whole number in [lo, hi], or nothing.
std::optional<int64_t> ParseWholeNumber(const std::string& word, int64_t lo, int64_t hi);

}  // namespace osmera::cli
