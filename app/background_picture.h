#pragma once
// The picture drawn in the middle of the frame's empty client area: 300 by 218 pixels,
// painted with QPainter on first use (a stylised waveform under the product's name).
//
// Threads: GUI thread only (QPixmap).

#include <QIcon>
#include <QPixmap>

namespace osmera {

inline constexpr int kBackgroundWidth = 300;
inline constexpr int kBackgroundHeight = 218;

// The picture, made once and kept for the run.
const QPixmap& BackgroundPicture();

// The program's icon: the one the desktop entry names (app/desktop_integration.h).
QIcon ProgramIcon();

// Where the picture's top-left corner goes in an area of `width` by `height`: centred,
// halving with an arithmetic shift, so a smaller area shows the picture's middle part.
QPoint BackgroundOrigin(int width, int height);

}  // namespace osmera
