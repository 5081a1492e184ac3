#pragma once
// The waveform of a cut list as per-column peaks: for each pixel column of a view, the
// smallest and largest sample of each channel among the frames the column covers, with
// each entry's gain applied and silent entries reading as 0.
//
// Columns lie on a fixed grid for a given number of frames per column: column k covers the
// frames [Boundary(k), Boundary(k + 1)), Boundary(k) = floor(k * num / den). The grid does
// not depend on where a view starts, so a view that scrolls keeps every column it already
// computed.
//
// Where a column covers at least 256 frames the peaks come from the cuts' ".grf" records
// (one record per 256-frame block of a cut; a block that a column only partly covers counts
// whole, and the record's peak byte stands for byte << 11); below that the samples of the
// ".aud" files are read, down to single frames. Where a column covers many records (at
// least kCoarseColumnFrames frames) the maximum of its records comes from the cut's coarse
// peaks (coarse_peaks.h), built once per cut and shared by every reader that shows it, so
// that redrawing a whole ten-hour document costs a few records per column; the result is
// the same as reading every record (an entry with a negative gain, whose peaks do not grow
// with the records' bytes, always reads every record).
//
// The reader keeps a private copy of the list's entries (with references of its own), taken
// when it is made, and holds its cuts in the coarse peak cache while it lives: it is made on
// the thread that owns the document and may then be used on one worker thread while the
// document is edited (destroyed on either). Failures (a missing or short cut file) read as
// silence; nothing throws.

#include <cstdint>
#include <memory>
#include <vector>

#include "core/file.h"
#include "edit/coarse_peaks.h"
#include "edit/cut_list_audio.h"
#include "edit/src_cut_list_audio.h"

namespace osmera {

// Frames per column as an exact fraction num / den (both at least 1 for a usable value).
struct LFramesPerColumn {
    int64_t num = 1;
    int64_t den = 1;

    // num / den reduced; a zero or negative part gives 1 / 1.
    static LFramesPerColumn Of(int64_t num, int64_t den);
    bool operator==(const LFramesPerColumn&) const = default;
    double Value() const { return static_cast<double>(num) / static_cast<double>(den); }

    // First frame of column k: floor(k * num / den).
    int64_t Boundary(int64_t column) const;
    // The column that holds frame f (the last column starting at or before f).
    int64_t ColumnOf(int64_t frame) const;
    // The first column that starts at or after frame f.
    int64_t FirstColumnFrom(int64_t frame) const;
};

// The peaks of one channel in one column, in internal sample units (full scale 524288).
// A column without frames (past the end, or between frames when a frame is wider than a
// column) holds 0, 0.
struct LPeakRange {
    int32_t min = 0;
    int32_t max = 0;
    bool operator==(const LPeakRange&) const = default;
};

class LPeakReader : private LGraphBlockSource {
  public:
    // Columns of at least this many frames draw from the graph records.
    static constexpr int64_t kGraphColumnFrames = 256;
    // Columns of at least this many frames draw from the coarse peaks. Narrower columns
    // read their records in long sequential runs, which is cheaper than the coarse path's
    // one small read per column.
    static constexpr int64_t kCoarseColumnFrames = 65536;

    explicit LPeakReader(const LCutListAudio& list);
    ~LPeakReader();
    LPeakReader(const LPeakReader&) = delete;
    LPeakReader& operator=(const LPeakReader&) = delete;

    int32_t GetLength() const { return length_; }
    uint8_t GetChannels() const { return list_.GetChannels(); }
    uint32_t GetSampleRate() const { return list_.GetSampleRate(); }

    // Fills `out` with `count` columns from column `first` on, one LPeakRange per channel
    // per column (column-major: out[(c - first) * channels + channel]).
    void ReadPeaks(LFramesPerColumn fpc, int64_t first, int32_t count,
                   std::vector<LPeakRange>& out);

    // `frames` interleaved frames from frame `from` on (zeros outside the audio).
    void ReadFrames(int32_t from, int32_t frames, std::vector<int32_t>& out);

    // Whether wide columns use the coarse peaks (on by default). Off reads every graph
    // record, the reference the coarse path is compared with.
    void UseCoarsePeaks(bool on) { useCoarse_ = on; }

  private:
    void ReadFromGraph(LFramesPerColumn fpc, int64_t first, int32_t count, LPeakRange* out);
    // The columns of entry `e` (starting at document frame `entryStart`) within document
    // frames [a, b), from the cut's coarse peaks.
    void ReadEntryCoarse(LFramesPerColumn fpc, int64_t first, const LAudioCut& e,
                         int64_t entryStart, int64_t a, int64_t b, const LCoarsePeaks& peaks,
                         LPeakRange* out);
    void ReadFromAudio(LFramesPerColumn fpc, int64_t first, int32_t count, LPeakRange* out);
    // Reads `count` records of cut `ref` from record `from` into `into` (missing bytes 0).
    void ReadGraphRecords(uint16_t ref, int64_t from, int64_t count, std::vector<uint8_t>& into);
    const uint8_t* GraphBlock(int64_t block) override;

    LCutListAudio list_;          // the private copy
    std::vector<uint16_t> cuts_;  // its cut numbers, each once, held in the coarse cache
    bool useCoarse_ = true;
    int32_t length_;
    LRef<LSRCCutListAudio> source_;  // made on first use of the samples
    LFile grf_;
    uint32_t openGrf_ = SILENT_CUT;
    std::vector<uint8_t> graph_;
    // The records of one level-1 block of cut blockRef_, for the coarse path's run ends.
    uint16_t blockRef_ = SILENT_CUT;
    int64_t blockIndex_ = -1;
    std::vector<uint8_t> block_;
    std::vector<int32_t> frames_;
};

}  // namespace osmera
