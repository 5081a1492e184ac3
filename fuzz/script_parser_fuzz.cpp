// Fuzz target for the reading of batch scripts: each line of the input is split into
// words, looked up in the command table and checked against its command's words as the
// runner does before anything runs; nothing is run. What a line that passed promises is
// held to: whole numbers within 32 bits, and times whose frames, where they fit a rate,
// are the exact 64-bit value.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "core/sound_time.h"
#include "effects/script_commands.h"
#include "effects/script_words.h"

namespace {

using namespace osmera;

void CheckTime(const std::string& word) {
    for (int32_t rate : {1, 8000, 44100, 192000, 1000000}) {
        const auto frames = TimeWordToFrames(word, rate);
        if (word.back() == 'f') {
            if (!frames)
                std::abort();  // a frame count that passed the check must be taken
            continue;
        }
        const int64_t ms = osmera::LSoundTime::ParseTime(word);
        const int64_t exact = ms / 1000 * rate + ms % 1000 * rate / 1000;
        const bool fits = exact >= -2147483647 && exact <= 2147483647;
        if (fits != frames.has_value() || (frames && *frames != exact))
            std::abort();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const LScriptCommandTable table = MakeScriptCommandTable();
    const std::string text(reinterpret_cast<const char*>(data), size);
    std::vector<std::string> words;
    std::string error;
    size_t start = 0;
    while (start <= text.size()) {
        size_t end = text.find('\n', start);
        if (end == std::string::npos)
            end = text.size();
        const std::string line = text.substr(start, end - start);
        start = end + 1;
        if (!SplitScriptLine(line, words, error) || words.empty())
            continue;
        const LScriptCommand* command = table.Find(words[0]);
        if (!command)
            continue;
        LScriptArgs args({}, {}, "/nonexistent");
        if (!ParseScriptArgs(*command, words, "/nonexistent", args, error))
            continue;
        for (size_t i = 0; i < args.Count(); ++i) {
            if (command->args[i] == LScriptArg::kTime)
                CheckTime(args.Word(i));
            if (command->args[i] == LScriptArg::kInt &&
                !ParseWholeNumber(args.Word(i), INT32_MIN, INT32_MAX))
                std::abort();
        }
    }
    return 0;
}
