#include "edit/audio_cut_file.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "edit/audio_cut_tank.h"

namespace osmera {

namespace {

constexpr bool kLittleEndianHost = std::endian::native == std::endian::little;

uint32_t SwapBytes(uint32_t v) {
    return (v >> 24) | ((v >> 8) & 0xff00u) | ((v << 8) & 0xff0000u) | (v << 24);
}

[[maybe_unused]] void SwapSamples(int32_t* samples, size_t count) {
    for (size_t i = 0; i < count; ++i) {
        samples[i] = static_cast<int32_t>(SwapBytes(static_cast<uint32_t>(samples[i])));
    }
}

}  // namespace

bool LAudioCutWriter::Create(const std::string& audPath, const std::string& grfPath,
                             uint8_t channels) {
    aud_.Close();
    grf_.Close();
    channels_ = channels == 0 ? 1 : channels;
    failed_ = false;
    max_.assign(channels_, 0);
    min_.assign(channels_, 0);
    records_.clear();
    ClearBlock();
    if (!aud_.Open(audPath, LFile::Mode::kCreate) || !grf_.Open(grfPath, LFile::Mode::kCreate)) {
        aud_.Close();
        grf_.Close();
        return Fail();
    }
    return true;
}

bool LAudioCutWriter::Fail() {
    failed_ = true;
    return false;
}

void LAudioCutWriter::ClearBlock() {
    std::fill(max_.begin(), max_.end(), 0);
    std::fill(min_.begin(), min_.end(), 0);
    blockFrames_ = 0;
}

void LAudioCutWriter::FinishRecord() {
    for (size_t c = 0; c < channels_; ++c) {
        records_.push_back(GraphPeakByte(max_[c]));
        records_.push_back(GraphPeakByte(-int64_t{min_[c]}));
    }
    ClearBlock();
}

bool LAudioCutWriter::Write(const int32_t* buffer, int32_t frames) {
    if (failed_ || !aud_.IsOpen())
        return Fail();
    if (frames <= 0)
        return true;
    const size_t count = static_cast<size_t>(frames) * channels_;
    const int32_t* data = buffer;
    if constexpr (!kLittleEndianHost) {
        swapped_.assign(buffer, buffer + count);
        SwapSamples(swapped_.data(), count);
        data = swapped_.data();
    }
    if (!aud_.Write(data, static_cast<int64_t>(count) * 4))
        return Fail();

    // The running peaks of the current block, one channel at a time over each stretch of
    // frames that stays inside the block.
    int32_t done = 0;
    while (done < frames) {
        const int32_t n = std::min(kGraphBlockFrames - blockFrames_, frames - done);
        const int32_t* block = buffer + static_cast<size_t>(done) * channels_;
        for (size_t c = 0; c < channels_; ++c) {
            int32_t hi = max_[c];
            int32_t lo = min_[c];
            for (int32_t f = 0; f < n; ++f) {
                const int32_t v = block[static_cast<size_t>(f) * channels_ + c];
                hi = std::max(hi, v);
                lo = std::min(lo, v);
            }
            max_[c] = hi;
            min_[c] = lo;
        }
        blockFrames_ += n;
        done += n;
        if (blockFrames_ == kGraphBlockFrames)
            FinishRecord();
    }
    if (!records_.empty()) {
        const bool ok = grf_.Write(records_.data(), static_cast<int64_t>(records_.size()));
        records_.clear();
        if (!ok)
            return Fail();
    }
    return true;
}

bool LAudioCutWriter::Seek(int32_t frame) {
    if (failed_ || !aud_.IsOpen() || frame < 0)
        return Fail();
    const int64_t audAt = int64_t{frame} * channels_ * 4;
    const int64_t grfAt = int64_t{frame / kGraphBlockFrames} * channels_ * 2;
    if (!aud_.Seek(audAt) || !aud_.Truncate() || !grf_.Seek(grfAt) || !grf_.Truncate()) {
        return Fail();
    }
    ClearBlock();
    blockFrames_ = frame % kGraphBlockFrames;
    return true;
}

bool LAudioCutWriter::Close() {
    if (aud_.IsOpen() && !failed_ && blockFrames_ > 0) {
        FinishRecord();
        if (!grf_.Write(records_.data(), static_cast<int64_t>(records_.size())))
            failed_ = true;
        records_.clear();
    }
    if (aud_.IsOpen() && LAudioCutTank::Instance().SyncsCutFiles() && !(aud_.Sync() && grf_.Sync()))
        failed_ = true;
    aud_.Close();
    grf_.Close();
    blockFrames_ = 0;
    return !failed_;
}

bool LAudioCutReader::Open(const std::string& audPath, uint8_t channels) {
    channels_ = channels == 0 ? 1 : channels;
    return aud_.Open(audPath, LFile::Mode::kRead);
}

bool LAudioCutReader::SeekFrame(int64_t frame) {
    if (frame < 0 || !aud_.Seek(frame * channels_ * 4)) {
        aud_.Close();
        return false;
    }
    return true;
}

void LAudioCutReader::ReadFrames(int32_t* buffer, int32_t frames) {
    if (frames <= 0)
        return;
    const size_t count = static_cast<size_t>(frames) * channels_;
    int64_t got = aud_.IsOpen() ? aud_.Read(buffer, static_cast<int64_t>(count) * 4) : 0;
    if (got < 0)
        got = 0;
    const size_t whole = static_cast<size_t>(got) / 4;  // a torn last sample reads as 0
    if (whole < count)
        std::memset(buffer + whole, 0, (count - whole) * sizeof(int32_t));
    if constexpr (!kLittleEndianHost)
        SwapSamples(buffer, whole);
}

}  // namespace osmera
