#pragma once
// LWaveWindow: the program's waveform control. It shows an audio source as one vertical
// peak bar per pixel column over a chosen stretch of samples, with the selection, the end of
// the data and the cursor marked in colour, inside a sunken frame.
//
// A peak thread (ThreadFunction) reads the source and fills a byte-per-column cache, so that
// painting never reads audio; byte v draws a bar of half-height (v * height) >> 9 on each
// side of the middle line. When only the first sample of the view moves, the control
// scrolls its pixels and recomputes only the columns that came into view.
//
// Geometry: the widget is (width + 2) by (height + 1) pixels: column x is drawn at pixel
// x + 1, the frame takes x = 0, x = width + 1, y = 0 and y = height. At most 2048 columns.
//
// Ownership: the control owns the source it is given and reads it only on the peak thread.
// Threads: everything public belongs to the GUI thread (the thread hands its results over
// through a queued notifier); SetSource only while the thread is stopped. The destructor
// stops the thread.

#include <QColor>
#include <QWidget>
#include <array>
#include <cstdint>
#include <memory>
#include <mutex>

#include "core/ref.h"
#include "core/sound_source_base.h"
#include "devices/event.h"
#include "devices/thread.h"
#include "devices/thread_queued_notify.h"

namespace osmera {

class LWaveWindow : public QWidget, public LThread {
    Q_OBJECT
  public:
    static constexpr int kMaxColumns = 2048;
    // Frames read from the source at a time.
    static constexpr int32_t kWorkFrames = 8192;

    explicit LWaveWindow(QWidget* parent = nullptr);
    ~LWaveWindow() override;

    // The source to draw (read only by the peak thread). Call while the thread is stopped.
    void SetSource(LRef<LSoundSourceBase> source);

    // Asks the peak thread to show `count` samples from `first` on.
    void SetView(int32_t first, int32_t count);
    // The selection [first, first + count); redraws the columns of the old and new one.
    void SetSelection(int32_t first, int32_t count);
    // The data length in samples; redraws the columns between the old and the new end.
    void SetLength(int32_t length);

    void Start();
    void Stop();

    // Sample to column: -1 when negative or when the view holds fewer than 1 sample; at
    // most the width.
    int col(int32_t s) const;
    // Column to sample.
    int32_t sample(int c) const;

    // The number of columns (client width) and the bar height.
    int ClientWidth() const;
    int ClientHeight() const;
    // The cache byte of column c (0 outside the cache).
    uint8_t ColumnByte(int c) const;
    // True when the thread has finished a pass for this view and has nothing newer to do.
    bool HasApplied(int32_t first, int32_t count) const;
    // The columns [first, end) the last pass of the thread recomputed.
    std::pair<int, int> LastRecomputed() const;

    // The cache byte of a peak: peak >> 10 below 261121, else 255.
    static uint8_t PeakByte(int64_t peak);
    // The half-height of the bar of byte v in a control `height` pixels high.
    static int BarHalfHeight(uint8_t v, int height) { return (v * height) >> 9; }

  signals:
    // GUI thread: a pass of the peak thread ended and its columns were invalidated.
    void viewApplied();

  protected:
    void ThreadFunction() override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

  private:
    struct View {
        int32_t first = 0;
        int32_t count = -1;  // -1: no view applied yet
        bool operator==(const View&) const = default;
    };
    // Unlocked forms of col() and sample(), for callers that hold paintLock_.
    int ColLocked(int32_t s) const;
    int32_t SampleLocked(int c) const;
    // Applies `view` (thread, under paintLock_); returns the columns [first, end) to redo.
    std::pair<int, int> ApplyView(View view);
    void SetPixelsPerSample();
    // Redraws columns a..b (client rectangle from x = a + 1 to b + 2).
    void InvalidateColumns(int a, int b);
    // GUI thread: applies the scroll and the invalidation that the thread left.
    void EvPeaksReady();

    // Guarded by requestLock_.
    mutable std::mutex requestLock_;
    View requested_;
    View completed_;  // the view of the last finished pass
    bool forceFull_ = false;
    LEvent dataEvent_;

    // Guarded by paintLock_.
    mutable std::mutex paintLock_;
    std::array<uint8_t, kMaxColumns> cache_{};
    int width_ = 0;
    int height_ = 0;
    int32_t firstSample_ = 0;
    int32_t samplesInView_ = 0;
    double pixelsPerSample_ = 0.0;
    int32_t pixelOffset_ = 0;
    int pendingScroll_ = 0;                  // pixels the GUI thread has yet to scroll
    int pendingFirst_ = 0, pendingEnd_ = 0;  // columns the GUI thread has yet to redraw
    std::pair<int, int> lastRecomputed_{0, 0};

    // GUI thread.
    int32_t selFirst_ = 0;
    int32_t selCount_ = 0;
    int32_t length_ = 0;

    // Peak thread.
    LRef<LSoundSourceBase> source_;
    View applied_;

    // The seven colours, taken once from the palette.
    QColor windowText_, window_, grayText_, buttonFace_;
    QColor selWave_{0, 128, 0}, selBack_{170, 255, 170}, cursor_{0, 255, 0};

    std::unique_ptr<LThreadQueuedNotify> notify_;
};

}  // namespace osmera
