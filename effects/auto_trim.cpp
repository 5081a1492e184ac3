#include "effects/auto_trim.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "core/file.h"
#include "core/trace.h"
#include "edit/audio_cut_tank.h"
#include "effects/effect_job.h"
#include "effects/effect_table.h"

namespace osmera {

namespace {

constexpr int32_t kMaxDb = 127;

// 10^(dB / 20) * 2^24 for -127 ... 127 dB, rounded; built once.
const std::array<int64_t, 2 * kMaxDb + 1>& DecibelTable() {
    static const auto table = [] {
        std::array<int64_t, 2 * kMaxDb + 1> t{};
        for (int32_t db = -kMaxDb; db <= kMaxDb; ++db)
            t[db + kMaxDb] = std::llround(16777216.0 * std::pow(10.0, db / 20.0));
        t[kMaxDb] = 16777216;  // exactly unity at 0 dB
        return t;
    }();
    return table;
}

uint8_t ScaleLevel(uint8_t level, int32_t gain) {
    const int64_t v = (int64_t{level} * (gain >> 16)) >> 8;
    return static_cast<uint8_t>(std::clamp<int64_t>(v, 0, 255));
}

// Adds one entry's graph records to the map; `offset` is the entry's first frame in the list.
void AddEntry(const LAudioCut& entry, int64_t offset, uint8_t channels, std::vector<uint8_t>& map) {
    if (entry.IsSilent() || entry.length < 1)
        return;
    const std::string path = LAudioCutTank::Instance().GetGrfFilePath(entry.ref);
    LFile file;
    if (!file.Open(path, LFile::Mode::kRead)) {
        LTracef("BuildLevelMap cannot open %s", path.c_str());
        return;
    }
    const size_t recordBytes = size_t{channels} * 2;
    const int64_t firstRecord = entry.start / kLevelMapBlock;
    const int64_t lastRecord = (int64_t{entry.start} + entry.length - 1) / kLevelMapBlock;
    std::vector<uint8_t> records(static_cast<size_t>(lastRecord - firstRecord + 1) * recordBytes,
                                 0);
    if (!file.Seek(firstRecord * static_cast<int64_t>(recordBytes)) ||
        file.Read(records.data(), static_cast<int64_t>(records.size())) < 0) {
        LTracef("BuildLevelMap cannot read %s", path.c_str());
        return;
    }
    const int64_t end = offset + entry.length;
    for (int64_t block = offset / kLevelMapBlock; block * kLevelMapBlock < end; ++block) {
        const int64_t lo = std::max(block * kLevelMapBlock, offset);
        const int64_t hi = std::min((block + 1) * kLevelMapBlock, end);
        const int64_t r0 = (entry.start + lo - offset) / kLevelMapBlock - firstRecord;
        const int64_t r1 = (entry.start + hi - offset - 1) / kLevelMapBlock - firstRecord;
        for (int64_t r = r0; r <= r1; ++r) {
            for (size_t b = 0; b < recordBytes; ++b) {
                uint8_t& cell = map[static_cast<size_t>(block) * recordBytes + b];
                cell = std::max(cell, ScaleLevel(records[static_cast<size_t>(r) * recordBytes + b],
                                                 entry.gain));
            }
        }
    }
}

}  // namespace

int64_t DecibelFactor(int32_t db) {
    return DecibelTable()[std::clamp(db, -kMaxDb, kMaxDb) + kMaxDb];
}

std::vector<uint8_t> BuildLevelMap(const LCutListAudio& list) {
    const int64_t length = list.GetLength();
    const uint8_t channels = list.GetChannels();
    const int64_t blocks = (length + kLevelMapBlock - 1) / kLevelMapBlock;
    std::vector<uint8_t> map(static_cast<size_t>(blocks) * channels * 2, 0);
    int64_t offset = 0;
    for (const LAudioCut& entry : list.GetEntries()) {
        if (offset >= length)
            break;
        AddEntry(entry, offset, channels, map);
        offset += entry.length;
    }
    return map;
}

LTrimRange FindTrimRange(const std::vector<uint8_t>& map, uint8_t channels, int32_t length,
                         int32_t thresholdDb) {
    LTrimRange range{0, length};
    if (channels == 0)
        return range;
    const int64_t entries = static_cast<int64_t>(map.size() / 2);
    const int64_t blocks = entries / channels;
    const uint8_t peak = map.empty() ? 0 : *std::max_element(map.begin(), map.end());
    const int64_t level = (int64_t{peak} * DecibelFactor(thresholdDb)) >> 24;
    auto loud = [&](int64_t k) { return map[2 * k] > level || map[2 * k + 1] > level; };

    for (int64_t k = channels; k < entries; ++k) {
        if (loud(k)) {
            range.start = static_cast<int32_t>((k / channels - 1) * kLevelMapBlock);
            break;
        }
    }
    for (int64_t k = (blocks - 2) * channels; k > 0; --k) {
        if (loud(k)) {
            range.end = static_cast<int32_t>(
                std::min<int64_t>((k / channels + 1) * kLevelMapBlock, length));
            break;
        }
    }
    return range;
}

int AutoTrim(LProgress& progress, LCutListAudio& list, int32_t thresholdDb) {
    ShowEffectTitle(progress, GetEffectInfo(LEffectId::kAutoTrim).progressTitle);
    const int32_t length = list.GetLength();
    const LTrimRange keep =
        FindTrimRange(BuildLevelMap(list), list.GetChannels(), length, thresholdDb);
    progress.SetFraction(1.0);
    if (keep.start >= keep.end) {
        LTrace("AutoTrim nothing louder than the threshold to keep");
        return kJobDone;
    }
    list.EfTrimTail(keep.end);
    list.EfTrimHead(keep.start);
    return kJobDone;
}

}  // namespace osmera
