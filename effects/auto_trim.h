#pragma once
// Automatic trimming of quiet ends. It reads only the waveform graph files of the cuts
// (one record of two level bytes per 256 frames and channel), never the audio, finds the
// first and last blocks louder than a threshold relative to the loudest block, and
// deletes what lies before and after them.
//
// Runs on the thread that owns the list.

#include <cstdint>
#include <vector>

#include "core/progress.h"
#include "edit/cut_list_audio.h"

namespace osmera {

constexpr int32_t kLevelMapBlock = 256;

// The linear factor of `db` decibels (limited to -127 ... 127) in 2^24 fixed point:
// 16777216 at 0 dB, rounded to the nearest integer. 64 bits: 127 dB is far above 2^31.
int64_t DecibelFactor(int32_t db);

// The level map of the whole list: for every block of 256 frames and every channel, the
// positive and negative peak bytes of the graph records that the block covers, scaled by
// the entry's gain (byte * (gain >> 16) >> 8, capped at 255). Silent entries and cuts
// whose graph file cannot be read leave zeros. Layout: block-major, then channel, then
// (positive, negative).
std::vector<uint8_t> BuildLevelMap(const LCutListAudio& list);

// The range [newStart, newEnd) that auto trim keeps for `map` of a list of `length`
// frames and `channels` channels, at `thresholdDb`.
struct LTrimRange {
    int32_t start = 0;
    int32_t end = 0;
};
LTrimRange FindTrimRange(const std::vector<uint8_t>& map, uint8_t channels, int32_t length,
                         int32_t thresholdDb);

// Trims the whole list (not only a selection) at `thresholdDb`. Shows "AutoTrim" and
// "Please wait..."; never cancelled (it reads one 256th of the audio's size).
int AutoTrim(LProgress& progress, LCutListAudio& list, int32_t thresholdDb);

}  // namespace osmera
