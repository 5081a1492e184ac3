#pragma once
// The tool bar's icons: the desktop theme's icon when the theme has one, else a standard
// icon of the widget style, else a small picture drawn here, so the tool bar has pictures
// on any desktop (also a bare X server without an icon theme).
//
// Threads: GUI thread only.

#include <QIcon>
#include <cstdint>

class QStyle;

namespace osmera {

QIcon ToolIcon(uint16_t commandId, QStyle* style);

}  // namespace osmera
