#include "cli/picture_axis.h"

#include <cmath>
#include <cstdio>
#include <cstring>

namespace osmera::cli {

namespace {

// 3 x 5 glyphs, one row per 3 low bits, top row first: 0-9, ':', '.'.
constexpr uint16_t kGlyphs[12][5] = {{7, 5, 5, 5, 7}, {2, 6, 2, 2, 7}, {7, 1, 7, 4, 7},
                                     {7, 1, 7, 1, 7}, {5, 5, 7, 1, 1}, {7, 4, 7, 1, 7},
                                     {7, 4, 7, 5, 7}, {7, 1, 1, 1, 1}, {7, 5, 7, 5, 7},
                                     {7, 5, 7, 1, 7}, {0, 2, 0, 2, 0}, {0, 0, 0, 0, 2}};

void DrawText(LPngImage& image, int x, int y, const char* text, uint32_t ink) {
    for (; *text; ++text, x += 4) {
        const int g = *text >= '0' && *text <= '9' ? *text - '0' : *text == ':' ? 10 : 11;
        for (int r = 0; r < 5; ++r)
            for (int c = 0; c < 3; ++c)
                if (kGlyphs[g][r] & (4 >> c))
                    image.Put(x + c, y + r, ink);
    }
}

void Label(double seconds, double step, char* text, size_t size) {
    if (step >= 1.0) {
        const long s = std::lround(seconds);
        if (s >= 3600)
            std::snprintf(text, size, "%ld:%02ld:%02ld", s / 3600, s / 60 % 60, s % 60);
        else
            std::snprintf(text, size, "%ld:%02ld", s / 60, s % 60);
    } else {
        const int decimals = step >= 0.1 ? 1 : step >= 0.01 ? 2 : 3;
        std::snprintf(text, size, "%.*f", decimals, seconds);
    }
}

}  // namespace

void DrawTimeAxis(LPngImage& image, double fromSeconds, double toSeconds, uint32_t background,
                  uint32_t ink) {
    const int top = image.height - kTimeAxisHeight;
    if (top < 0 || image.width <= 0)
        return;
    for (int y = top; y < image.height; ++y)
        for (int x = 0; x < image.width; ++x)
            image.At(x, y) = background;
    for (int x = 0; x < image.width; ++x)
        image.At(x, top) = ink;
    const double span = toSeconds - fromSeconds;
    if (!(span > 0))
        return;
    static const double kSteps[] = {0.001, 0.002, 0.005, 0.01, 0.02, 0.05, 0.1,  0.2,
                                    0.5,   1,     2,     5,    10,   15,   30,   60,
                                    120,   300,   600,   900,  1800, 3600, 7200, 18000};
    double step = kSteps[sizeof kSteps / sizeof kSteps[0] - 1];
    for (double s : kSteps) {
        if (s * image.width / span >= 70.0) {
            step = s;
            break;
        }
    }
    for (double t = std::ceil(fromSeconds / step) * step; t <= toSeconds; t += step) {
        const int x = static_cast<int>(std::lround((t - fromSeconds) / span * image.width));
        for (int y = top; y < top + 4; ++y)
            image.Put(x, y, ink);
        char text[24];
        Label(t, step, text, sizeof text);
        const int w = static_cast<int>(std::strlen(text)) * 4 - 1;
        int lx = x - w / 2;
        if (lx < 0)
            lx = 0;
        if (lx + w > image.width)
            lx = image.width - w;
        DrawText(image, lx, top + 6, text, ink);
    }
}

}  // namespace osmera::cli
