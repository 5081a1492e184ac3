#include "effects/click_repair_batch.h"

#include <algorithm>
#include <limits>
#include <map>

#include "core/trace.h"
#include "edit/snk_cut_list_audio.h"
#include "edit/src_cut_list_audio.h"
#include "effects/click_repair.h"

namespace osmera {

namespace {

// A stretch of the result taken from the cut: frames [lo, hi) of the list play the cut from
// frame `cutStart` on.
struct Piece {
    int64_t lo;
    int64_t hi;
    int64_t cutStart;
};

// Appends the list's audio of [from, to) to `out`, slicing entries; `index` and `at` (the
// list frame where entry `index` begins) move forward only, so a run over the whole list
// costs one walk.
void AppendOriginal(const std::vector<LAudioCut>& entries, size_t& index, int64_t& at, int64_t from,
                    int64_t to, LCutListAudio& out) {
    while (from < to && index < entries.size()) {
        const LAudioCut& e = entries[index];
        const int64_t end = at + e.length;
        if (end <= from) {
            at = end;
            ++index;
            continue;
        }
        const int64_t sliceEnd = std::min(end, to);
        LAudioCut slice = e;
        slice.start = static_cast<int32_t>(e.start + (from - at));
        slice.length = static_cast<int32_t>(sliceEnd - from);
        out.AppendEntry(slice);
        from = sliceEnd;
    }
}

}  // namespace

LClickRepairBatch::LClickRepairBatch(const LCutListAudio& list)
    : sampleRate_(list.GetSampleRate()),
      channels_(list.GetChannels()),
      length_(list.GetLength()),
      keep_(2 * int64_t{ClickBlockFrames(static_cast<int32_t>(list.GetSampleRate()))}),
      forgotten_(std::numeric_limits<int64_t>::min()),
      source_(list.MakeSource()),
      patch_(list.GetSampleRate(), list.GetChannels()) {}

LClickRepairBatch::~LClickRepairBatch() = default;

void LClickRepairBatch::ReadCurrent(int64_t from, int32_t frames, int32_t* out) {
    source_->Seek(static_cast<int32_t>(from));
    source_->Read(out, frames);
    // Later repairs overwrite earlier ones, as they would in the list.
    const int64_t to = from + frames;
    for (const Recent& r : recent_) {
        const int64_t rEnd = r.lo + static_cast<int64_t>(r.frames.size() / channels_);
        const int64_t lo = std::max(from, r.lo);
        const int64_t hi = std::min(to, rEnd);
        if (lo < hi) {
            std::copy(r.frames.begin() + (lo - r.lo) * channels_,
                      r.frames.begin() + (hi - r.lo) * channels_, out + (lo - from) * channels_);
        }
    }
}

void LClickRepairBatch::Repair(uint8_t channel, int64_t a, int64_t b) {
    int64_t lo = 0;
    int64_t hi = 0;
    if (error_ || channel >= channels_ || !ClipRepairSpan(a, b, length_, lo, hi))
        return;
    if (lo - 1 < forgotten_)
        LTrace("LClickRepairBatch::Repair span before the repairs kept; read without them");
    const auto n = static_cast<int32_t>(hi - lo);
    if (written_ + n > std::numeric_limits<int32_t>::max()) {
        LTrace("LClickRepairBatch::Repair cut full");
        error_ = true;
        return;
    }
    std::vector<int32_t> frames(static_cast<size_t>(n + 2) * channels_);
    ReadCurrent(lo - 1, n + 2, frames.data());
    DrawRepairLine(frames.data(), channels_, channel, n);

    if (!sink_)
        sink_ = patch_.MakeSink(static_cast<int32_t>(sampleRate_), channels_);
    sink_->Write(frames.data() + channels_, n);
    if (sink_->IsError()) {
        LTrace("LClickRepairBatch::Repair repaired frames could not be written");
        error_ = true;
        return;
    }
    spans_.push_back({lo, n, written_});
    written_ += n;

    // Forget repairs that no later span can read, so the batch stays small.
    while (!recent_.empty()) {
        const Recent& r = recent_.front();
        const int64_t rEnd = r.lo + static_cast<int64_t>(r.frames.size() / channels_);
        if (rEnd >= lo - keep_)
            break;
        forgotten_ = std::max(forgotten_, rEnd);
        recent_.pop_front();
    }
    recent_.push_back(
        {lo, std::vector<int32_t>(frames.begin() + channels_, frames.end() - channels_)});
}

bool LClickRepairBatch::Apply(LCutListAudio& list) {
    if (!sink_)
        return !error_;
    const bool failed = error_ || sink_->IsError();
    sink_.Reset();  // `patch_` now holds the one cut
    if (failed || patch_.GetEntries().size() != 1) {
        LTrace("LClickRepairBatch::Apply repaired frames could not be written");
        patch_.Clear();
        return false;
    }
    const uint16_t cut = patch_.GetEntries()[0].ref;

    // Each frame plays the latest repair that covers it: walk the repairs from the last one
    // back, keeping what earlier ones left uncovered.
    std::vector<Piece> pieces;
    std::map<int64_t, int64_t> covered;  // disjoint [start, end) already given to a repair
    for (auto s = spans_.rbegin(); s != spans_.rend(); ++s) {
        const int64_t lo = s->lo;
        const int64_t hi = s->lo + s->length;
        auto it = covered.upper_bound(lo);
        if (it != covered.begin() && std::prev(it)->second > lo)
            --it;
        int64_t cursor = lo;
        int64_t mergedLo = lo;
        int64_t mergedHi = hi;
        while (it != covered.end() && it->first < hi) {
            if (it->first > cursor)
                pieces.push_back({cursor, it->first, s->offset + (cursor - lo)});
            cursor = std::max(cursor, it->second);
            mergedLo = std::min(mergedLo, it->first);
            mergedHi = std::max(mergedHi, it->second);
            it = covered.erase(it);
        }
        if (cursor < hi)
            pieces.push_back({cursor, hi, s->offset + (cursor - lo)});
        covered[mergedLo] = mergedHi;
    }
    std::sort(pieces.begin(), pieces.end(),
              [](const Piece& x, const Piece& y) { return x.lo < y.lo; });

    LCutListAudio result(list.GetSampleRate(), list.GetChannels());
    const std::vector<LAudioCut>& entries = list.GetEntries();
    size_t index = 0;
    int64_t at = 0;
    int64_t done = 0;
    for (const Piece& p : pieces) {
        AppendOriginal(entries, index, at, done, p.lo, result);
        LAudioCut repaired;
        repaired.ref = cut;
        repaired.length = static_cast<int32_t>(p.hi - p.lo);
        repaired.start = static_cast<int32_t>(p.cutStart);
        result.AppendEntry(repaired);
        done = p.hi;
    }
    AppendOriginal(entries, index, at, done, length_, result);
    list = std::move(result);
    patch_.Clear();
    return true;
}

}  // namespace osmera
