#include "edit/src_cut_list_audio.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "core/trace.h"

namespace osmera {

namespace {

// A rate that does not fit the source's signed field is refused by the base (error 3).
int32_t SourceRate(uint32_t rate) {
    return rate > static_cast<uint32_t>(std::numeric_limits<int32_t>::max())
               ? 0
               : static_cast<int32_t>(rate);
}

}  // namespace

LSRCCutListAudio::LSRCCutListAudio(const LCutListAudio& list)
    : LSoundSourceBase(SourceRate(list.GetSampleRate()), list.GetChannels(), kPeakProcessed),
      entries_(list),
      length_(list.GetLength()) {}

void LSRCCutListAudio::Zero(int32_t* buffer, int64_t frames) const {
    if (frames > 0)
        std::memset(buffer, 0, sizeof(int32_t) * static_cast<size_t>(frames) * channels);
}

void LSRCCutListAudio::StartEntry(size_t index, int64_t offset) {
    const LAudioCut& entry = entries_.GetEntries()[index];
    next_ = index + 1;
    left_ = std::max<int64_t>(0, entry.length - offset);
    gain_ = entry.gain;
    silent_ = entry.IsSilent();
    if (silent_ || left_ == 0)
        return;

    // Consecutive entries often play from the same cut (every split makes two): keep its file
    // open and only reposition it.
    if (openCut_ != entry.ref || !reader_.IsOpen()) {
        reader_.Close();
        openCut_ = SILENT_CUT;
        const std::string path = LAudioCutTank::Instance().GetAudFilePath(entry.ref);
        if (!reader_.Open(path, channels)) {
            LTracef("LSRCCutListAudio::StartEntry cannot open %s", path.c_str());
            silent_ = true;
            return;
        }
        openCut_ = entry.ref;
    }
    if (!reader_.SeekFrame(int64_t{entry.start} + offset)) {
        LTrace("LSRCCutListAudio::StartEntry seek failed");
        openCut_ = SILENT_CUT;
        silent_ = true;
    }
}

void LSRCCutListAudio::Read(int32_t* buffer, int32_t frames) {
    if (frames <= 0)
        return;
    int32_t* out = buffer;
    int64_t wanted = frames;
    if (position_ < 0) {
        const int64_t zeros = std::min(-int64_t{position_}, wanted);
        Zero(out, zeros);
        out += zeros * channels;
        wanted -= zeros;
    }
    const size_t entryCount = entries_.GetEntries().size();
    while (wanted > 0) {
        if (left_ > 0) {
            const int64_t n = std::min(left_, wanted);
            if (silent_) {
                Zero(out, n);
            } else {
                reader_.ReadFrames(out, static_cast<int32_t>(n));
                ApplyGain(out, static_cast<size_t>(n) * channels, gain_);
            }
            left_ -= n;
            out += n * channels;
            wanted -= n;
        } else if (next_ < entryCount) {
            StartEntry(next_, 0);
        } else {
            Zero(out, wanted);  // past the last entry
            break;
        }
    }
    position_ = Wrap32(int64_t{position_} + frames);
}

void LSRCCutListAudio::Seek(int32_t position) {
    position_ = position;
    next_ = 0;
    left_ = 0;
    silent_ = true;
    if (position < 1)
        return;  // the first entry starts with the next read
    const auto& cuts = entries_.GetEntries();
    int64_t f = position;
    size_t i = 0;
    while (i < cuts.size() && f >= cuts[i].length)
        f -= cuts[i++].length;
    if (i < cuts.size()) {
        StartEntry(i, f);
    } else {
        next_ = cuts.size();
    }
}

}  // namespace osmera
