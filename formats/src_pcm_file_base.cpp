#include "formats/src_pcm_file_base.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "formats/pcm_sample_convert.h"

namespace osmera {

namespace {

void Zero(int32_t* buffer, int64_t frames, int32_t channels) {
    if (frames > 0)
        std::memset(buffer, 0, sizeof(int32_t) * static_cast<size_t>(frames * channels));
}

}  // namespace

LSRCPCMFileBase::LSRCPCMFileBase(LFile file, int64_t dataStart, int64_t claimedFrames,
                                 int32_t sampleRate, uint8_t channels, int32_t bytesPerSample)
    : LSoundSourceBase(sampleRate, channels, kPeak16Bit),
      file_(std::move(file)),
      dataStart_(dataStart),
      length_(static_cast<int32_t>(
          std::clamp<int64_t>(claimedFrames, 0, std::numeric_limits<int32_t>::max()))),
      claimedFrames_(std::max<int64_t>(claimedFrames, 0)),
      presentFrames_(0),
      blockAlign_(static_cast<int32_t>(this->channels) * bytesPerSample),
      bytesPerSample_(bytesPerSample),
      fileBuffer_(static_cast<size_t>(kBufferFrames) * static_cast<size_t>(blockAlign_)) {
    // Whole frames after the data start; a file cut short holds fewer than its header says.
    const int64_t held = std::max<int64_t>(file_.Size() - dataStart_, 0) / blockAlign_;
    presentFrames_ = std::min(held, claimedFrames_);
}

void LSRCPCMFileBase::Read(int32_t* buffer, int32_t frames) {
    while (frames > 0) {
        const int32_t n = std::min(frames, kBufferFrames);
        ReadBlock(buffer, n);
        buffer += static_cast<size_t>(n) * channels;
        frames -= n;
    }
}

void LSRCPCMFileBase::ReadBlock(int32_t* buffer, int32_t frames) {
    const int64_t p = position_;
    const int64_t end = p + frames;
    position_ = static_cast<int32_t>(std::min<int64_t>(end, std::numeric_limits<int32_t>::max()));

    // [first, last) is the part of the block that lies inside the data.
    const int64_t first = std::clamp<int64_t>(0, p, end);
    const int64_t last = std::clamp<int64_t>(length_, first, end);
    Zero(buffer, first - p, channels);

    int64_t got = 0;
    if (last > first) {
        // One read from wherever the file stands; Seek keeps it at the right frame.
        const int64_t bytes = file_.Read(fileBuffer_.data(), (last - first) * blockAlign_);
        got = bytes > 0 ? bytes / blockAlign_ : 0;
        Convert(fileBuffer_.data(), buffer + (first - p) * channels,
                static_cast<int32_t>(got * channels));
    }
    Zero(buffer + (first - p + got) * channels, end - first - got, channels);
}

void LSRCPCMFileBase::Seek(int32_t position) {
    position_ = position;
    const int64_t frame = position > 0 ? std::min(position, length_) : 0;
    file_.Seek(dataStart_ + frame * blockAlign_);
}

void LSRCPCMFile8::Convert(const uint8_t* in, int32_t* out, int32_t samples) const {
    for (int32_t i = 0; i < samples; ++i)
        out[i] = Pcm8ToInternal(in + i);
}

void LSRCPCMFile16::Convert(const uint8_t* in, int32_t* out, int32_t samples) const {
    for (int32_t i = 0; i < samples; ++i)
        out[i] = Pcm16ToInternal(in + 2 * i);
}

void LSRCPCMFile24::Convert(const uint8_t* in, int32_t* out, int32_t samples) const {
    for (int32_t i = 0; i < samples; ++i)
        out[i] = Pcm24ToInternal(in + 3 * i);
}

void LSRCPCMFile32::Convert(const uint8_t* in, int32_t* out, int32_t samples) const {
    for (int32_t i = 0; i < samples; ++i)
        out[i] = Pcm32ToInternal(in + 4 * i);
}

}  // namespace osmera
