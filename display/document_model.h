#pragma once
// The editor's view-model of one open document: the only writer of its cursor, selection
// and visible range, and the one place that tells the document's windows what changed.
//
// The engine's controller changes audio (edits, effects, undo) and reports it through
// LDocumentListener; the frame forwards each report to the document's model with
// NotifyAudioChanged / NotifyStateChanged, and every view listening to the model redraws.
// Signals of one event-loop turn are merged, so a burst of changes repaints once: every
// change only marks its signal pending, and the pending signals are emitted together when
// control returns to the event loop (audioChanged first, with the union of the changed
// ranges, then viewChanged, selectionChanged, cursorChanged, displayChanged), or at once by
// Flush. A view that maps pixels to frames right after changing the view (mouse and wheel
// handlers) calls Flush, so that its own mapping is current before it returns.
//
// Ownership: the model borrows the document (the controller owns it) and must be destroyed
// before it. Threads: GUI thread only.

#include <QObject>
#include <cstdint>

#include "edit/om_file.h"

namespace osmera {

// How a multi-channel waveform is drawn: both halves of each channel around its own middle
// line ("+ / -"), or the left channel upward and the right channel downward ("L / R").
enum class LWaveDisplayMode { kPlusMinus, kLeftRight };

class LDocumentModel : public QObject {
    Q_OBJECT
  public:
    explicit LDocumentModel(LOMFile& doc, QObject* parent = nullptr);

    LOMFile& Document() { return doc_; }
    const LOMFile& Document() const { return doc_; }

    // Cursor, selection and view; each clamps to the audio and emits its signal when the
    // value really changed.
    void SetCursor(int32_t frame);
    void SetSelection(int32_t a, int32_t b);
    void SetView(int32_t start, int32_t end);

    // Zoom commands of the Window menu (5001-5005) on this document's view.
    void ZoomIn();
    void ZoomOut();
    void ZoomToSelection();
    void ZoomFull();
    // Zooms by `factor` (below 1 zooms in) so that `frame` stays at `fraction` (0..1) of the
    // view's width. The span is kept between MinimumSpan() and the whole file.
    void ZoomAround(int32_t frame, double fraction, double factor);
    // Moves the view to start at `start`, keeping its span, within the audio.
    void ScrollTo(int32_t start);
    // The number of pixel columns of the main view (sets the deepest zoom: 16 columns per
    // frame). The main view tells it when it is resized.
    void SetViewColumns(int columns);
    int ViewColumns() const { return viewColumns_; }
    int32_t MinimumSpan() const;
    void VerticalZoom();  // steps the vertical magnification 1, 2, 4, 8, 16, then back to 1
    int VerticalScale() const { return verticalScale_; }

    void SetDisplayMode(LWaveDisplayMode mode);
    LWaveDisplayMode DisplayMode() const { return displayMode_; }

    // The controller changed the audio (edit, effect, undo, load): frames from..to of the
    // new audio may differ (to = -1: up to the end). Cursor, selection and view may have
    // changed too.
    void NotifyAudioChanged(int32_t from = 0, int32_t to = -1);
    // Cursor, selection or view fields of the document were written by the engine.
    void NotifyStateChanged();

    // Emits the pending signals now rather than at the end of this event-loop turn.
    void Flush();
    // True while some change has not been signalled yet.
    bool HasPending() const { return pending_ != 0; }

  signals:
    void audioChanged(int32_t from, int32_t to);
    void selectionChanged();
    void cursorChanged();
    void viewChanged();
    // The vertical magnification or the display mode changed.
    void displayChanged();

  private:
    enum Pending : uint8_t {
        kAudio = 1,
        kView = 2,
        kSelection = 4,
        kCursor = 8,
        kDisplay = 16,
    };
    // Marks signals pending and makes sure a flush is queued for the end of this turn.
    void Post(uint8_t what);

    LOMFile& doc_;
    // The view [start, start + span) with the span limited and the start kept in the audio.
    void SetSpanAt(int64_t start, int64_t span);

    uint8_t pending_ = 0;
    bool queued_ = false;
    int32_t audioFrom_ = 0;
    int32_t audioTo_ = 0;  // -1: up to the end

    int verticalScale_ = 1;
    int viewColumns_ = 1000;
    LWaveDisplayMode displayMode_ = LWaveDisplayMode::kPlusMinus;
};

}  // namespace osmera
