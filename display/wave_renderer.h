#pragma once
// Draws waveform columns into an image: per-channel lanes with a middle line each ("+ / -"),
// or the left channel upward and the right one downward from one middle line ("L / R"),
// magnified 1 to 16 times and clipped at the lane edges. Shared by the file window's main
// view and its overview strip. Colours come from the palette so the views look native.
//
// Pure functions on the caller's image; GUI thread (or any thread owning the image).

#include <QImage>
#include <QPalette>
#include <cstdint>
#include <vector>

#include "display/document_model.h"
#include "edit/peak_reader.h"

namespace osmera {

struct LWaveColours {
    QRgb background;  // inside the data
    QRgb wave;
    QRgb centre;    // the middle line of a lane
    QRgb outside;   // where there is no data
    QRgb laneEdge;  // the line between two lanes

    static LWaveColours FromPalette(const QPalette& palette);
};

struct LWaveLayout {
    int channels = 1;
    LWaveDisplayMode mode = LWaveDisplayMode::kPlusMinus;
    int scale = 1;  // vertical magnification
};

class LWaveRenderer {
  public:
    // Column x of `image` from `peaks` (one per channel), or the no-data colour.
    static void DrawColumn(QImage& image, int x, const LPeakRange* peaks, bool hasData,
                           const LWaveLayout& layout, const LWaveColours& colours);
    // Columns [x0, x0 + count) of `image`, column x0 + i from columns[i] (one LPeakRange per
    // channel; null for the no-data colour). Drawn row by row, so that a run of columns
    // costs one pass over the image's memory rather than one per column.
    static void DrawColumns(QImage& image, int x0, int count, const LPeakRange* const* columns,
                            const LWaveLayout& layout, const LWaveColours& colours);
    // The whole image from single frames: `samples` (interleaved) holds frames from
    // `firstFrame` on, frame f being centred at x = (f + 0.5) * den / num - firstColumn;
    // `length` is the audio's length (columns past it get the no-data colour).
    static void DrawFrames(QImage& image, const std::vector<int32_t>& samples, int32_t firstFrame,
                           LFramesPerColumn fpc, int64_t firstColumn, int32_t length,
                           const LWaveLayout& layout, const LWaveColours& colours);
    // The y of `value` in lane `lane` of an image `height` high (clipped to the lane).
    static int ValueToY(int32_t value, int lane, int height, const LWaveLayout& layout);
};

}  // namespace osmera
