#pragma once
// Coarse waveform peaks of one cut, and the process-wide cache that keeps them.
//
// A cut's ".grf" file holds one record per 256 frames (see audio_cut_file.h). A view of a
// long document draws columns that each span thousands of those records; reading them all
// again after every edit is what makes an edit of a ten-hour document slow. So each cut also
// gets a small pyramid in memory: level 1 holds the byte-wise maximum of every 16 graph
// records, level 2 of every 16 level-1 records, level 3 of every 16 level-2 records (4096,
// 65536 and 1048576 frames). The maximum over any run of graph records is then a few coarse
// records plus at most 15 graph records at each end. The result is exactly the maximum of
// the graph records of the run.
//
// The graph records themselves are kept in memory too while all kept records of the process
// stay within a budget, kKeptRecordsBudget (the page cache holds them anyway, and one small read
// per column costs more than the rest of the work); beyond it the ends of a run are read from the
// file through the caller's LGraphBlockSource.
//
// A cut's files never change once written, but its number is reused after its last
// reference goes. The cache therefore keeps the peaks of a cut only while some holder (a
// peak reader, whose snapshot of a cut list keeps references on its cuts) holds the number:
// holders register their cuts with Hold and give them back with Release, and the peaks of a
// number are dropped when its last holder releases it. A number that is held cannot be
// released in the tank, so held peaks always belong to the cut that now has the number.
// Memory is bounded by the cuts that live readers show (about 1/8 of the ".grf" size).
//
// Threads: LCoarsePeaks is immutable once built and may be read from any thread. Every
// function of LCoarsePeakCache may be called from any thread.

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

namespace osmera {

// Hands out the graph records of a cut for the ends of a run, 16 at a time.
class LGraphBlockSource {
  public:
    // The records [16 * block, 16 * block + 16) of the cut, 16 * channels * 2 bytes (zeros
    // for what the file does not hold). Valid until the next call.
    virtual const uint8_t* GraphBlock(int64_t block) = 0;

  protected:
    ~LGraphBlockSource() = default;
};

class LCoarsePeaks {
  public:
    // Records per coarse record, at every level.
    static constexpr int64_t kFanOut = 16;
    static constexpr int kLevels = 3;
    // Bytes of graph records that all cuts' peaks together keep in memory at most.
    static constexpr int64_t kKeptRecordsBudget = int64_t{64} << 20;
    // Changes that limit for peaks built from now on (tests use 0); returns the old one.
    static int64_t SetKeptRecordsBudget(int64_t bytes);

    // The pyramid of `count` graph records of `channels` channels held in `records`, keeping
    // a copy of the records when `keepRecords` (and the budget allows).
    LCoarsePeaks(const uint8_t* records, int64_t count, uint8_t channels, bool keepRecords);
    ~LCoarsePeaks();
    LCoarsePeaks(const LCoarsePeaks&) = delete;
    LCoarsePeaks& operator=(const LCoarsePeaks&) = delete;
    // Reads the graph file whole; a missing file gives a cut without records (silence).
    static std::shared_ptr<const LCoarsePeaks> FromGraphFile(const std::string& path,
                                                             uint8_t channels);

    int64_t GetRecords() const { return records_; }
    uint8_t GetChannels() const { return channels_; }
    // True when the graph records are kept in memory (no reads through the block source).
    bool KeepsRecords() const { return !kept_.empty(); }

    // Raises `acc` (channels * 2 bytes, one record) to the byte-wise maximum of itself and
    // the graph records [lo, hi] (records past the end count as zeros).
    void RangeMax(int64_t lo, int64_t hi, LGraphBlockSource& fine, uint8_t* acc) const;

  private:
    explicit LCoarsePeaks(uint8_t channels) : channels_(channels), records_(0) {}
    // Levels 1 to kLevels from level 1, for records_ graph records.
    void BuildLevels(std::vector<uint8_t> level1);
    void LevelRangeMax(int level, int64_t lo, int64_t hi, uint8_t* acc) const;
    void ScanFine(int64_t lo, int64_t hi, LGraphBlockSource& fine, uint8_t* acc) const;
    // Takes `bytes` of the budget for kept records; false when they do not fit.
    static bool TakeBudget(int64_t bytes);

    uint8_t channels_;
    int64_t records_;
    std::vector<uint8_t> kept_;  // the graph records, or empty
    // levels_[k - 1] is level k; sizes_[k - 1] its number of records.
    std::vector<std::vector<uint8_t>> levels_;
    std::vector<int64_t> sizes_;
};

class LCoarsePeakCache {
  public:
    static LCoarsePeakCache& Instance();

    // Registers one holder of each number in `cuts` (silence is ignored). The caller must
    // hold a reference on each cut in the tank from before Hold until after Release.
    void Hold(const std::vector<uint16_t>& cuts);
    void Release(const std::vector<uint16_t>& cuts);

    // The peaks of held cut `cut`, built from its graph file on first use (one thread
    // builds, others asking meanwhile wait for it). Null when the number is not held or the
    // cut was built with another channel count.
    std::shared_ptr<const LCoarsePeaks> Get(uint16_t cut, uint8_t channels);

    // Numbers with peaks kept or held (for tests).
    size_t GetEntries() const;

  private:
    struct Entry;
    struct Slot {
        uint32_t holders = 0;
        std::shared_ptr<Entry> entry;
    };
    mutable std::mutex mutex_;
    std::unordered_map<uint16_t, Slot> slots_;
};

}  // namespace osmera
