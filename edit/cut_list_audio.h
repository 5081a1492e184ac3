#pragma once
// A cut list: the audio of an open file, or of any temporary piece of audio (the clipboard,
// an undo step, an effect's output), as an ordered list of entries each of which plays a
// stretch of one cut of the tank (or silence) at a gain. Every edit changes entries only,
// never samples, and costs time in proportion to the number of entries.
//
// Ownership: every entry holds one reference on its cut (taken when the entry is made or
// copied, dropped when it goes). Copying a list copies its entries with their references, so
// a copy is a cheap snapshot (undo steps) that keeps reading the old audio whatever happens
// to the original later.
//
// Positions and lengths are frames; ranges are half-open [start, end). Operations report
// nothing: ranges out of order, negative or beyond the end are clamped, padded with silence
// or ignored, as each operation says.
//
// Threads: a list is used by one thread at a time (the one that owns the document). Readers
// on other threads read a source made from the list (src_cut_list_audio.h), which holds its
// own copy of the entries; only the tank's counts are shared, under the tank's lock.

#include <cstdint>
#include <vector>

#include "core/ref.h"
#include "edit/audio_cut_tank.h"
#include "edit/cut_gain.h"

namespace osmera {

class LSRCCutListAudio;
class LSNKCutListAudio;

// One entry: `length` frames of cut `ref` from its frame `start`, at `gain`.
struct LAudioCut {
    uint16_t ref = SILENT_CUT;
    int32_t length = 0;
    int32_t gain = kUnityGain;
    int32_t start = 0;

    bool IsSilent() const { return ref == SILENT_CUT; }
    bool operator==(const LAudioCut&) const = default;
};

class LCutListAudio {
  public:
    // An empty list at 44100 Hz, 1 channel.
    LCutListAudio();
    LCutListAudio(uint32_t sampleRate, uint8_t channels);
    ~LCutListAudio();
    LCutListAudio(const LCutListAudio& other);
    LCutListAudio& operator=(const LCutListAudio& other);
    LCutListAudio(LCutListAudio&& other) noexcept;
    LCutListAudio& operator=(LCutListAudio&& other) noexcept;

    uint32_t GetSampleRate() const { return sampleRate_; }
    uint8_t GetChannels() const { return channels_; }
    // 0 channels are taken as 1. Entries are kept as they are.
    void SetFormat(uint32_t sampleRate, uint8_t channels);

    const std::vector<LAudioCut>& GetEntries() const { return cuts_; }
    // Total frames (the sum of the entries' lengths, capped at 2147483647).
    int32_t GetLength() const;
    // Deletes every entry, dropping its reference.
    void Clear();
    // Appends a copy of `entry` with a reference of its own; an entry shorter than one frame
    // is not added.
    void AppendEntry(const LAudioCut& entry);

    // Makes `destination` exactly end - start frames long: this list's rate, channels and
    // audio of [start, end), with silence for the parts outside this list. Nothing happens
    // when start > end. `destination` may be this list.
    void EfCopy(int32_t start, int32_t end, LCutListAudio& destination) const;
    // EfCopy of the range into `destination`, then EfDelete of it.
    void EfCut(int32_t start, int32_t end, LCutListAudio& destination);
    // Removes [start, end). Nothing when end < start or end < 0; a negative start counts as 0.
    void EfDelete(int32_t start, int32_t end);
    // Inserts copies of `other`'s entries at `position`. Beyond the end the gap is filled with
    // silence first; at a negative position -k the pasted audio comes first, then k frames of
    // silence, then the old audio (when this list is not empty). `other` may be this list.
    void EfPaste(int32_t position, const LCutListAudio& other);
    // EfDelete of [start, end), then EfPaste of `other` at start.
    void EfPasteOver(int32_t start, int32_t end, const LCutListAudio& other);
    // Inserts `count` frames of silence at `position`; beyond the end the gap is silent too.
    // At a negative position only the part that ends after 0 is inserted, at 0.
    void EfInsertSilence(int32_t position, int32_t count);
    // EfDelete of [start, end), then EfInsertSilence of end - start frames at start.
    void EfSilence(int32_t start, int32_t end);
    // Keeps [start, end) only.
    void EfCrop(int32_t start, int32_t end);
    // Deletes [0, position) when position > 0.
    void EfTrimHead(int32_t position);
    // Deletes [position, length).
    void EfTrimTail(int32_t position);
    // Copies [start, end) and pastes the copy at start `count` times, so the range then
    // stands count + 1 times in a row. Refused (with a trace) when the result would be longer
    // than 2147483647 frames or hold an absurd number of entries.
    void EfRepeat(int32_t start, int32_t end, int32_t count);
    // Scales the gain of [start, end) by `percent` (see ScaleGain). Nothing when end < start
    // or percent is 100.
    void EfAmplify(int32_t start, int32_t end, int32_t percent);
    // Scales the gain of every entry by `percent` (see ScaleGain). 0 silences the audio
    // without removing it.
    void EfAmplifyAll(int32_t percent);

    // A source over this list's audio as it is now, with this list's rate and channels
    // (include src_cut_list_audio.h to use it).
    LRef<LSRCCutListAudio> MakeSource() const;
    // A sink that writes one new cut and, when released, replaces this list's content with
    // it (include snk_cut_list_audio.h to use it). This list must outlive the sink.
    LRef<LSNKCutListAudio> MakeSink(int32_t sampleRate, uint8_t channels);

    // Most entries a list may reach through EfRepeat.
    static constexpr size_t kMaxEntries = size_t{1} << 22;

  private:
    // The operations on 64-bit positions, so that derived positions (end - start, -start)
    // never overflow; stored lengths are capped at 2147483647.
    int64_t Length64() const;
    void Delete64(int64_t start, int64_t end);
    void InsertSilence64(int64_t position, int64_t count);
    void Paste64(int64_t position, const LCutListAudio& other);
    // Splits entry `i` at `at` frames into it (0 < at < length): the entry keeps the head and
    // a copy with a reference of its own, linked after it, takes the tail.
    void SplitEntry(size_t i, int64_t at);
    // Copies of `other`'s entries, each with a reference of its own.
    static std::vector<LAudioCut> CopyEntries(const std::vector<LAudioCut>& other);
    static LAudioCut Silence(int64_t length);

    uint32_t sampleRate_ = 44100;
    uint8_t channels_ = 1;
    std::vector<LAudioCut> cuts_;
};

}  // namespace osmera
