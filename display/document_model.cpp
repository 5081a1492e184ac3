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

void LDocumentModel::ZoomIn() {}
void LDocumentModel::ZoomOut() {}
void LDocumentModel::ZoomToSelection() {}
void LDocumentModel::ZoomFull() {
    SetView(0, doc_.audio.GetLength());
}
void LDocumentModel::VerticalZoom() {
    verticalScale_ = verticalScale_ >= 16 ? 1 : verticalScale_ * 2;
}
void LDocumentModel::SetDisplayMode(LWaveDisplayMode mode) {
    displayMode_ = mode;
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
