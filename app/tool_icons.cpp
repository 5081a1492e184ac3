#include "app/tool_icons.h"

#include <QPainter>
#include <QPainterPath>
#include <QPixmap>
#include <QStyle>

#include "app/command_table.h"

namespace osmera {

namespace {

constexpr int kSize = 22;

struct LIconSource {
    uint16_t id;
    const char* themeName;
    int standard;  // a QStyle::StandardPixmap, or -1 to draw
};

constexpr LIconSource kSources[] = {
    {kIdNewFile, "document-new", QStyle::SP_FileIcon},
    {kIdOpenFile, "document-open", QStyle::SP_DialogOpenButton},
    {kIdSaveFile, "document-save", QStyle::SP_DialogSaveButton},
    {kIdCut, "edit-cut", -1},
    {kIdCopy, "edit-copy", -1},
    {kIdPaste, "edit-paste", -1},
    {kIdUndo, "edit-undo", QStyle::SP_ArrowBack},
    {kIdPlay, "media-playback-start", QStyle::SP_MediaPlay},
    {kIdStop, "media-playback-stop", QStyle::SP_MediaStop},
    {kIdRecord, "media-record", -1},
    {kIdZoomIn, "zoom-in", -1},
    {kIdZoomOut, "zoom-out", -1},
    {kIdZoomToSelection, "zoom-fit-best", -1},
    {kIdZoomFull, "zoom-original", -1},
};

void Sheet(QPainter& p, const QRectF& r) {
    p.setBrush(Qt::white);
    p.drawRect(r);
    p.drawLine(QPointF(r.left() + 2, r.top() + 4), QPointF(r.right() - 2, r.top() + 4));
    p.drawLine(QPointF(r.left() + 2, r.top() + 7), QPointF(r.right() - 2, r.top() + 7));
}

void Magnifier(QPainter& p, uint16_t id) {
    p.setBrush(QColor(220, 235, 250));
    p.drawEllipse(QRectF(2.5, 2.5, 12, 12));
    p.setPen(QPen(QColor(60, 60, 60), 3, Qt::SolidLine, Qt::RoundCap));
    p.drawLine(QPointF(13, 13), QPointF(19.5, 19.5));
    p.setPen(QPen(QColor(30, 30, 30), 1.6));
    const QPointF c(8.5, 8.5);
    if (id == kIdZoomIn || id == kIdZoomOut)
        p.drawLine(c - QPointF(3.5, 0), c + QPointF(3.5, 0));
    if (id == kIdZoomIn)
        p.drawLine(c - QPointF(0, 3.5), c + QPointF(0, 3.5));
    if (id == kIdZoomToSelection) {
        p.setBrush(Qt::NoBrush);
        p.drawRect(QRectF(5.5, 6, 6, 5));
    }
    if (id == kIdZoomFull) {
        p.drawLine(c - QPointF(4, 0), c + QPointF(4, 0));
        p.drawLine(QPointF(5.5, 7), QPointF(4.5, 8.5));
        p.drawLine(QPointF(11.5, 7), QPointF(12.5, 8.5));
    }
}

QIcon DrawIcon(uint16_t id) {
    QPixmap pixmap(kSize, kSize);
    pixmap.fill(Qt::transparent);
    QPainter p(&pixmap);
    p.setRenderHint(QPainter::Antialiasing);
    p.setPen(QPen(QColor(50, 50, 50), 1));
    switch (id) {
        case kIdCut:
            p.setPen(QPen(QColor(50, 50, 50), 1.6));
            p.drawLine(QPointF(7, 3), QPointF(14, 14));
            p.drawLine(QPointF(15, 3), QPointF(8, 14));
            p.setBrush(Qt::NoBrush);
            p.setPen(QPen(QColor(190, 40, 40), 2));
            p.drawEllipse(QRectF(3, 13, 6, 6));
            p.drawEllipse(QRectF(13, 13, 6, 6));
            break;
        case kIdCopy:
            Sheet(p, QRectF(3.5, 2.5, 10, 12));
            Sheet(p, QRectF(8.5, 7.5, 10, 12));
            break;
        case kIdPaste:
            p.setBrush(QColor(190, 140, 80));
            p.drawRoundedRect(QRectF(3.5, 3.5, 13, 16), 2, 2);
            p.setBrush(QColor(120, 120, 120));
            p.drawRect(QRectF(7.5, 2, 5, 3));
            Sheet(p, QRectF(9.5, 9.5, 9, 10));
            break;
        case kIdRecord:
            p.setBrush(QColor(210, 30, 30));
            p.setPen(QPen(QColor(130, 20, 20), 1));
            p.drawEllipse(QRectF(4, 4, 14, 14));
            break;
        default:
            Magnifier(p, id);
            break;
    }
    return QIcon(pixmap);
}

}  // namespace

QIcon ToolIcon(uint16_t commandId, QStyle* style) {
    for (const LIconSource& source : kSources) {
        if (source.id != commandId)
            continue;
        const QIcon themed = QIcon::fromTheme(QLatin1String(source.themeName));
        if (!themed.isNull())
            return themed;
        if (source.standard >= 0 && style)
            return style->standardIcon(static_cast<QStyle::StandardPixmap>(source.standard));
        return DrawIcon(commandId);
    }
    return {};
}

}  // namespace osmera
