#include "formats/opened_file_facts.h"

#include <algorithm>
#include <limits>

#include "core/sound_time.h"

namespace osmera {
namespace {

std::string Quoted(const std::string& fileName) {
    return "\"" + fileName + "\"";
}

// `frames` at `rate` as decimal seconds with at most two decimals: "12174.21", "0.5", "3".
// A non-zero count never shows as 0.
std::string SecondsText(int64_t frames, int32_t rate) {
    // Split into whole seconds and the rest so that no product can overflow.
    int64_t hundredths =
        rate > 0 ? frames / rate * 100 + (frames % rate * 100 + rate / 2) / rate : 0;
    if (frames > 0)
        hundredths = std::max<int64_t>(hundredths, 1);
    std::string text = std::to_string(hundredths / 100);
    const int64_t fraction = hundredths % 100;
    if (fraction != 0) {
        text += '.';
        text += static_cast<char>('0' + fraction / 10);
        if (fraction % 10 != 0)
            text += static_cast<char>('0' + fraction % 10);
    }
    return text;
}

}  // namespace

LOpenedFileFacts LOpenedFileFacts::Of(LSoundSourceBase& source) {
    LOpenedFileFacts facts;
    facts.openedFrames = source.GetLengthSample();
    facts.sampleRate = source.GetSampleRate();
    facts.channels = source.GetChannels();
    facts.claimedFrames = facts.openedFrames;
    facts.presentFrames = facts.openedFrames;
    if (const auto* file = dynamic_cast<const LFileFacts*>(&source)) {
        facts.claimedFrames = std::max<int64_t>(file->GetClaimedFrames(), facts.openedFrames);
        facts.presentFrames = std::clamp<int64_t>(file->GetPresentFrames(), 0, facts.claimedFrames);
        facts.keptBytesPerSample = file->GetKeptBytesPerSample();
    }
    return facts;
}

std::vector<std::string> LOpenedFileFacts::Warnings(const std::string& fileName) const {
    std::vector<std::string> warnings;
    if (LeftOutFrames() > 0) {
        warnings.push_back(Quoted(fileName) + " holds " + std::to_string(claimedFrames) +
                           " frames (" + TimeText(claimedFrames, sampleRate) +
                           "), more than the 2147483647 frames this program can open: only the "
                           "first " +
                           TimeText(openedFrames, sampleRate) + " open and the last " +
                           TimeText(LeftOutFrames(), sampleRate) + " (" +
                           std::to_string(LeftOutFrames()) + " frames) are left out.");
    }
    if (MissingFrames() > 0) {
        warnings.push_back(Quoted(fileName) + ": the file ends " +
                           SecondsText(MissingFrames(), sampleRate) +
                           " seconds before its header says; the rest opens as silence.");
    }
    return warnings;
}

std::string LOpenedFileFacts::ChannelsNote(const std::string& fileName) const {
    if (!HasTooManyChannels())
        return {};
    return Quoted(fileName) + " has " + std::to_string(channels) +
           " channels: it opens mixed down to stereo, or as one pair of its channels when "
           "one is chosen.";
}

std::string LOpenedFileFacts::TimeText(int64_t frames, int32_t rate) {
    if (rate <= 0)
        return LSoundTime::FormatHundredths(0);
    constexpr int64_t kMaxMs = std::numeric_limits<int32_t>::max();
    // Whole seconds are compared before they are multiplied, so no count overflows.
    if (frames < 0 || frames / rate > kMaxMs / 1000)
        return "more than 596 hours";
    const int64_t ms = frames / rate * 1000 + frames % rate * 1000 / rate;
    if (ms > kMaxMs)
        return "more than 596 hours";
    return LSoundTime::FormatHundredths(static_cast<int32_t>(ms));
}

}  // namespace osmera
