#include "edit/peak_reader.h"

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

LPeakReader::LPeakReader(const LCutListAudio& list) : list_(list), length_(list.GetLength()) {}

LPeakReader::~LPeakReader() = default;

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

void LPeakReader::ReadGraphRecords(uint16_t ref, int64_t from, int64_t count) {
    const size_t recordBytes = size_t{2} * GetChannels();
    graph_.assign(static_cast<size_t>(count) * recordBytes, 0);
    if (openGrf_ != ref || !grf_.IsOpen()) {
        grf_.Close();
        openGrf_ = SILENT_CUT;
        if (!grf_.Open(LAudioCutTank::Instance().GetGrfFilePath(ref), LFile::Mode::kRead))
            return;  // reads as silence
        openGrf_ = ref;
    }
    if (grf_.Seek(from * static_cast<int64_t>(recordBytes)))
        grf_.Read(graph_.data(), static_cast<int64_t>(graph_.size()));
}

void LPeakReader::ReadFromGraph(LFramesPerColumn fpc, int64_t first, int32_t count,
                                LPeakRange* out) {
    const int64_t f0 = std::max<int64_t>(0, fpc.Boundary(first));
    const int64_t f1 = std::min<int64_t>(length_, fpc.Boundary(first + count));
    const size_t channels = GetChannels();
    int64_t entryStart = 0;
    for (const LAudioCut& e : list_.GetEntries()) {
        const int64_t entryEnd = entryStart + e.length;
        const int64_t a = std::max(f0, entryStart);
        const int64_t b = std::min(f1, entryEnd);
        if (a < b && !e.IsSilent() && e.gain != 0) {
            // Cut frames [ca, cb) of this entry are in view; blocks of 256 of them in turn.
            const int64_t ca = e.start + (a - entryStart);
            const int64_t cb = e.start + (b - entryStart);
            ColumnWalker walker(fpc, a);
            for (int64_t block = ca / 256; block <= (cb - 1) / 256; block += kRecordRun) {
                const int64_t run = std::min(kRecordRun, (cb - 1) / 256 - block + 1);
                ReadGraphRecords(e.ref, block, run);
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
