#include "core/generator_sources.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numbers>

namespace osmera {

LSRCGeneratorBase::LSRCGeneratorBase(int32_t sampleRate, uint8_t channels, int32_t peak,
                                     int32_t length)
    : LSoundSourceBase(sampleRate, channels, peak), length_(std::max(length, 0)) {}

void LSRCGeneratorBase::Read(int32_t* buffer, int32_t frames) {
    if (frames <= 0)
        return;
    const int64_t begin = position_;
    const int64_t end = begin + frames;
    position_ = static_cast<int32_t>(end);
    std::memset(buffer, 0, sizeof(int32_t) * static_cast<size_t>(frames) * channels);
    const int64_t first = std::max<int64_t>(begin, 0);
    const int64_t last = std::min<int64_t>(end, length_);
    if (first >= last)
        return;
    Generate(buffer + (first - begin) * channels, static_cast<int32_t>(first),
             static_cast<int32_t>(last - first));
}

LSRCSilence::LSRCSilence(int32_t sampleRate, uint8_t channels, int32_t length)
    : LSRCGeneratorBase(sampleRate, channels, kPeakProcessed, length) {}

void LSRCSilence::Generate(int32_t*, int32_t, int32_t) {}

LSRCTone::LSRCTone(int32_t sampleRate, uint8_t channels, int32_t length, double frequency,
                   int32_t amplitude)
    : LSRCGeneratorBase(sampleRate, channels, std::abs(amplitude), length),
      step_(2.0 * std::numbers::pi * frequency / GetSampleRate()),
      amplitude_(amplitude) {}

void LSRCTone::Generate(int32_t* buffer, int32_t first, int32_t count) {
    for (int32_t i = 0; i < count; ++i) {
        const auto v =
            static_cast<int32_t>(std::lround(amplitude_ * std::sin(step_ * (first + i))));
        for (int c = 0; c < channels; ++c)
            *buffer++ = v;
    }
}

LSRCSampleVector::LSRCSampleVector(int32_t sampleRate, uint8_t channels,
                                   std::vector<int32_t> samples, int32_t peak)
    : LSRCGeneratorBase(sampleRate, channels, peak,
                        static_cast<int32_t>(samples.size() / std::max<uint8_t>(channels, 1))),
      samples_(std::move(samples)) {}

void LSRCSampleVector::Generate(int32_t* buffer, int32_t first, int32_t count) {
    std::memcpy(buffer, samples_.data() + static_cast<size_t>(first) * channels,
                sizeof(int32_t) * static_cast<size_t>(count) * channels);
}

}  // namespace osmera
