#pragma once
// The repairs of one automatic click repair run, gathered into one new cut.
//
// Repairing each click as a cut of its own would spend one cut number per click, and a long
// noisy record can hold more clicks than the tank has numbers. The batch instead computes
// every repair exactly as a repair of the list would at that moment (the n + 2 frames around
// the span as the earlier repairs of the run left them, the straight line on one channel),
// appends the n repaired frames of all channels to one cut, and remembers where they went.
// Apply then lays all of them over their spans in one pass: the list's entries are sliced
// around the spans and entries into the one cut fill them. The audio is bit for bit what
// repairing click by click gives, with one cut number for the whole run.
//
// Spans must come in the order of a forward scan: none may read audio more than two analysis
// blocks before the start of an earlier span (the batch forgets older repairs to stay small).
//
// Owns its source over the list (a snapshot taken at construction) and its sink. The list
// must not change between construction and Apply. One thread, the one that owns the list.

#include <cstdint>
#include <deque>
#include <vector>

#include "core/ref.h"
#include "edit/cut_list_audio.h"

namespace osmera {

class LSRCCutListAudio;
class LSNKCutListAudio;

class LClickRepairBatch {
  public:
    explicit LClickRepairBatch(const LCutListAudio& list);
    ~LClickRepairBatch();
    LClickRepairBatch(const LClickRepairBatch&) = delete;
    LClickRepairBatch& operator=(const LClickRepairBatch&) = delete;

    // Repairs channel `channel` of the span between `a` and `b` (either order; clipped to the
    // list), after the repairs given before it. Nothing when the span is empty.
    void Repair(uint8_t channel, int64_t a, int64_t b);
    // Repairs made so far.
    int32_t GetCount() const { return static_cast<int32_t>(spans_.size()); }
    // True once the cut could not be made or written; Apply then changes nothing.
    bool IsError() const { return error_; }

    // Lays every repair over `list` (the list given at construction, unchanged since).
    // False, with `list` unchanged, when the repaired frames could not be written.
    bool Apply(LCutListAudio& list);

  private:
    struct Span {
        int64_t lo;      // first frame of the span in the list
        int64_t length;  // frames
        int64_t offset;  // first frame of its repaired frames in the cut
    };
    struct Recent {
        int64_t lo;
        std::vector<int32_t> frames;  // the repaired frames, all channels
    };
    // Frames [from, from + frames) as the repairs so far left them.
    void ReadCurrent(int64_t from, int32_t frames, int32_t* out);

    uint32_t sampleRate_;
    uint8_t channels_;
    int64_t length_;
    int64_t keep_;       // how far before a new span the recent repairs are kept
    int64_t forgotten_;  // the end of the latest repair already forgotten
    LRef<LSRCCutListAudio> source_;
    LCutListAudio patch_;  // receives the one cut when the sink is released
    LRef<LSNKCutListAudio> sink_;
    std::vector<Span> spans_;
    std::deque<Recent> recent_;
    int64_t written_ = 0;
    bool error_ = false;
};

}  // namespace osmera
