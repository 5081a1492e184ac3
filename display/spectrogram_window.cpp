#include "display/spectrogram_window.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QMouseEvent>
#include <QPainter>
#include <QVBoxLayout>
#include <QWheelEvent>
#include <algorithm>
#include <cmath>

#include "display/spectrogram_worker.h"
#include "edit/src_cut_list_audio.h"
#include "effects/colour_map.h"
#include "effects/spectrum_analysis.h"

namespace osmera {

namespace {

constexpr size_t kMaxCachedColumns = 40000;
constexpr double kLowestLogHz = 20.0;
constexpr QRgb kNotYet = 0xff303030;

double Mel(double hz) {
    return 2595.0 * std::log10(1.0 + hz / 700.0);
}
double FromMel(double mel) {
    return 700.0 * (std::pow(10.0, mel / 2595.0) - 1.0);
}

}  // namespace

LSpectrogramView::LSpectrogramView(LDocumentModel& model, QWidget* parent)
    : QWidget(parent),
      model_(model),
      worker_(std::make_unique<LSpectrogramWorker>([this]() { TakeResults(); })) {
    setMinimumSize(200, 120);
    setMouseTracking(false);
    connect(&model_, &LDocumentModel::audioChanged, this, [this]() { Restart(); });
    connect(&model_, &LDocumentModel::viewChanged, this, [this]() {
        RequestMissing();
        update();
    });
    connect(&model_, &LDocumentModel::selectionChanged, this, qOverload<>(&QWidget::update));
    connect(&model_, &LDocumentModel::playPositionChanged, this, qOverload<>(&QWidget::update));
    Restart();
}

LSpectrogramView::~LSpectrogramView() {
    worker_->Cancel();
    worker_.reset();  // joins before the analyser goes
}

void LSpectrogramView::SetSettings(const LSpectrogramSettings& settings) {
    if (settings == settings_)
        return;
    settings_ = settings;
    Restart();
}

void LSpectrogramView::SetAxis(LFrequencyAxis axis) {
    axis_ = axis;
    update();
}

void LSpectrogramView::Restart() {
    worker_->Cancel();
    ++generation_;
    cache_.clear();
    asked_.clear();
    analyser_ =
        std::make_shared<LSpectrogramAnalyser>(model_.Document().audio.MakeSource(), settings_);
    settings_ = analyser_->Settings();
    RequestMissing();
    update();
}

LFramesPerColumn LSpectrogramView::Grid() const {
    const LOMFile& doc = model_.Document();
    return LFramesPerColumn::Of(std::max(1, doc.viewEnd - doc.viewStart), std::max(1, width()));
}

int64_t LSpectrogramView::FirstColumn() const {
    return Grid().ColumnOf(model_.Document().viewStart);
}

int32_t LSpectrogramView::FrameAt(int x) const {
    const int64_t f = Grid().Boundary(FirstColumn() + std::max(0, x));
    return static_cast<int32_t>(std::clamp<int64_t>(f, 0, model_.Document().audio.GetLength()));
}

void LSpectrogramView::RequestMissing() {
    const LFramesPerColumn grid = Grid();
    if (!(grid == cachedGrid_)) {
        worker_->Cancel();
        ++generation_;
        cache_.clear();
        asked_.clear();
        cachedGrid_ = grid;
    }
    if (cache_.size() > kMaxCachedColumns) {
        const int64_t keepFrom = FirstColumn() - 4 * width(), keepTo = FirstColumn() + 5 * width();
        std::erase_if(cache_, [&](const auto& item) {
            return item.first < keepFrom || item.first >= keepTo;
        });
    }
    const int64_t first = FirstColumn();
    auto isAsked = [this](int64_t c) {
        return std::any_of(asked_.begin(), asked_.end(),
                           [c](const auto& run) { return c >= run.first && c < run.second; });
    };
    for (int64_t c = first; c < first + width();) {
        if (cache_.count(c) || isAsked(c)) {
            ++c;
            continue;
        }
        int64_t end = c + 1;
        while (end < first + width() && !cache_.count(end) && !isAsked(end))
            ++end;
        asked_.push_back({c, end});
        worker_->Request({analyser_, generation_, grid, c, static_cast<int32_t>(end - c)});
        c = end;
    }
}

void LSpectrogramView::TakeResults() {
    bool any = false;
    for (LSpectrogramResult& r : worker_->TakeResults()) {
        if (r.generation != generation_ || !(r.fpc == cachedGrid_))
            continue;
        for (int32_t i = 0; i < r.count; ++i) {
            const float* column = r.levels.data() + static_cast<size_t>(i) * r.bins;
            cache_[r.first + i].assign(column, column + r.bins);
        }
        // The worker does a run's chunks in order: its last chunk ends the run.
        const int64_t end = r.first + r.count;
        std::erase_if(asked_, [end](const auto& run) { return run.second == end; });
        any = true;
    }
    if (any)
        update();
}

bool LSpectrogramView::IsComplete() const {
    const int64_t first = FirstColumn();
    for (int64_t c = first; c < first + width(); ++c)
        if (!cache_.count(c))
            return false;
    return true;
}

double LSpectrogramView::EdgeFrequency(double y) const {
    const double nyquist = std::max(1, analyser_->SampleRate()) / 2.0;
    const double t = 1.0 - y / std::max(1, height());  // 0 bottom .. 1 top
    switch (axis_) {
        case LFrequencyAxis::kLinear:
            return t * nyquist;
        case LFrequencyAxis::kLogarithmic:
            return kLowestLogHz * std::pow(nyquist / kLowestLogHz, t);
        case LFrequencyAxis::kMel:
            return FromMel(t * Mel(nyquist));
    }
    return t * nyquist;
}

double LSpectrogramView::FrequencyAtRow(int y) const {
    return EdgeFrequency(y + 0.5);
}

float LSpectrogramView::LevelAt(int x, double frequency) const {
    const auto it = cache_.find(FirstColumn() + x);
    const int32_t rate = analyser_->SampleRate();
    if (it == cache_.end() || rate <= 0)
        return settings_.floorDb;
    const long bin = std::lround(frequency * settings_.fftSize / rate);
    if (bin < 0 || bin >= static_cast<long>(it->second.size()))
        return settings_.floorDb;
    return it->second[static_cast<size_t>(bin)];
}

void LSpectrogramView::paintEvent(QPaintEvent*) {
    const int w = width(), h = height();
    QImage image(w, h, QImage::Format_RGB32);
    const int32_t bins = analyser_->Bins();
    const double binsPerHz =
        static_cast<double>(settings_.fftSize) / std::max(1, analyser_->SampleRate());
    // Each row shows the loudest bin between its edges.
    std::vector<int32_t> lo(static_cast<size_t>(h)), hi(static_cast<size_t>(h));
    for (int y = 0; y < h; ++y) {
        lo[y] = std::clamp(static_cast<int32_t>(EdgeFrequency(y + 1) * binsPerHz), 0, bins - 1);
        hi[y] = std::clamp(static_cast<int32_t>(std::ceil(EdgeFrequency(y) * binsPerHz)), lo[y] + 1,
                           bins);
    }
    const int64_t first = FirstColumn();
    const int64_t length = model_.Document().audio.GetLength();
    const LFramesPerColumn grid = Grid();
    for (int x = 0; x < w; ++x) {
        const auto it = cache_.find(first + x);
        const bool past = grid.Boundary(first + x) >= length;
        for (int y = 0; y < h; ++y) {
            QRgb colour = past ? palette().color(QPalette::Window).rgb() : kNotYet;
            if (!past && it != cache_.end()) {
                const float* v = it->second.data();
                const float db = *std::max_element(v + lo[y], v + hi[y]);
                colour =
                    0xff000000u | SpectrogramColourOfDb(db, settings_.floorDb, settings_.ceilingDb);
            }
            reinterpret_cast<QRgb*>(image.scanLine(y))[x] = colour;
        }
    }
    QPainter p(this);
    p.drawImage(0, 0, image);
    const LOMFile& doc = model_.Document();
    auto xOf = [&](int32_t frame) { return static_cast<int>(grid.ColumnOf(frame) - first); };
    if (doc.HasSelection()) {
        const int a = std::max(-1, xOf(doc.selStart)), b = std::min(w + 1, xOf(doc.selEnd));
        p.fillRect(QRect(a, 0, std::max(1, b - a), h), QColor(255, 255, 255, 70));
    }
    p.setPen(QColor(255, 255, 255, 200));
    p.drawLine(xOf(doc.cursor), 0, xOf(doc.cursor), h);
    if (model_.PlayPosition() >= 0) {
        p.setPen(Qt::red);
        p.drawLine(xOf(model_.PlayPosition()), 0, xOf(model_.PlayPosition()), h);
    }
    // Frequency marks at the left edge.
    p.setPen(QColor(255, 255, 255, 180));
    for (double hz : {50.0, 100.0, 200.0, 500.0, 1000.0, 2000.0, 5000.0, 10000.0, 20000.0}) {
        // The row whose middle lies nearest to hz.
        int row = -1;
        for (int y = 0; y < h && row < 0; ++y)
            if (FrequencyAtRow(y) <= hz)
                row = y;
        if (row <= 8 || row >= h - 4)
            continue;
        p.drawLine(0, row, 5, row);
        p.drawText(8, row + 4, hz >= 1000 ? QString("%1k").arg(hz / 1000) : QString::number(hz));
    }
}

void LSpectrogramView::resizeEvent(QResizeEvent*) {
    RequestMissing();
}

void LSpectrogramView::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton)
        return;
    anchor_ = FrameAt(static_cast<int>(event->position().x()));
    model_.SetCursor(anchor_);
    model_.SetSelection(anchor_, anchor_);
}

void LSpectrogramView::mouseMoveEvent(QMouseEvent* event) {
    if (event->buttons() & Qt::LeftButton)
        model_.SetSelection(anchor_, FrameAt(static_cast<int>(event->position().x())));
}

void LSpectrogramView::wheelEvent(QWheelEvent* event) {
    const int steps = event->angleDelta().y() / 120;
    if (steps == 0)
        return;
    const int x = static_cast<int>(event->position().x());
    if (event->modifiers() & Qt::ControlModifier) {
        model_.ZoomAround(FrameAt(x), static_cast<double>(x) / std::max(1, width()),
                          steps > 0 ? 0.5 : 2.0);
    } else {
        const LOMFile& doc = model_.Document();
        const int64_t span = doc.viewEnd - doc.viewStart;
        model_.ScrollTo(static_cast<int32_t>(
            std::max<int64_t>(0, doc.viewStart - steps * std::max<int64_t>(1, span / 8))));
    }
    model_.Flush();
    event->accept();
}

LOMSpectrogramWindow::LOMSpectrogramWindow(LDocumentModel& model, QWidget* parent)
    : QWidget(parent),
      view_(new LSpectrogramView(model, this)),
      fft_(new QComboBox(this)),
      overlap_(new QComboBox(this)),
      window_(new QComboBox(this)),
      axis_(new QComboBox(this)),
      range_(new QComboBox(this)) {
    for (int n = kMinFftSize; n <= kMaxFftSize; n *= 2)
        fft_->addItem(QString::number(n), n);
    fft_->setCurrentText("2048");
    for (int o : {0, 25, 50, 75, 87})
        overlap_->addItem(QString("%1 %").arg(o), o);
    overlap_->setCurrentIndex(2);
    for (LFftWindow w : {LFftWindow::kHann, LFftWindow::kBlackmanHarris, LFftWindow::kFlatTop,
                         LFftWindow::kRectangular})
        window_->addItem(FftWindowName(w), static_cast<int>(w));
    axis_->addItem(tr("Linear"), static_cast<int>(LFrequencyAxis::kLinear));
    axis_->addItem(tr("Logarithmic"), static_cast<int>(LFrequencyAxis::kLogarithmic));
    axis_->addItem(tr("Mel"), static_cast<int>(LFrequencyAxis::kMel));
    axis_->setCurrentIndex(1);
    for (int floor : {-60, -90, -120, -150})
        range_->addItem(QString("%1 .. 0 dB").arg(floor), floor);
    range_->setCurrentIndex(2);

    auto* controls = new QHBoxLayout;
    const std::pair<const char*, QComboBox*> rows[] = {{"FFT size:", fft_},
                                                       {"Overlap:", overlap_},
                                                       {"Window:", window_},
                                                       {"Frequency:", axis_},
                                                       {"Range:", range_}};
    for (const auto& [label, box] : rows) {
        controls->addWidget(new QLabel(tr(label), this));
        controls->addWidget(box);
        connect(box, &QComboBox::currentIndexChanged, this, &LOMSpectrogramWindow::Apply);
    }
    controls->addStretch();
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(controls);
    layout->addWidget(view_, 1);
    Apply();
}

void LOMSpectrogramWindow::Apply() {
    LSpectrogramSettings s;
    s.fftSize = fft_->currentData().toInt();
    s.overlapPercent = overlap_->currentData().toInt();
    s.window = static_cast<LFftWindow>(window_->currentData().toInt());
    s.floorDb = static_cast<float>(range_->currentData().toInt());
    s.ceilingDb = 0.0f;
    view_->SetSettings(s);
    view_->SetAxis(static_cast<LFrequencyAxis>(axis_->currentData().toInt()));
}

}  // namespace osmera
