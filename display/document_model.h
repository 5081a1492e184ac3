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
// ranges, then viewChanged, selectionChanged, cursorChanged, displayChanged,
// playPositionChanged), or at once by
// Flush. A view that maps pixels to frames right after changing the view (mouse and wheel
// handlers) calls Flush, so that its own mapping is current before it returns.
//
// While the document plays, the transport hands the model the frame being heard (the play
// position, drawn as a line by the views); the model follows it page by page: when it
// leaves the visible range the view moves so that the next page starts with it. While
// playback is paused the transport lets the views scrub: a drag in the waveform then
// asks for the sound at the pointer (scrubStarted / scrubMoved / scrubEnded) instead of
// selecting.
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

    // The frame being heard, or -1 when the document does not play. Moves the view a page
    // on when the frame leaves it.
    void SetPlayPosition(int32_t frame);
    int32_t PlayPosition() const { return playPosition_; }
    // Set by the transport while playback of this document is paused: drags scrub.
    void SetScrubEnabled(bool enabled) { scrubEnabled_ = enabled; }
    bool ScrubEnabled() const { return scrubEnabled_; }
    // A view's scrub gesture: each emits its signal at once (the sound must follow the
    // pointer) and shows the play line at `frame`.
    void ScrubStart(int32_t frame);
    void ScrubMove(int32_t frame);
    void ScrubEnd(int32_t frame);

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
    // The play position changed (merged per turn like the others).
    void playPositionChanged();
    // A drag while paused: the transport cues and seeks to `frame`, then pauses again.
    void scrubStarted(int32_t frame);
    void scrubMoved(int32_t frame);
    void scrubEnded(int32_t frame);

  private:
    // Zoom by `factor` (0.5 in, 2 out) around the cursor when in view, else the middle.
    void ZoomByFactor(double factor);
    enum Pending : uint8_t {
        kAudio = 1,
        kView = 2,
        kSelection = 4,
        kCursor = 8,
        kDisplay = 16,
        kPlay = 32,
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
    int32_t playPosition_ = -1;
    bool scrubEnabled_ = false;
};

}  // namespace osmera
