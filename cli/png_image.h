#pragma once
// A picture of RGB pixels and its PNG file. The writer replaces the target only when the
// whole file was written (core/safe_replace.h). One thread per object.

#include <cstdint>
#include <string>
#include <vector>

namespace osmera::cli {

struct LPngImage {
    int width = 0;
    int height = 0;
    std::vector<uint32_t> pixels;  // 0xRRGGBB, row after row from the top

    LPngImage() = default;
    LPngImage(int w, int h, uint32_t fill)
        : width(w), height(h), pixels(static_cast<size_t>(w) * static_cast<size_t>(h), fill) {}
    uint32_t& At(int x, int y) { return pixels[static_cast<size_t>(y) * width + x]; }
    uint32_t At(int x, int y) const { return pixels[static_cast<size_t>(y) * width + x]; }
    // Sets the pixel when it lies inside the picture.
    void Put(int x, int y, uint32_t colour) {
        if (x >= 0 && y >= 0 && x < width && y < height)
            At(x, y) = colour;
    }
};

// Writes `image` as an 8-bit RGB PNG; false with a sentence in `message` when it could not.
bool WritePng(const LPngImage& image, const std::string& path, std::string& message);

// Reads an 8-bit RGB or RGBA PNG (alpha dropped); false when the file is not one.
bool ReadPng(const std::string& path, LPngImage& image);

}  // namespace osmera::cli
