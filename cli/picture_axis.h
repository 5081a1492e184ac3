#pragma once
// The time axis under osmera-cli's pictures: a line, ticks at a round step chosen so that
// labels stand at least 70 pixels apart, and each tick's time as "m:ss" (or seconds with
// decimals for short spans) in a small built-in pixel font. Pure; any thread.

#include <cstdint>

#include "cli/png_image.h"

namespace osmera::cli {

// The height the axis takes at the bottom of a picture.
constexpr int kTimeAxisHeight = 14;

// Draws the axis of the time span [fromSeconds, toSeconds] into rows
// [image.height - kTimeAxisHeight, image.height) of `image`.
void DrawTimeAxis(LPngImage& image, double fromSeconds, double toSeconds, uint32_t background,
                  uint32_t ink);

}  // namespace osmera::cli
