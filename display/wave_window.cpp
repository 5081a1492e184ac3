#include "display/wave_window.h"

#include <QPaintEvent>
#include <QPainter>
#include <algorithm>
#include <cstring>
#include <vector>

#include "display/gui_thread_dispatcher.h"

namespace osmera {

LWaveWindow::LWaveWindow(QWidget* parent)
    : QWidget(parent),
      notify_(std::make_unique<LThreadQueuedNotify>([this] { EvPeaksReady(); },
                                                    &LGuiThreadDispatcher::Instance())) {
    setAttribute(Qt::WA_OpaquePaintEvent);
    setCursor(Qt::ArrowCursor);
    const QPalette& p = palette();
    windowText_ = p.color(QPalette::WindowText);
    window_ = p.color(QPalette::Window);
    grayText_ = p.color(QPalette::Disabled, QPalette::WindowText);
    buttonFace_ = p.color(QPalette::Button);
}

LWaveWindow::~LWaveWindow() {
    Stop();
}

void LWaveWindow::SetSource(LRef<LSoundSourceBase> source) {
    source_ = std::move(source);
    std::lock_guard<std::mutex> l(requestLock_);
    forceFull_ = true;
    dataEvent_.Set();
}

void LWaveWindow::Start() {
    LThread::Start();
}

void LWaveWindow::Stop() {
    StopThreadTimed();
}

void LWaveWindow::SetView(int32_t first, int32_t count) {
    std::lock_guard<std::mutex> l(requestLock_);
    requested_ = {first, std::max(count, 0)};
    dataEvent_.Set();
}

void LWaveWindow::SetSelection(int32_t first, int32_t count) {
    int a0, a1, b0, b1;
    {
        std::lock_guard<std::mutex> l(paintLock_);
        a0 = ColLocked(selFirst_);
        a1 = ColLocked(selFirst_ + selCount_);
        selFirst_ = first;
        selCount_ = count;
        b0 = ColLocked(selFirst_);
        b1 = ColLocked(selFirst_ + selCount_);
    }
    InvalidateColumns(std::max(a0, 0), std::max(a1, a0));
    InvalidateColumns(std::max(b0, 0), std::max(b1, b0));
}

void LWaveWindow::SetLength(int32_t length) {
    int a, b;
    {
        std::lock_guard<std::mutex> l(paintLock_);
        a = ColLocked(length_);
        b = ColLocked(length);
        length_ = length;
    }
    if (a > b)
        std::swap(a, b);
    InvalidateColumns(std::max(a, 0), std::max(b, 0));
}

int LWaveWindow::ColLocked(int32_t s) const {
    if (samplesInView_ < 1)
        return -1;
    const int64_t c = static_cast<int64_t>(s * pixelsPerSample_) - pixelOffset_;
    if (c < 0)
        return -1;
    return static_cast<int>(std::min<int64_t>(c, width_));
}

int32_t LWaveWindow::SampleLocked(int c) const {
    if (pixelsPerSample_ <= 0.0)
        return firstSample_;
    return static_cast<int32_t>((c + pixelOffset_) / pixelsPerSample_);
}

int LWaveWindow::col(int32_t s) const {
    std::lock_guard<std::mutex> l(paintLock_);
    return ColLocked(s);
}

int32_t LWaveWindow::sample(int c) const {
    std::lock_guard<std::mutex> l(paintLock_);
    return SampleLocked(c);
}

int LWaveWindow::ClientWidth() const {
    std::lock_guard<std::mutex> l(paintLock_);
    return width_;
}

int LWaveWindow::ClientHeight() const {
    std::lock_guard<std::mutex> l(paintLock_);
    return height_;
}

uint8_t LWaveWindow::ColumnByte(int c) const {
    std::lock_guard<std::mutex> l(paintLock_);
    return c >= 0 && c < kMaxColumns ? cache_[static_cast<size_t>(c)] : 0;
}

bool LWaveWindow::HasApplied(int32_t first, int32_t count) const {
    std::lock_guard<std::mutex> l(requestLock_);
    const View view{first, count};
    return completed_ == view && requested_ == view && !forceFull_;
}

std::pair<int, int> LWaveWindow::LastRecomputed() const {
    std::lock_guard<std::mutex> l(paintLock_);
    return lastRecomputed_;
}

uint8_t LWaveWindow::PeakByte(int64_t peak) {
    return peak < 261121 ? static_cast<uint8_t>(peak >> 10) : 255;
}

void LWaveWindow::SetPixelsPerSample() {
    pixelsPerSample_ =
        samplesInView_ > 0 ? static_cast<double>(std::max(width_, 8)) / samplesInView_ : 0.0;
    pixelOffset_ = static_cast<int32_t>(firstSample_ * pixelsPerSample_);
}

std::pair<int, int> LWaveWindow::ApplyView(View view) {
    const bool sameCount = applied_.count >= 0 && view.count == samplesInView_;
    if (sameCount && view.first != firstSample_) {
        const int32_t oldOffset = pixelOffset_;
        const int32_t newOffset = static_cast<int32_t>(view.first * pixelsPerSample_);
        // Forward: minus the column the new first sample had under the old offset; back:
        // the column the old first sample has under the new offset.
        const int d = view.first > firstSample_
                          ? -(newOffset - oldOffset)
                          : static_cast<int>(static_cast<int32_t>(firstSample_ * pixelsPerSample_) -
                                             newOffset);
        firstSample_ = view.first;
        pixelOffset_ = newOffset;
        if (d != 0 && std::abs(d) < width_) {
            const int n = std::min(width_, kMaxColumns);
            if (d > 0) {
                std::memmove(&cache_[static_cast<size_t>(d)], &cache_[0],
                             static_cast<size_t>(std::max(n - d, 0)));
            } else {
                std::memmove(&cache_[0], &cache_[static_cast<size_t>(-d)],
                             static_cast<size_t>(std::max(n + d, 0)));
            }
            pendingScroll_ += d;
            return d > 0 ? std::pair{0, d + 2} : std::pair{width_ + d - 1, width_};
        }
        return {0, width_};
    }
    firstSample_ = view.first;
    samplesInView_ = view.count;
    SetPixelsPerSample();
    return {0, width_};
}

void LWaveWindow::ThreadFunction() {
    std::vector<int32_t> work;
    while (!ShouldStop()) {
        View view;
        bool full;
        {
            std::lock_guard<std::mutex> l(requestLock_);
            dataEvent_.Reset();
            view = requested_;
            full = forceFull_;
            forceFull_ = false;
        }
        if (view == applied_ && !full) {
            WaitEitherEvent(StopEvent(), dataEvent_, kWaitInfinite);
            continue;
        }
        if (full)
            applied_ = View{};  // a new size or source: everything is redrawn
        int first, end;
        {
            std::lock_guard<std::mutex> l(paintLock_);
            std::tie(first, end) = ApplyView(view);
            first = std::clamp(first, 0, width_);
            end = std::min(std::clamp(end, 0, width_), kMaxColumns);
        }
        LSoundSourceBase* source = source_.Get();
        const int channels = source ? source->GetChannels() : 1;
        work.resize(static_cast<size_t>(kWorkFrames) * channels);
        int done = first;
        if (source && first < end)
            source->Seek(sample(first));
        for (; done < end; ++done) {
            int64_t peak = 0;
            if (source) {
                int32_t n = sample(done + 1) - source->GetPositionSample();
                while (n > 0) {
                    const int32_t chunk = std::min(n, kWorkFrames);
                    source->Read(work.data(), chunk);
                    for (size_t i = 0; i < static_cast<size_t>(chunk) * channels; ++i)
                        peak = std::max(peak, std::abs(int64_t{work[i]}));
                    n -= chunk;
                }
            }
            {
                std::lock_guard<std::mutex> l(paintLock_);
                cache_[static_cast<size_t>(done)] = PeakByte(peak);
            }
            if (ShouldStop())
                break;
        }
        {
            std::lock_guard<std::mutex> l(paintLock_);
            lastRecomputed_ = {first, done};
            if (pendingEnd_ > pendingFirst_) {
                pendingFirst_ = std::min(pendingFirst_, first);
                pendingEnd_ = std::max(pendingEnd_, done);
            } else {
                pendingFirst_ = first;
                pendingEnd_ = done;
            }
        }
        applied_ = view;
        {
            std::lock_guard<std::mutex> l(requestLock_);
            completed_ = view;
        }
        notify_->Notify();
    }
}

void LWaveWindow::InvalidateColumns(int a, int b) {
    if (b < a)
        return;
    update(QRect(a + 1, 1, b + 2 - (a + 1), std::max(height() - 1, 0)));
}

void LWaveWindow::EvPeaksReady() {
    int scroll, first, end;
    {
        std::lock_guard<std::mutex> l(paintLock_);
        scroll = pendingScroll_;
        first = pendingFirst_;
        end = pendingEnd_;
        pendingScroll_ = 0;
        pendingFirst_ = pendingEnd_ = 0;
    }
    if (scroll != 0)
        QWidget::scroll(scroll, 0, QRect(1, 1, ClientWidth(), std::max(ClientHeight() - 1, 0)));
    if (end > first)
        InvalidateColumns(first, end);
    emit viewApplied();
}

void LWaveWindow::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    {
        std::lock_guard<std::mutex> l(paintLock_);
        width_ = std::clamp(width() - 2, 0, kMaxColumns);
        height_ = std::max(height() - 1, 0);
        SetPixelsPerSample();
    }
    std::lock_guard<std::mutex> l(requestLock_);
    forceFull_ = true;
    dataEvent_.Set();
}

void LWaveWindow::paintEvent(QPaintEvent* event) {
    QPainter p(this);
    const QRect r = event->rect();
    std::unique_lock<std::mutex> l(paintLock_);
    if (pendingScroll_ != 0) {
        // The thread moved the cache but the pixels have not moved yet: the scroll would
        // now move freshly painted columns, so repaint everything instead.
        pendingScroll_ = 0;
        update();
    }
    const int width = width_, height = height_;
    int s0 = ColLocked(selFirst_);
    const int s1 = ColLocked(selFirst_ + selCount_);
    const int d0 = ColLocked(0);
    const int d1 = ColLocked(length_);
    if (s0 == width)
        s0 = width - 1;
    if (!isEnabled()) {
        p.fillRect(r, QColor(128, 128, 128));
    } else {
        const int m = height >> 1;
        const bool noWave = samplesInView_ < 1;
        for (int x = std::max(0, r.left() - 1); x < std::min(width, r.right()); ++x) {
            QColor wave = selWave_, back = selBack_;
            if (x < d0 || x > d1) {
                wave = grayText_;
                back = buttonFace_;
            } else if (x < s0 || x >= s1) {
                wave = windowText_;
                back = window_;
            }
            if (x == s0) {
                p.fillRect(x + 1, 1, 1, height - 1, cursor_);
                continue;
            }
            const int h = noWave ? -1 : BarHalfHeight(cache_[static_cast<size_t>(x)], height);
            if (noWave) {
                p.fillRect(x + 1, 1, 1, height - 1, back);
                continue;
            }
            p.fillRect(x + 1, 1, 1, std::max(m - h - 1, 0), back);
            p.fillRect(x + 1, m - h, 1, 2 * h + 1, wave);
            p.fillRect(x + 1, m + h + 1, 1, std::max(height - (m + h + 1), 0), back);
        }
    }
    l.unlock();
    // The sunken frame: light along the bottom and right, dark along the top and left.
    p.setPen(Qt::white);
    p.drawLine(0, height, width + 1, height);
    p.drawLine(width + 1, 0, width + 1, height);
    p.setPen(Qt::black);
    p.drawLine(0, 0, width + 1, 0);
    p.drawLine(0, 0, 0, height);
}

}  // namespace osmera
