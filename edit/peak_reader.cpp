#include "edit/peak_reader.h"

#include <errno.h>
#include <unistd.h>

#include <algorithm>
#include <limits>
#include <numeric>

#include "edit/audio_cut_file.h"

namespace osmera {

namespace {

// floor(a / b) for b > 0.
int64_t FloorDiv(int64_t a, int64_t b) {
    const int64_t q = a / b;
    return (a % b != 0 && a < 0) ? q - 1 : q;
}

// Graph records are read in runs of this many.
constexpr int64_t kRecordRun = 8192;
// Frames are read in runs of this many.
constexpr int32_t kFrameRun = 8192;

// Walks the column grid forward: the column of each frame handed to At, frames in
// increasing order, with one division at the start and additions after.
class ColumnWalker {
  public:
    ColumnWalker(LFramesPerColumn fpc, int64_t frame)
        : fpc_(fpc),
          column_(fpc.ColumnOf(frame)),
          next_(fpc.Boundary(column_ + 1)),
          farJump_(4 * (fpc.num / fpc.den + 1)) {}
    int64_t At(int64_t frame) {
        if (frame >= next_) {
            // Far jumps (a gap between entries) divide again; short steps add.
            if (frame - next_ > farJump_) {
                column_ = fpc_.ColumnOf(frame);
            } else {
                while (frame >= next_)
                    next_ = fpc_.Boundary(++column_ + 1);
                return column_;
            }
            next_ = fpc_.Boundary(column_ + 1);
        }
        return column_;
    }

  private:
    LFramesPerColumn fpc_;
    int64_t column_;
    int64_t next_;
    int64_t farJump_;
};

}  // namespace

LFramesPerColumn LFramesPerColumn::Of(int64_t num, int64_t den) {
    if (num < 1 || den < 1)
        return {};
    const int64_t g = std::gcd(num, den);
    return {num / g, den / g};
}

int64_t LFramesPerColumn::Boundary(int64_t column) const {
    return FloorDiv(column * num, den);
}

int64_t LFramesPerColumn::ColumnOf(int64_t frame) const {
    // The largest k with floor(k * num / den) <= frame, i.e. k * num < (frame + 1) * den.
    return FloorDiv((frame + 1) * den - 1, num);
}

int64_t LFramesPerColumn::FirstColumnFrom(int64_t frame) const {
    // The smallest k with k * num >= frame * den.
    return -FloorDiv(-frame * den, num);
}

LPeakReader::LPeakReader(const LCutListAudio& list) : list_(list), length_(list.GetLength()) {
    std::vector<bool> seen(SILENT_CUT, false);
    for (const LAudioCut& e : list_.GetEntries()) {
        if (!e.IsSilent() && !seen[e.ref]) {
            seen[e.ref] = true;
            cuts_.push_back(e.ref);
        }
    }
    // list_ holds a reference on each of these cuts until after the destructor's Release.
    LCoarsePeakCache::Instance().Hold(cuts_);
}

LPeakReader::~LPeakReader() {
    LCoarsePeakCache::Instance().Release(cuts_);
}

void LPeakReader::ReadPeaks(LFramesPerColumn fpc, int64_t first, int32_t count,
                            std::vector<LPeakRange>& out) {
    const size_t channels = GetChannels();
    out.assign(static_cast<size_t>(std::max(count, 0)) * channels, LPeakRange{});
    if (count <= 0 || fpc.num < 1 || fpc.den < 1)
        return;
    if (fpc.num >= kGraphColumnFrames * fpc.den) {
        ReadFromGraph(fpc, first, count, out.data());
    } else {
        ReadFromAudio(fpc, first, count, out.data());
    }
}

void LPeakReader::ReadGraphRecords(uint16_t ref, int64_t from, int64_t count,
                                   std::vector<uint8_t>& into) {
    const size_t recordBytes = size_t{2} * GetChannels();
    into.assign(static_cast<size_t>(count) * recordBytes, 0);
    if (openGrf_ != ref || !grf_.IsOpen()) {
        grf_.Close();
        openGrf_ = SILENT_CUT;
        if (!grf_.Open(LAudioCutTank::Instance().GetGrfFilePath(ref), LFile::Mode::kRead))
            return;  // reads as silence
        openGrf_ = ref;
    }
    if (grf_.Seek(from * static_cast<int64_t>(recordBytes)))
        grf_.Read(into.data(), static_cast<int64_t>(into.size()));
}

const uint8_t* LPeakReader::GraphBlock(int64_t block) {
    if (block == blockIndex_)
        return block_.data();
    const size_t bytes = size_t{2} * GetChannels() * LCoarsePeaks::kFanOut;
    if (openGrf_ != blockRef_ || !grf_.IsOpen()) {
        ReadGraphRecords(blockRef_, block * LCoarsePeaks::kFanOut, LCoarsePeaks::kFanOut, block_);
        // A file that did not open reads as zeros and is tried again next time.
        blockIndex_ = openGrf_ == blockRef_ ? block : -1;
        return block_.data();
    }
    // One positioned read: this runs once per column of a wide view.
    block_.assign(bytes, 0);
    size_t got = 0;
    while (got < bytes) {
        const ssize_t n = ::pread(grf_.Descriptor(), block_.data() + got, bytes - got,
                                  static_cast<off_t>(block * static_cast<int64_t>(bytes) + got));
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            break;  // the end of the file, or a failure: the rest reads as zeros
        got += static_cast<size_t>(n);
    }
    blockIndex_ = block;
    return block_.data();
}

void LPeakReader::ReadEntryCoarse(LFramesPerColumn fpc, int64_t first, const LAudioCut& e,
                                  int64_t entryStart, int64_t a, int64_t b,
                                  const LCoarsePeaks& peaks, LPeakRange* out) {
    const size_t channels = GetChannels();
    if (blockRef_ != e.ref) {
        blockRef_ = e.ref;
        blockIndex_ = -1;
    }
    uint8_t acc[2 * 255];
    int64_t next = fpc.Boundary(fpc.ColumnOf(a));
    for (int64_t c = fpc.ColumnOf(a); next < b; ++c) {
        const int64_t fa = std::max(a, next);
        next = fpc.Boundary(c + 1);
        const int64_t fb = std::min(b, next);
        if (fa >= fb)
            continue;
        // The records of cut frames [ca, cb): blocks a column only partly covers count whole.
        const int64_t ca = e.start + (fa - entryStart);
        const int64_t cb = e.start + (fb - entryStart);
        std::fill_n(acc, 2 * channels, uint8_t{0});
        peaks.RangeMax(ca / 256, (cb - 1) / 256, *this, acc);
        LPeakRange* r = &out[static_cast<size_t>(c - first) * channels];
        for (size_t ch = 0; ch < channels; ++ch) {
            // A positive gain keeps the order of the bytes, so the largest byte gives the
            // largest product, as taking the products record by record would.
            int32_t hi = int32_t{acc[2 * ch]} << 11;
            int32_t lo = -(int32_t{acc[2 * ch + 1]} << 11);
            if (e.gain != kUnityGain) {
                hi = MultiplyByGain(hi, e.gain);
                lo = MultiplyByGain(lo, e.gain);
            }
            r[ch].max = std::max(r[ch].max, hi);
            r[ch].min = std::min(r[ch].min, lo);
        }
    }
}

void LPeakReader::ReadFromGraph(LFramesPerColumn fpc, int64_t first, int32_t count,
                                LPeakRange* out) {
    const int64_t f0 = std::max<int64_t>(0, fpc.Boundary(first));
    const int64_t f1 = std::min<int64_t>(length_, fpc.Boundary(first + count));
    const size_t channels = GetChannels();
    const bool wide = useCoarse_ && fpc.num >= kCoarseColumnFrames * fpc.den;
    int64_t entryStart = 0;
    for (const LAudioCut& e : list_.GetEntries()) {
        const int64_t entryEnd = entryStart + e.length;
        const int64_t a = std::max(f0, entryStart);
        const int64_t b = std::min(f1, entryEnd);
        std::shared_ptr<const LCoarsePeaks> coarse;
        if (a < b && wide && !e.IsSilent() && e.gain > 0)
            coarse = LCoarsePeakCache::Instance().Get(e.ref, GetChannels());
        if (coarse) {
            ReadEntryCoarse(fpc, first, e, entryStart, a, b, *coarse, out);
        } else if (a < b && !e.IsSilent() && e.gain != 0) {
            // Cut frames [ca, cb) of this entry are in view; blocks of 256 of them in turn.
            const int64_t ca = e.start + (a - entryStart);
            const int64_t cb = e.start + (b - entryStart);
            ColumnWalker walker(fpc, a);
            for (int64_t block = ca / 256; block <= (cb - 1) / 256; block += kRecordRun) {
                const int64_t run = std::min(kRecordRun, (cb - 1) / 256 - block + 1);
                ReadGraphRecords(e.ref, block, run, graph_);
                for (int64_t k = 0; k < run; ++k) {
                    const int64_t bs = std::max((block + k) * 256, ca);
                    const int64_t be = std::min((block + k) * 256 + 256, cb) - 1;
                    const int64_t c0 = walker.At(entryStart + bs - e.start) - first;
                    const int64_t c1 = walker.At(entryStart + be - e.start) - first;
                    const uint8_t* rec = &graph_[static_cast<size_t>(k) * channels * 2];
                    for (size_t ch = 0; ch < channels; ++ch) {
                        int32_t hi = int32_t{rec[2 * ch]} << 11;
                        int32_t lo = -(int32_t{rec[2 * ch + 1]} << 11);
                        if (e.gain != kUnityGain) {
                            hi = MultiplyByGain(hi, e.gain);
                            lo = MultiplyByGain(lo, e.gain);
                            if (hi < lo)
                                std::swap(hi, lo);
                        }
                        for (int64_t c = c0; c <= c1; ++c) {
                            LPeakRange& r = out[static_cast<size_t>(c) * channels + ch];
                            r.max = std::max(r.max, hi);
                            r.min = std::min(r.min, lo);
                        }
                    }
                }
            }
        }
        entryStart = entryEnd;
        if (entryStart >= f1)
            break;
    }
}

void LPeakReader::ReadFromAudio(LFramesPerColumn fpc, int64_t first, int32_t count,
                                LPeakRange* out) {
    const int64_t f0 = std::max<int64_t>(0, fpc.Boundary(first));
    const int64_t f1 = std::min<int64_t>(length_, fpc.Boundary(first + count));
    if (f0 >= f1)
        return;
    const size_t channels = GetChannels();
    if (!source_)
        source_ = list_.MakeSource();
    source_->Seek(static_cast<int32_t>(f0));
    frames_.resize(static_cast<size_t>(kFrameRun) * channels);
    ColumnWalker walker(fpc, f0);
    int64_t column = -1;
    for (int64_t f = f0; f < f1; f += kFrameRun) {
        const int32_t n = static_cast<int32_t>(std::min<int64_t>(kFrameRun, f1 - f));
        source_->Read(frames_.data(), n);
        for (int32_t i = 0; i < n; ++i) {
            const int64_t c = walker.At(f + i) - first;
            LPeakRange* r = &out[static_cast<size_t>(c) * channels];
            const int32_t* frame = &frames_[static_cast<size_t>(i) * channels];
            if (c != column) {  // the column's first frame sets both ends
                column = c;
                for (size_t ch = 0; ch < channels; ++ch)
                    r[ch] = {frame[ch], frame[ch]};
                continue;
            }
            for (size_t ch = 0; ch < channels; ++ch) {
                r[ch].min = std::min(r[ch].min, frame[ch]);
                r[ch].max = std::max(r[ch].max, frame[ch]);
            }
        }
    }
}

void LPeakReader::ReadFrames(int32_t from, int32_t frames, std::vector<int32_t>& out) {
    out.assign(static_cast<size_t>(std::max(frames, 0)) * GetChannels(), 0);
    if (frames <= 0)
        return;
    if (!source_)
        source_ = list_.MakeSource();
    source_->Seek(from);
    source_->Read(out.data(), frames);
}

}  // namespace osmera
