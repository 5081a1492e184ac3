#pragma once
// Writes an audio CD image (.cue sheet and raw .bin of 16-bit little-endian stereo at
// 44.1 kHz, the byte order a cue's BINARY file holds) of known pseudo-random audio, so
// that ripping, disc ids and burning can be tested without a drive.

#include <cstdint>
#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

namespace osmera::testing {

struct CdImage {
    std::string cue;
    std::string bin;
    std::vector<int32_t> sectors;               // per track
    std::vector<std::vector<int16_t>> samples;  // per track, interleaved stereo
};

// Tracks of `sectors[i]` sectors each (588 frames a sector), with CD-TEXT titles
// "Song N" when `titles` is set.
inline CdImage WriteCdImage(const std::string& folder, const std::vector<int32_t>& sectors,
                            bool titles = true) {
    CdImage img;
    img.cue = folder + "/disc.cue";
    img.bin = folder + "/disc.bin";
    img.sectors = sectors;
    std::ofstream bin(img.bin, std::ios::binary);
    std::ofstream cue(img.cue);
    cue << "PERFORMER \"Test Band\"\nTITLE \"Test Disc\"\nFILE \"disc.bin\" BINARY\n";
    uint32_t seed = 12345;
    int32_t at = 0;
    for (size_t t = 0; t < sectors.size(); ++t) {
        char line[96];
        std::snprintf(line, sizeof line, "  TRACK %02d AUDIO\n", static_cast<int>(t + 1));
        cue << line;
        if (titles)
            cue << "    TITLE \"Song " << t + 1 << "\"\n";
        std::snprintf(line, sizeof line, "    INDEX 01 %02d:%02d:%02d\n", at / 75 / 60,
                      at / 75 % 60, at % 75);
        cue << line;
        std::vector<int16_t> s(static_cast<size_t>(sectors[t]) * 588 * 2);
        for (auto& v : s) {
            seed = seed * 1664525u + 1013904223u;
            v = static_cast<int16_t>(seed >> 16);
        }
        for (int16_t v : s) {
            const char b[2] = {static_cast<char>(v & 0xff), static_cast<char>((v >> 8) & 0xff)};
            bin.write(b, 2);
        }
        img.samples.push_back(std::move(s));
        at += sectors[t];
    }
    return img;
}

}  // namespace osmera::testing
