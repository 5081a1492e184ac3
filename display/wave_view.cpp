#include "display/wave_view.h"

#include <QMouseEvent>
#include <QPaintEvent>
#include <QPainter>
#include <QWheelEvent>
#include <algorithm>

namespace osmera {

LWaveView::LWaveView(LDocumentModel& model, QWidget* parent)
    : QWidget(parent), model_(model), worker_([this] { OnResults(); }) {
    setAttribute(Qt::WA_OpaquePaintEvent);
    setMouseTracking(false);
    setFocusPolicy(Qt::ClickFocus);
    setMinimumHeight(60);
    colours_ = LWaveColours::FromPalette(palette());
    reader_ = std::make_shared<LPeakReader>(model_.Document().audio);
    channels_ = reader_->GetChannels();
    length_ = reader_->GetLength();
    autoScroll_.setInterval(40);
    connect(&autoScroll_, &QTimer::timeout, this, &LWaveView::AutoScroll);
    connect(&model_, &LDocumentModel::audioChanged, this, &LWaveView::OnAudioChanged);
    connect(&model_, &LDocumentModel::viewChanged, this, [this] { SyncGrid(); });
    connect(&model_, &LDocumentModel::selectionChanged, this, [this] { update(); });
    connect(&model_, &LDocumentModel::cursorChanged, this, [this] { update(); });
    connect(&model_, &LDocumentModel::playPositionChanged, this, &LWaveView::OnPlayPositionChanged);
    connect(&model_, &LDocumentModel::displayChanged, this, [this] {
        RenderAll();
        update();
    });
}

LWaveView::~LWaveView() {
    worker_.StopThreadTimed();
}

LWaveLayout LWaveView::Layout() const {
    return {channels_, model_.DisplayMode(), model_.VerticalScale()};
}

int32_t LWaveView::FrameAt(int x) const {
    if (!valid_)
        return 0;
    return static_cast<int32_t>(std::clamp<int64_t>(fpc_.Boundary(first_ + x), 0, length_));
}

int64_t LWaveView::XOfFrame(int64_t frame) const {
    return fpc_.FirstColumnFrom(frame) - first_;
}

bool LWaveView::ColumnHasData(int x) const {
    return valid_ && fpc_.Boundary(first_ + x) < length_ && fpc_.Boundary(first_ + x + 1) > 0;
}

bool LWaveView::IsComplete() const {
    if (model_.HasPending())
        return false;  // a change this view has not been told of yet
    if (!valid_)
        return true;
    if (framesMode_)
        return samplesState_ == kDone;
    for (size_t x = 0; x < state_.size(); ++x) {
        if (state_[x] != kDone && ColumnHasData(static_cast<int>(x)))
            return false;
    }
    return true;
}

const LPeakRange* LWaveView::ColumnPeaks(int x) const {
    if (framesMode_ || x < 0 || static_cast<size_t>(x) >= state_.size() ||
        state_[static_cast<size_t>(x)] != kDone)
        return nullptr;
    return &peaks_[static_cast<size_t>(x) * channels_];
}

void LWaveView::SyncGrid(bool force) {
    const LOMFile& doc = model_.Document();
    const int w = std::max(width(), 0), h = std::max(height(), 0);
    const int64_t span = int64_t{doc.viewEnd} - doc.viewStart;
    const bool valid = span > 0 && w > 0 && h > 0;
    const LFramesPerColumn fpc = valid ? LFramesPerColumn::Of(span, w) : LFramesPerColumn{};
    const int64_t first = valid ? fpc.FirstColumnFrom(doc.viewStart) : 0;
    const bool gridMoved = fpc != fpc_ || first != first_ || valid != valid_;
    if (force || valid != valid_ || fpc != fpc_ || image_.width() != w || image_.height() != h) {
        valid_ = valid;
        fpc_ = fpc;
        first_ = first;
        framesMode_ = valid && fpc.num < fpc.den;
        worker_.Cancel();
        ++generation_;
        peaks_.assign(static_cast<size_t>(w) * channels_, LPeakRange{});
        state_.assign(static_cast<size_t>(w), kMissing);
        samplesState_ = kMissing;
        if (image_.width() != std::max(w, 1) || image_.height() != std::max(h, 1) || !valid) {
            image_ = QImage(std::max(w, 1), std::max(h, 1), QImage::Format_RGB32);
            RenderAll();
        }
        // Otherwise the old picture stays until the new columns arrive (every column is
        // asked for and drawn with its result): no flash of an empty view, no column drawn
        // twice.
    } else if (first != first_) {
        // Same grid, new first column: keep the columns that stay in view, move the image.
        const int64_t d = first_ - first;  // > 0: the content moves right
        first_ = first;
        if (std::abs(d) >= w) {
            std::fill(state_.begin(), state_.end(), kMissing);
            RenderAll();
        } else {
            const int n = static_cast<int>(std::abs(d));
            const size_t c = static_cast<size_t>(channels_);
            if (d > 0) {
                std::move_backward(state_.begin(), state_.end() - n, state_.end());
                std::move_backward(peaks_.begin(), peaks_.end() - n * c, peaks_.end());
                std::fill(state_.begin(), state_.begin() + n, kMissing);
            } else {
                std::move(state_.begin() + n, state_.end(), state_.begin());
                std::move(peaks_.begin() + n * c, peaks_.end(), peaks_.begin());
                std::fill(state_.end() - n, state_.end(), kMissing);
            }
            QImage moved(image_.size(), image_.format());
            {
                QPainter p(&moved);
                p.drawImage(static_cast<int>(d), 0, image_);
            }
            image_ = std::move(moved);
            if (d > 0)
                RenderColumns(0, n);
            else
                RenderColumns(w - n, w);
        }
        samplesState_ = kMissing;
        if (framesMode_)
            RenderAll();
    }
    RequestMissing();
    if (gridMoved)
        emit gridChanged();
    update();
}

void LWaveView::RequestMissing() {
    if (!valid_)
        return;
    if (framesMode_) {
        if (samplesState_ != kMissing)
            return;
        samplesState_ = kRequested;
        LPeakRequest r;
        r.reader = reader_;
        r.generation = generation_;
        r.fpc = fpc_;
        r.frames = true;
        r.frameFrom = static_cast<int32_t>(fpc_.Boundary(first_) - 1);
        r.frameCount =
            static_cast<int32_t>(fpc_.Boundary(first_ + image_.width()) + 2 - r.frameFrom);
        worker_.Request(std::move(r));
        return;
    }
    const int w = static_cast<int>(state_.size());
    for (int x = 0; x < w;) {
        if (state_[static_cast<size_t>(x)] != kMissing) {
            ++x;
            continue;
        }
        int end = x;
        while (end < w && state_[static_cast<size_t>(end)] == kMissing)
            state_[static_cast<size_t>(end++)] = kRequested;
        LPeakRequest r;
        r.reader = reader_;
        r.generation = generation_;
        r.fpc = fpc_;
        r.first = first_ + x;
        r.count = end - x;
        worker_.Request(std::move(r));
        x = end;
    }
}

void LWaveView::OnResults() {
    int lo = INT32_MAX, hi = -1;
    for (LPeakResult& result : worker_.TakeResults()) {
        const LPeakRequest& r = result.request;
        if (r.generation != generation_ || r.fpc != fpc_)
            continue;
        if (r.frames) {
            if (!framesMode_ || r.frameFrom != fpc_.Boundary(first_) - 1)
                continue;
            samples_ = std::move(result.samples);
            samplesFrom_ = r.frameFrom;
            samplesState_ = kDone;
            RenderAll();
            lo = 0;
            hi = image_.width() - 1;
            continue;
        }
        const size_t c = static_cast<size_t>(channels_);
        const int64_t x0 = std::max<int64_t>(r.first - first_, 0);
        const int64_t x1 = std::min<int64_t>(r.first + r.count - first_, state_.size());
        if (x0 >= x1)
            continue;
        for (int64_t x = x0; x < x1; ++x) {
            std::copy_n(&result.peaks[static_cast<size_t>(x - (r.first - first_)) * c], c,
                        &peaks_[static_cast<size_t>(x) * c]);
            state_[static_cast<size_t>(x)] = kDone;
        }
        RenderColumns(static_cast<int>(x0), static_cast<int>(x1));
        lo = std::min(lo, static_cast<int>(x0));
        hi = std::max(hi, static_cast<int>(x1 - 1));
    }
    if (hi >= lo) {
        update(QRect(lo, 0, hi - lo + 1, height()));
        emit drawn();
    }
}

void LWaveView::OnAudioChanged(int32_t from, int32_t to) {
    const LCutListAudio& audio = model_.Document().audio;
    reader_ = std::make_shared<LPeakReader>(audio);
    ++generation_;
    const int32_t newLength = reader_->GetLength();
    const bool channelsChanged = reader_->GetChannels() != channels_;
    if (newLength != length_) {
        from = std::min({from, length_, newLength});
        to = -1;
    }
    length_ = newLength;
    channels_ = reader_->GetChannels();
    // Requests in flight carry the old generation: ask for their columns again.
    for (State& s : state_) {
        if (s == kRequested)
            s = kMissing;
    }
    samplesState_ = kMissing;
    if (valid_ && !channelsChanged) {
        const int64_t w = static_cast<int64_t>(state_.size());
        const int64_t x0 = std::clamp<int64_t>(fpc_.ColumnOf(std::max(from, 0)) - first_, 0, w);
        const int64_t x1 =
            to < 0 ? w : std::clamp<int64_t>(fpc_.ColumnOf(to - 1) - first_ + 1, 0, w);
        for (int64_t x = x0; x < x1; ++x)
            state_[static_cast<size_t>(x)] = kMissing;
    }
    SyncGrid(channelsChanged);
}

void LWaveView::RenderColumns(int x0, int x1) {
    if (framesMode_)
        return;  // drawn whole by RenderAll
    x0 = std::max(x0, 0);
    x1 = std::min(x1, static_cast<int>(state_.size()));
    if (x0 >= x1)
        return;
    static const LPeakRange kFlat[2] = {};
    std::vector<const LPeakRange*> columns(static_cast<size_t>(x1 - x0));
    for (int x = x0; x < x1; ++x) {
        const size_t i = static_cast<size_t>(x);
        columns[i - x0] = !ColumnHasData(x)    ? nullptr
                          : state_[i] == kDone ? &peaks_[i * channels_]
                                               : kFlat;
    }
    LWaveRenderer::DrawColumns(image_, x0, x1 - x0, columns.data(), Layout(), colours_);
}

void LWaveView::RenderAll() {
    drawnLayout_ = Layout();
    if (!valid_) {
        image_.fill(colours_.outside);
        return;
    }
    if (framesMode_) {
        LWaveRenderer::DrawFrames(image_,
                                  samplesState_ == kDone ? samples_ : std::vector<int32_t>{},
                                  samplesFrom_, fpc_, first_, length_, Layout(), colours_);
        return;
    }
    RenderColumns(0, image_.width());
}

void LWaveView::paintEvent(QPaintEvent* event) {
    QPainter p(this);
    const QRect r = event->rect();
    p.drawImage(r, image_, r);
    if (!valid_)
        return;
    const LOMFile& doc = model_.Document();
    if (doc.selEnd > doc.selStart) {
        const int64_t x0 = std::max<int64_t>(XOfFrame(doc.selStart), -1);
        const int64_t x1 = std::min<int64_t>(XOfFrame(doc.selEnd), width() + 1);
        if (x1 > x0) {
            QColor band = palette().color(QPalette::Highlight);
            band.setAlpha(80);
            p.fillRect(QRect(static_cast<int>(x0), 0, static_cast<int>(x1 - x0), height()), band);
        }
    }
    const int64_t cx = XOfFrame(doc.cursor);
    if (cx >= 0 && cx < width()) {
        p.setPen(palette().color(QPalette::Text));
        p.drawLine(static_cast<int>(cx), 0, static_cast<int>(cx), height() - 1);
    }
    const int px = PlayLineX();
    if (px >= 0) {
        p.setPen(palette().color(QPalette::Highlight));
        p.drawLine(px, 0, px, height() - 1);
    }
}

int LWaveView::PlayLineX() const {
    const int32_t frame = model_.PlayPosition();
    if (!valid_ || frame < 0)
        return -1;
    const int64_t x = XOfFrame(frame);
    return x >= 0 && x < width() ? static_cast<int>(x) : -1;
}

void LWaveView::OnPlayPositionChanged() {
    const int x = PlayLineX();
    if (x == playX_)
        return;
    if (playX_ >= 0)
        update(QRect(playX_, 0, 1, height()));
    if (x >= 0)
        update(QRect(x, 0, 1, height()));
    playX_ = x;
}

void LWaveView::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    model_.SetViewColumns(width());
    SyncGrid();
}

void LWaveView::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::PaletteChange) {
        colours_ = LWaveColours::FromPalette(palette());
        RenderAll();
        update();
    }
}

void LWaveView::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton || !valid_)
        return;
    const int x = static_cast<int>(event->position().x());
    const int32_t f = FrameAt(x);
    const LOMFile& doc = model_.Document();
    if (model_.ScrubEnabled() && !(event->modifiers() & Qt::ShiftModifier)) {
        scrubbing_ = true;
        model_.ScrubStart(f);
        return;
    }
    if (event->modifiers() & Qt::ShiftModifier) {
        // Extend from the end of the selection that stays (the cursor without one).
        if (doc.selEnd > doc.selStart)
            anchor_ =
                std::abs(f - doc.selStart) < std::abs(f - doc.selEnd) ? doc.selEnd : doc.selStart;
        else
            anchor_ = doc.cursor;
        model_.SetSelection(anchor_, f);
    } else {
        anchor_ = f;
        model_.SetCursor(f);
        model_.SetSelection(f, f);
    }
    dragging_ = true;
    lastX_ = x;
}

void LWaveView::DragTo(int x) {
    lastX_ = x;
    model_.SetSelection(anchor_, FrameAt(std::clamp(x, 0, width())));
    if (x < 0 || x >= width()) {
        if (!autoScroll_.isActive())
            autoScroll_.start();
    } else {
        autoScroll_.stop();
    }
}

void LWaveView::mouseMoveEvent(QMouseEvent* event) {
    if (scrubbing_) {
        model_.ScrubMove(FrameAt(std::clamp(static_cast<int>(event->position().x()), 0, width())));
        return;
    }
    if (dragging_)
        DragTo(static_cast<int>(event->position().x()));
}

void LWaveView::mouseReleaseEvent(QMouseEvent* event) {
    if (scrubbing_ && event->button() == Qt::LeftButton) {
        scrubbing_ = false;
        model_.ScrubEnd(FrameAt(std::clamp(static_cast<int>(event->position().x()), 0, width())));
        return;
    }
    if (dragging_ && event->button() == Qt::LeftButton) {
        DragTo(static_cast<int>(event->position().x()));
        dragging_ = false;
        autoScroll_.stop();
    }
}

void LWaveView::AutoScroll() {
    if (!dragging_) {
        autoScroll_.stop();
        return;
    }
    const LOMFile& doc = model_.Document();
    const int32_t step = std::max<int32_t>(1, (doc.viewEnd - doc.viewStart) / 20);
    model_.ScrollTo(doc.viewStart + (lastX_ < 0 ? -step : step));
    model_.Flush();  // the selection below maps pixels on the new grid
    DragTo(lastX_);
}

void LWaveView::mouseDoubleClickEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton) {
        dragging_ = false;
        model_.SetSelection(0, model_.Document().audio.GetLength());
    }
}

void LWaveView::wheelEvent(QWheelEvent* event) {
    const QPoint delta = event->angleDelta();
    const int steps = (delta.y() != 0 ? delta.y() : delta.x()) / 120;
    if (steps == 0 || !valid_)
        return;
    const LOMFile& doc = model_.Document();
    if (event->modifiers() & Qt::ControlModifier) {
        const int x = static_cast<int>(event->position().x());
        const double factor =
            steps > 0 ? 1.0 / (1 << std::min(steps, 8)) : double(1 << std::min(-steps, 8));
        model_.ZoomAround(FrameAt(x), static_cast<double>(x) / std::max(width(), 1), factor);
    } else {
        const int32_t step = std::max<int32_t>(1, (doc.viewEnd - doc.viewStart) / 8);
        model_.ScrollTo(doc.viewStart - steps * step);
    }
    model_.Flush();  // FrameAt is on the new grid when the wheel event returns
    event->accept();
}

}  // namespace osmera
