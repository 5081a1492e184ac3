#include "display/document_model.h"

#include <QMetaObject>
#include <algorithm>
#include <utility>

namespace osmera {

LDocumentModel::LDocumentModel(LOMFile& doc, QObject* parent) : QObject(parent), doc_(doc) {}

void LDocumentModel::SetCursor(int32_t frame) {
    frame = std::clamp<int32_t>(frame, 0, doc_.audio.GetLength());
    if (frame == doc_.cursor)
        return;
    doc_.cursor = frame;
    Post(kCursor);
}

void LDocumentModel::SetSelection(int32_t a, int32_t b) {
    const int32_t length = doc_.audio.GetLength();
    a = std::clamp<int32_t>(a, 0, length);
    b = std::clamp<int32_t>(b, 0, length);
    const int32_t oldStart = doc_.selStart, oldEnd = doc_.selEnd;
    doc_.SetSelection(a, b);
    if (doc_.selStart != oldStart || doc_.selEnd != oldEnd)
        Post(kSelection);
}

void LDocumentModel::SetView(int32_t start, int32_t end) {
    if (end < start)
        std::swap(start, end);
    if (start == doc_.viewStart && end == doc_.viewEnd)
        return;
    doc_.viewStart = start;
    doc_.viewEnd = end;
    Post(kView);
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
void LDocumentModel::ZoomByFactor(double factor) {
    const int64_t span = std::max<int64_t>(1, int64_t{doc_.viewEnd} - doc_.viewStart);
    const bool cursorInView = doc_.cursor >= doc_.viewStart && doc_.cursor < doc_.viewEnd;
    const int32_t anchor =
        cursorInView ? doc_.cursor : static_cast<int32_t>(doc_.viewStart + span / 2);
    ZoomAround(anchor, static_cast<double>(anchor - doc_.viewStart) / span, factor);
}

void LDocumentModel::ZoomIn() {
    ZoomByFactor(0.5);
}

void LDocumentModel::ZoomOut() {
    ZoomByFactor(2.0);
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
    Post(kDisplay);
}

void LDocumentModel::SetDisplayMode(LWaveDisplayMode mode) {
    if (mode == displayMode_)
        return;
    displayMode_ = mode;
    Post(kDisplay);
}

void LDocumentModel::NotifyAudioChanged(int32_t from, int32_t to) {
    from = std::max(from, 0);
    if (pending_ & kAudio) {
        // The union of the ranges: a length change anywhere reaches the end.
        audioFrom_ = std::min(audioFrom_, from);
        audioTo_ = (to < 0 || audioTo_ < 0) ? -1 : std::max(audioTo_, to);
    } else {
        audioFrom_ = from;
        audioTo_ = to < 0 ? -1 : to;
    }
    Post(kAudio);
    NotifyStateChanged();
}

void LDocumentModel::NotifyStateChanged() {
    Post(kView | kSelection | kCursor);
}

void LDocumentModel::Post(uint8_t what) {
    pending_ |= what;
    if (queued_)
        return;
    queued_ = true;
    QMetaObject::invokeMethod(
        this,
        [this] {
            queued_ = false;
            Flush();
        },
        Qt::QueuedConnection);
}

void LDocumentModel::Flush() {
    // Taken first: a handler that changes the model again posts a new round.
    const uint8_t what = std::exchange(pending_, 0);
    if (what & kAudio)
        emit audioChanged(audioFrom_, audioTo_);
    if (what & kView)
        emit viewChanged();
    if (what & kSelection)
        emit selectionChanged();
    if (what & kCursor)
        emit cursorChanged();
    if (what & kDisplay)
        emit displayChanged();
    if (what & kPlay)
        emit playPositionChanged();
}

void LDocumentModel::SetPlayPosition(int32_t frame) {
    frame = frame < 0 ? -1 : std::min(frame, doc_.audio.GetLength());
    if (frame == playPosition_)
        return;
    playPosition_ = frame;
    Post(kPlay);
    if (frame < 0)
        return;
    // Page following: the next page when the line runs off the right edge, else a page
    // that starts with the line (a jump, a repeat starting over).
    const int64_t span = int64_t{doc_.viewEnd} - doc_.viewStart;
    if (span <= 0 || (frame >= doc_.viewStart && frame < doc_.viewEnd))
        return;
    const bool nextPage = frame >= doc_.viewEnd && frame < doc_.viewEnd + span;
    ScrollTo(nextPage ? doc_.viewEnd : frame);
}

void LDocumentModel::ScrubStart(int32_t frame) {
    SetPlayPosition(frame);
    emit scrubStarted(playPosition_);
}

void LDocumentModel::ScrubMove(int32_t frame) {
    SetPlayPosition(frame);
    emit scrubMoved(playPosition_);
}

void LDocumentModel::ScrubEnd(int32_t frame) {
    SetPlayPosition(frame);
    emit scrubEnded(playPosition_);
}

}  // namespace osmera
