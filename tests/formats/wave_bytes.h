#pragma once
// Helpers for the format tests: hand-made RIFF files byte by byte, whole-file reads and
// writes, and reading a source into a vector.

#include <cstdint>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "core/sound_source_base.h"

namespace osmera::testing {

using Bytes = std::vector<uint8_t>;

inline void Append16(Bytes& b, uint32_t v) {
    b.push_back(static_cast<uint8_t>(v));
    b.push_back(static_cast<uint8_t>(v >> 8));
}

inline void Append32(Bytes& b, uint32_t v) {
    Append16(b, v);
    Append16(b, v >> 16);
}

inline uint32_t Get32(const Bytes& b, size_t at) {
    return b[at] | (b[at + 1] << 8) | (b[at + 2] << 16) | (uint32_t{b[at + 3]} << 24);
}

// A chunk: id, size (the body's unless given), body, and a pad byte after an odd body.
inline Bytes Chunk(const char* id, const Bytes& body, int64_t size = -1) {
    Bytes b(id, id + 4);
    Append32(b, static_cast<uint32_t>(size < 0 ? static_cast<int64_t>(body.size()) : size));
    b.insert(b.end(), body.begin(), body.end());
    if (body.size() & 1)
        b.push_back(0);
    return b;
}

// A "fmt " body of `size` bytes (16 or more; zeros after the 16 standard bytes, fewer
// bytes cut it short).
inline Bytes FormatBody(uint16_t channels, uint32_t rate, uint16_t bits, uint16_t tag = 1,
                        size_t size = 16) {
    const uint16_t blockAlign = static_cast<uint16_t>(channels * ((bits + 7) / 8));
    Bytes b;
    Append16(b, tag);
    Append16(b, channels);
    Append32(b, rate);
    Append32(b, rate * blockAlign);
    Append16(b, blockAlign);
    Append16(b, bits);
    b.resize(size, 0);
    return b;
}

// "RIFF" <size> "WAVE" followed by `chunks`.
inline Bytes Riff(const Bytes& chunks) {
    Bytes b{'R', 'I', 'F', 'F'};
    Append32(b, static_cast<uint32_t>(chunks.size() + 4));
    b.insert(b.end(), {'W', 'A', 'V', 'E'});
    b.insert(b.end(), chunks.begin(), chunks.end());
    return b;
}

inline Bytes operator+(Bytes a, const Bytes& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

inline void WriteBytes(const std::string& path, const Bytes& b) {
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(b.data()), static_cast<std::streamsize>(b.size()));
}

inline Bytes ReadBytes(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// Reads `frames` frames from where the source stands.
inline std::vector<int32_t> ReadFrames(LSoundSourceBase& source, int32_t frames) {
    std::vector<int32_t> out(static_cast<size_t>(frames) * source.GetChannels());
    source.Read(out.data(), frames);
    return out;
}

}  // namespace osmera::testing
