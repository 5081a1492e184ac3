#include "edit/coarse_peaks.h"

#include <algorithm>
#include <atomic>

#include "core/file.h"
#include "edit/audio_cut_tank.h"

namespace osmera {

namespace {

// Raises `acc` to the byte-wise maximum of itself and `record` (`bytes` bytes).
inline void MaxInto(uint8_t* acc, const uint8_t* record, size_t bytes) {
    for (size_t i = 0; i < bytes; ++i)
        acc[i] = std::max(acc[i], record[i]);
}

// Appends to `out` one record per `kFanOut` records of `in` (`count` records of `bytes`).
void Fold(const uint8_t* in, int64_t count, size_t bytes, std::vector<uint8_t>& out) {
    for (int64_t i = 0; i < count; i += LCoarsePeaks::kFanOut) {
        const size_t at = out.size();
        out.resize(at + bytes, 0);
        const int64_t n = std::min(LCoarsePeaks::kFanOut, count - i);
        for (int64_t k = 0; k < n; ++k)
            MaxInto(&out[at], in + static_cast<size_t>(i + k) * bytes, bytes);
    }
}

// Graph records are read in runs of this many while building (a multiple of kFanOut).
constexpr int64_t kBuildRun = 16 * 4096;

// Bytes of graph records kept by all peaks alive.

std::atomic<int64_t> gKeptBytes{0};
std::atomic<int64_t> gBudget{LCoarsePeaks::kKeptRecordsBudget};

}  // namespace

bool LCoarsePeaks::TakeBudget(int64_t bytes) {
    if (bytes <= 0)
        return false;
    if (gKeptBytes.fetch_add(bytes) + bytes <= gBudget.load())
        return true;
    gKeptBytes.fetch_sub(bytes);
    return false;
}

int64_t LCoarsePeaks::SetKeptRecordsBudget(int64_t bytes) {
    return gBudget.exchange(bytes);
}

LCoarsePeaks::LCoarsePeaks(const uint8_t* records, int64_t count, uint8_t channels,
                           bool keepRecords)
    : channels_(std::max<uint8_t>(channels, 1)), records_(std::max<int64_t>(count, 0)) {
    const size_t bytes = static_cast<size_t>(records_) * 2 * channels_;
    std::vector<uint8_t> level1;
    if (records_ > 0) {
        Fold(records, records_, size_t{2} * channels_, level1);
        if (keepRecords && TakeBudget(static_cast<int64_t>(bytes)))
            kept_.assign(records, records + bytes);
    }
    BuildLevels(std::move(level1));
}

LCoarsePeaks::~LCoarsePeaks() {
    gKeptBytes.fetch_sub(static_cast<int64_t>(kept_.size()));
}

void LCoarsePeaks::BuildLevels(std::vector<uint8_t> level1) {
    const size_t bytes = size_t{2} * channels_;
    levels_.clear();
    sizes_.clear();
    levels_.push_back(std::move(level1));
    sizes_.push_back((records_ + kFanOut - 1) / kFanOut);
    while (static_cast<int>(levels_.size()) < kLevels) {
        std::vector<uint8_t> next;
        Fold(levels_.back().data(), sizes_.back(), bytes, next);
        sizes_.push_back((sizes_.back() + kFanOut - 1) / kFanOut);
        levels_.push_back(std::move(next));
    }
}

std::shared_ptr<const LCoarsePeaks> LCoarsePeaks::FromGraphFile(const std::string& path,
                                                                uint8_t channels) {
    channels = std::max<uint8_t>(channels, 1);
    auto peaks = std::shared_ptr<LCoarsePeaks>(new LCoarsePeaks(channels));
    peaks->BuildLevels({});
    LFile file;
    if (path.empty() || !file.Open(path, LFile::Mode::kRead))
        return peaks;  // reads as silence, as the graph path does
    const size_t bytes = size_t{2} * channels;
    const int64_t size = file.Size();
    const bool keep = TakeBudget(size);
    std::vector<uint8_t> run(static_cast<size_t>(kBuildRun) * bytes);
    std::vector<uint8_t> level1;
    int64_t records = 0;
    for (;;) {
        const int64_t got = file.Read(run.data(), static_cast<int64_t>(run.size()));
        if (got <= 0)
            break;
        // A torn last record keeps the bytes it has, the rest reading as zeros.
        const int64_t n = (got + static_cast<int64_t>(bytes) - 1) / static_cast<int64_t>(bytes);
        const size_t runBytes = static_cast<size_t>(n) * bytes;
        std::fill(run.begin() + got, run.begin() + static_cast<ptrdiff_t>(runBytes), 0);
        Fold(run.data(), n, bytes, level1);
        if (keep && peaks->kept_.size() + runBytes <= static_cast<size_t>(size))
            peaks->kept_.insert(peaks->kept_.end(), run.begin(),
                                run.begin() + static_cast<ptrdiff_t>(runBytes));
        records += n;
        if (got < static_cast<int64_t>(run.size()))
            break;
    }
    if (keep) {
        // Kept only when it is all the file held (and no more than was measured).
        if (peaks->kept_.size() != static_cast<size_t>(records) * bytes)
            peaks->kept_.clear();
        gKeptBytes.fetch_sub(size - static_cast<int64_t>(peaks->kept_.size()));
    }
    peaks->records_ = records;
    peaks->BuildLevels(std::move(level1));
    return peaks;
}

void LCoarsePeaks::ScanFine(int64_t lo, int64_t hi, LGraphBlockSource& fine, uint8_t* acc) const {
    const size_t bytes = size_t{2} * channels_;
    if (!kept_.empty()) {
        for (int64_t i = lo; i <= hi; ++i)
            MaxInto(acc, &kept_[static_cast<size_t>(i) * bytes], bytes);
        return;
    }
    while (lo <= hi) {
        const int64_t block = lo / kFanOut;
        const int64_t end = std::min(hi, block * kFanOut + kFanOut - 1);
        const uint8_t* records = fine.GraphBlock(block);
        for (int64_t i = lo; i <= end; ++i)
            MaxInto(acc, records + static_cast<size_t>(i - block * kFanOut) * bytes, bytes);
        lo = end + 1;
    }
}

void LCoarsePeaks::RangeMax(int64_t lo, int64_t hi, LGraphBlockSource& fine, uint8_t* acc) const {
    lo = std::max<int64_t>(lo, 0);
    hi = std::min(hi, records_ - 1);
    if (lo > hi)
        return;
    // Whole level-1 records inside the run, and the graph records left over at each end.
    const int64_t first = (lo + kFanOut - 1) / kFanOut;
    const int64_t last = (hi + 1) / kFanOut - 1;
    if (first > last) {
        ScanFine(lo, hi, fine, acc);
        return;
    }
    ScanFine(lo, first * kFanOut - 1, fine, acc);
    ScanFine((last + 1) * kFanOut, hi, fine, acc);
    LevelRangeMax(1, first, last, acc);
}

void LCoarsePeaks::LevelRangeMax(int level, int64_t lo, int64_t hi, uint8_t* acc) const {
    const size_t bytes = size_t{2} * channels_;
    const uint8_t* table = levels_[static_cast<size_t>(level - 1)].data();
    const int64_t first = (lo + kFanOut - 1) / kFanOut;
    const int64_t last = (hi + 1) / kFanOut - 1;
    if (level == kLevels || first > last) {
        for (int64_t i = lo; i <= hi; ++i)
            MaxInto(acc, table + static_cast<size_t>(i) * bytes, bytes);
        return;
    }
    for (int64_t i = lo; i < first * kFanOut; ++i)
        MaxInto(acc, table + static_cast<size_t>(i) * bytes, bytes);
    for (int64_t i = (last + 1) * kFanOut; i <= hi; ++i)
        MaxInto(acc, table + static_cast<size_t>(i) * bytes, bytes);
    LevelRangeMax(level + 1, first, last, acc);
}

// One cut's peaks, built once by whichever thread asks first.
struct LCoarsePeakCache::Entry {
    std::once_flag once;
    uint8_t channels = 1;
    std::shared_ptr<const LCoarsePeaks> peaks;
};

LCoarsePeakCache& LCoarsePeakCache::Instance() {
    static LCoarsePeakCache cache;
    return cache;
}

void LCoarsePeakCache::Hold(const std::vector<uint16_t>& cuts) {
    std::lock_guard<std::mutex> l(mutex_);
    for (uint16_t cut : cuts) {
        if (cut != SILENT_CUT)
            ++slots_[cut].holders;
    }
}

void LCoarsePeakCache::Release(const std::vector<uint16_t>& cuts) {
    std::vector<std::shared_ptr<Entry>> dropped;  // freed outside the lock
    std::lock_guard<std::mutex> l(mutex_);
    for (uint16_t cut : cuts) {
        auto it = slots_.find(cut);
        if (it == slots_.end())
            continue;
        if (--it->second.holders == 0) {
            dropped.push_back(std::move(it->second.entry));
            slots_.erase(it);
        }
    }
}

std::shared_ptr<const LCoarsePeaks> LCoarsePeakCache::Get(uint16_t cut, uint8_t channels) {
    std::shared_ptr<Entry> entry;
    {
        std::lock_guard<std::mutex> l(mutex_);
        auto it = slots_.find(cut);
        if (it == slots_.end() || it->second.holders == 0)
            return nullptr;
        if (!it->second.entry) {
            it->second.entry = std::make_shared<Entry>();
            it->second.entry->channels = channels;
        }
        entry = it->second.entry;
    }
    if (entry->channels != channels)
        return nullptr;
    // Built outside the cache's lock: other cuts stay available meanwhile.
    std::call_once(entry->once, [&] {
        entry->peaks =
            LCoarsePeaks::FromGraphFile(LAudioCutTank::Instance().GetGrfFilePath(cut), channels);
    });
    return entry->peaks;
}

size_t LCoarsePeakCache::GetEntries() const {
    std::lock_guard<std::mutex> l(mutex_);
    return slots_.size();
}

}  // namespace osmera
