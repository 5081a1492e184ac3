#include "display/document_model.h"

#include <algorithm>

namespace osmera {

LDocumentModel::LDocumentModel(LOMFile& doc, QObject* parent) : QObject(parent), doc_(doc) {}

void LDocumentModel::SetCursor(int32_t frame) {
    frame = std::clamp<int32_t>(frame, 0, doc_.audio.GetLength());
    if (frame == doc_.cursor)
        return;
    doc_.cursor = frame;
    emit cursorChanged();
}

void LDocumentModel::SetSelection(int32_t a, int32_t b) {
    const int32_t length = doc_.audio.GetLength();
    a = std::clamp<int32_t>(a, 0, length);
    b = std::clamp<int32_t>(b, 0, length);
    const int32_t oldStart = doc_.selStart, oldEnd = doc_.selEnd;
    doc_.SetSelection(a, b);
    if (doc_.selStart != oldStart || doc_.selEnd != oldEnd)
        emit selectionChanged();
}

void LDocumentModel::SetView(int32_t start, int32_t end) {
    if (end < start)
        std::swap(start, end);
    if (start == doc_.viewStart && end == doc_.viewEnd)
        return;
    doc_.viewStart = start;
    doc_.viewEnd = end;
    emit viewChanged();
}

int32_t LDocumentModel::MinimumSpan() const {
    return std::max(2, (viewColumns_ + 15) / 16);
}

void LDocumentModel::SetViewColumns(int columns) {
    viewColumns_ = std::max(columns, 1);
}

void LDocumentModel::SetSpanAt(int64_t start, int64_t span) {
    const int64_t length = doc_.audio.GetLength();
    span = std::clamp<int64_t>(span, MinimumSpan(), std::max<int64_t>(length, MinimumSpan()));
    start = std::clamp<int64_t>(start, 0, std::max<int64_t>(0, length - span));
    SetView(static_cast<int32_t>(start), static_cast<int32_t>(start + span));
}

void LDocumentModel::ZoomAround(int32_t frame, double fraction, double factor) {
    const int64_t span = std::max<int64_t>(1, int64_t{doc_.viewEnd} - doc_.viewStart);
    const int64_t length = doc_.audio.GetLength();
    const int64_t newSpan =
        std::clamp<int64_t>(static_cast<int64_t>(span * factor + 0.5), MinimumSpan(),
                            std::max<int64_t>(length, MinimumSpan()));
    SetSpanAt(frame - static_cast<int64_t>(fraction * static_cast<double>(newSpan)), newSpan);
}

void LDocumentModel::ScrollTo(int32_t start) {
    SetSpanAt(start, int64_t{doc_.viewEnd} - doc_.viewStart);
}

// Zooming in or out keeps the cursor where it is on screen when it is in view, else the
// middle of the view.
void LDocumentModel::ZoomIn() {
    const int64_t span = std::max<int64_t>(1, int64_t{doc_.viewEnd} - doc_.viewStart);
    const bool cursorInView = doc_.cursor >= doc_.viewStart && doc_.cursor < doc_.viewEnd;
    const int32_t anchor =
        cursorInView ? doc_.cursor : static_cast<int32_t>(doc_.viewStart + span / 2);
    ZoomAround(anchor, static_cast<double>(anchor - doc_.viewStart) / span, 0.5);
}

void LDocumentModel::ZoomOut() {
    const int64_t span = std::max<int64_t>(1, int64_t{doc_.viewEnd} - doc_.viewStart);
    const bool cursorInView = doc_.cursor >= doc_.viewStart && doc_.cursor < doc_.viewEnd;
    const int32_t anchor =
        cursorInView ? doc_.cursor : static_cast<int32_t>(doc_.viewStart + span / 2);
    ZoomAround(anchor, static_cast<double>(anchor - doc_.viewStart) / span, 2.0);
}

void LDocumentModel::ZoomToSelection() {
    if (doc_.selEnd > doc_.selStart)
        SetSpanAt(doc_.selStart, int64_t{doc_.selEnd} - doc_.selStart);
}

void LDocumentModel::ZoomFull() {
    SetView(0, doc_.audio.GetLength());
}

void LDocumentModel::VerticalZoom() {
    verticalScale_ = verticalScale_ >= 16 ? 1 : verticalScale_ * 2;
    emit displayChanged();
}

void LDocumentModel::SetDisplayMode(LWaveDisplayMode mode) {
    if (mode == displayMode_)
        return;
    displayMode_ = mode;
    emit displayChanged();
}

void LDocumentModel::NotifyAudioChanged(int32_t from, int32_t to) {
    emit audioChanged(from, to);
    NotifyStateChanged();
}

void LDocumentModel::NotifyStateChanged() {
    emit cursorChanged();
    emit selectionChanged();
    emit viewChanged();
}

}  // namespace osmera
