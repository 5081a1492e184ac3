#include "edit/cut_list_audio.h"

#include <limits>

#include "core/trace.h"
#include "edit/snk_cut_list_audio.h"
#include "edit/src_cut_list_audio.h"

namespace osmera {

namespace {

constexpr int64_t kMax32 = std::numeric_limits<int32_t>::max();

int32_t Clamp32(int64_t v) {
    if (v > kMax32)
        return static_cast<int32_t>(kMax32);
    if (v < -kMax32 - 1)
        return static_cast<int32_t>(-kMax32 - 1);
    return static_cast<int32_t>(v);
}

LAudioCutTank& Tank() {
    return LAudioCutTank::Instance();
}

}  // namespace

// Every list touches the tank when it is made, so that the tank is constructed first and,
// at exit, destroyed after any list that lives in static storage.
LCutListAudio::LCutListAudio() {
    Tank();
}

LCutListAudio::LCutListAudio(uint32_t sampleRate, uint8_t channels) : LCutListAudio() {
    SetFormat(sampleRate, channels);
}

LCutListAudio::~LCutListAudio() {
    Clear();
}

LCutListAudio::LCutListAudio(const LCutListAudio& other)
    : sampleRate_(other.sampleRate_), channels_(other.channels_), cuts_(CopyEntries(other.cuts_)) {}

LCutListAudio& LCutListAudio::operator=(const LCutListAudio& other) {
    if (this != &other) {
        std::vector<LAudioCut> copies = CopyEntries(other.cuts_);
        Clear();
        cuts_ = std::move(copies);
        sampleRate_ = other.sampleRate_;
        channels_ = other.channels_;
    }
    return *this;
}

LCutListAudio::LCutListAudio(LCutListAudio&& other) noexcept
    : sampleRate_(other.sampleRate_), channels_(other.channels_), cuts_(std::move(other.cuts_)) {
    other.cuts_.clear();
}

LCutListAudio& LCutListAudio::operator=(LCutListAudio&& other) noexcept {
    if (this != &other) {
        Clear();
        cuts_ = std::move(other.cuts_);
        other.cuts_.clear();
        sampleRate_ = other.sampleRate_;
        channels_ = other.channels_;
    }
    return *this;
}

void LCutListAudio::SetFormat(uint32_t sampleRate, uint8_t channels) {
    sampleRate_ = sampleRate;
    channels_ = channels == 0 ? 1 : channels;
}

int64_t LCutListAudio::Length64() const {
    int64_t total = 0;
    for (const LAudioCut& c : cuts_)
        total += c.length;
    return total;
}

int32_t LCutListAudio::GetLength() const {
    return Clamp32(Length64());
}

void LCutListAudio::Clear() {
    for (const LAudioCut& c : cuts_)
        Tank().DecRef(c.ref);
    cuts_.clear();
}

void LCutListAudio::AppendEntry(const LAudioCut& entry) {
    if (entry.length < 1) {
        LTrace("LCutListAudio::AppendEntry length < 1");
        return;
    }
    Tank().IncRef(entry.ref);
    cuts_.push_back(entry);
}

std::vector<LAudioCut> LCutListAudio::CopyEntries(const std::vector<LAudioCut>& other) {
    for (const LAudioCut& c : other)
        Tank().IncRef(c.ref);
    return other;
}

LAudioCut LCutListAudio::Silence(int64_t length) {
    return LAudioCut{SILENT_CUT, Clamp32(length), kUnityGain, 0};
}

void LCutListAudio::SplitEntry(size_t i, int64_t at) {
    LAudioCut tail = cuts_[i];
    tail.start = Clamp32(tail.start + at);
    tail.length = Clamp32(tail.length - at);
    Tank().IncRef(tail.ref);
    cuts_[i].length = Clamp32(at);
    cuts_.insert(cuts_.begin() + static_cast<ptrdiff_t>(i) + 1, tail);
}

void LCutListAudio::Delete64(int64_t start, int64_t end) {
    if (end < start || end < 0)
        return;
    const int64_t s = start < 0 ? 0 : start;
    if (end <= s)
        return;  // an empty range removes nothing (and splits nothing)

    // Pass the entries that end at or before s.
    size_t i = 0;
    int64_t offset = 0;
    while (i < cuts_.size() && offset + cuts_[i].length <= s)
        offset += cuts_[i++].length;
    if (i == cuts_.size())
        return;

    // The entry that holds s keeps its head; when it also holds end, the range lies inside
    // it and a copy plays on from end.
    if (offset < s) {
        const int64_t entryEnd = offset + cuts_[i].length;
        if (end < entryEnd) {
            SplitEntry(i, end - offset);
            cuts_[i].length = Clamp32(s - offset);
            return;
        }
        cuts_[i].length = Clamp32(s - offset);
        offset = entryEnd;
        ++i;
    }

    // Entries that lie inside the range go; the one that holds end loses its head.
    const size_t first = i;
    while (i < cuts_.size() && offset + cuts_[i].length <= end) {
        Tank().DecRef(cuts_[i].ref);
        offset += cuts_[i++].length;
    }
    cuts_.erase(cuts_.begin() + static_cast<ptrdiff_t>(first),
                cuts_.begin() + static_cast<ptrdiff_t>(i));
    if (first < cuts_.size() && offset < end) {
        LAudioCut& c = cuts_[first];
        c.start = Clamp32(c.start + (end - offset));
        c.length = Clamp32(c.length - (end - offset));
    }
}

void LCutListAudio::InsertSilence64(int64_t position, int64_t count) {
    int64_t p = position;
    int64_t n = count;
    if (n < 0)
        return;
    if (p < 0) {
        if (n < -p)
            return;  // the silence would end before 0
        n += p;
        p = 0;
    }
    for (size_t i = 0; i < cuts_.size(); ++i) {
        if (p == 0) {
            if (n > 0)
                cuts_.insert(cuts_.begin() + static_cast<ptrdiff_t>(i), Silence(n));
            return;
        }
        if (p < cuts_[i].length) {
            if (n > 0) {
                SplitEntry(i, p);
                cuts_.insert(cuts_.begin() + static_cast<ptrdiff_t>(i) + 1, Silence(n));
            }
            return;
        }
        p -= cuts_[i].length;
    }
    // Past the end: the gap up to the position is silent too.
    n += p;
    if (n > 0)
        cuts_.push_back(Silence(n));
}

void LCutListAudio::Paste64(int64_t position, const LCutListAudio& other) {
    if (other.channels_ != channels_ && !other.cuts_.empty()) {
        LTrace("LCutListAudio::EfPaste channel counts differ");
    }
    std::vector<LAudioCut> copies = CopyEntries(other.cuts_);  // before this list changes
    int64_t p = position;
    size_t i = 0;
    while (i < cuts_.size() && p > 0 && p >= cuts_[i].length)
        p -= cuts_[i++].length;

    auto insertAt = [&](size_t at) {
        cuts_.insert(cuts_.begin() + static_cast<ptrdiff_t>(at), copies.begin(), copies.end());
    };
    if (i == cuts_.size()) {
        if (p > 0)
            cuts_.push_back(Silence(p));
        insertAt(cuts_.size());
    } else if (p <= 0) {
        insertAt(i);
        if (p < 0) {
            cuts_.insert(cuts_.begin() + static_cast<ptrdiff_t>(i + copies.size()), Silence(-p));
        }
    } else if (!copies.empty()) {
        SplitEntry(i, p);
        insertAt(i + 1);
    }
}

void LCutListAudio::EfCopy(int32_t start, int32_t end, LCutListAudio& destination) const {
    if (start > end)
        return;
    LCutListAudio result(sampleRate_, channels_);
    result.cuts_ = CopyEntries(cuts_);
    if (start >= 1) {
        result.Delete64(0, start);
    } else if (start < 0) {
        result.InsertSilence64(0, -int64_t{start});
    }
    const int64_t want = int64_t{end} - start;
    const int64_t have = result.Length64();
    if (have > want) {
        result.Delete64(want, have);
    } else if (have < want) {
        result.InsertSilence64(have, want - have);
    }
    destination = std::move(result);
}

void LCutListAudio::EfCut(int32_t start, int32_t end, LCutListAudio& destination) {
    if (start > end)
        return;
    LCutListAudio range;
    EfCopy(start, end, range);
    EfDelete(start, end);
    destination = std::move(range);
}

void LCutListAudio::EfDelete(int32_t start, int32_t end) {
    Delete64(start, end);
}

void LCutListAudio::EfPaste(int32_t position, const LCutListAudio& other) {
    Paste64(position, other);
}

void LCutListAudio::EfPasteOver(int32_t start, int32_t end, const LCutListAudio& other) {
    if (&other == this) {
        const LCutListAudio snapshot(other);
        EfPasteOver(start, end, snapshot);
        return;
    }
    Delete64(start, end);
    Paste64(start, other);
}

void LCutListAudio::EfInsertSilence(int32_t position, int32_t count) {
    InsertSilence64(position, count);
}

void LCutListAudio::EfSilence(int32_t start, int32_t end) {
    Delete64(start, end);
    InsertSilence64(start, int64_t{end} - start);
}

void LCutListAudio::EfCrop(int32_t start, int32_t end) {
    int64_t s = start;
    if (s >= 1) {
        Delete64(0, s);
    } else {
        s = 0;
    }
    Delete64(end - s, Length64());
}

void LCutListAudio::EfTrimHead(int32_t position) {
    if (position > 0)
        Delete64(0, position);
}

void LCutListAudio::EfTrimTail(int32_t position) {
    Delete64(position, Length64());
}

void LCutListAudio::EfRepeat(int32_t start, int32_t end, int32_t count) {
    if (count < 1)
        return;
    LCutListAudio range;
    EfCopy(start, end, range);
    // Each paste adds the range, and at a negative start also that many frames of silence;
    // beyond the end the first one pads the gap.
    const int64_t length = Length64();
    const int64_t perPaste = range.Length64() + (start < 0 ? -int64_t{start} : 0);
    const int64_t grown = length + (start > length ? start - length : 0) + perPaste * count;
    const uint64_t entries =
        cuts_.size() + uint64_t{static_cast<uint32_t>(count)} * (range.cuts_.size() + 2);
    if (grown > kMax32 || entries > kMaxEntries) {
        LTrace("LCutListAudio::EfRepeat result too large");
        return;
    }
    for (int32_t k = 0; k < count; ++k)
        Paste64(start, range);
}

void LCutListAudio::EfAmplify(int32_t start, int32_t end, int32_t percent) {
    if (end < start || percent == 100)
        return;
    LCutListAudio range;
    EfCut(start, end, range);
    range.EfAmplifyAll(percent);
    Paste64(start, range);
}

void LCutListAudio::EfAmplifyAll(int32_t percent) {
    if (percent == 100)
        return;
    for (LAudioCut& c : cuts_)
        c.gain = ScaleGain(c.gain, percent);
}

LRef<LSRCCutListAudio> LCutListAudio::MakeSource() const {
    return MakeRef<LSRCCutListAudio>(*this);
}

LRef<LSNKCutListAudio> LCutListAudio::MakeSink(int32_t sampleRate, uint8_t channels) {
    return MakeRef<LSNKCutListAudio>(*this, sampleRate, channels);
}

}  // namespace osmera
