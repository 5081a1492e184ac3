#include "display/spectrum_window.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFileDialog>
#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QMessageBox>
#include <QMouseEvent>
#include <QPainter>
#include <QPushButton>
#include <QSaveFile>
#include <QVBoxLayout>
#include <algorithm>
#include <cmath>

#include "core/sound_time.h"
#include "edit/src_cut_list_audio.h"

namespace osmera {

namespace {

constexpr double kLowestLogHz = 10.0;
constexpr int kPeaksListed = 10;
constexpr float kListedRangeDb = 60.0f;
const QColor kCurveColours[] = {QColor(30, 80, 160), QColor(190, 60, 40)};

}  // namespace

LSpectrumPlot::LSpectrumPlot(QWidget* parent) : QWidget(parent) {
    setMinimumSize(300, 160);
    setMouseTracking(true);
}

void LSpectrumPlot::SetSpectrum(const LSpectrum* spectrum, bool logAxis) {
    spectrum_ = spectrum;
    log_ = logAxis;
    update();
}

double LSpectrumPlot::FrequencyAt(int x) const {
    const double nyquist = spectrum_ ? spectrum_->sampleRate / 2.0 : 22050.0;
    const double t = std::clamp(static_cast<double>(x) / std::max(1, width() - 1), 0.0, 1.0);
    return log_ ? kLowestLogHz * std::pow(nyquist / kLowestLogHz, t) : t * nyquist;
}

int LSpectrumPlot::XOf(double frequency) const {
    const double nyquist = spectrum_ ? spectrum_->sampleRate / 2.0 : 22050.0;
    const double t = log_ ? std::log(std::max(frequency, kLowestLogHz) / kLowestLogHz) /
                                std::log(nyquist / kLowestLogHz)
                          : frequency / nyquist;
    return static_cast<int>(std::lround(t * (width() - 1)));
}

int LSpectrumPlot::YOf(float db) const {
    const double t = std::clamp(static_cast<double>(db) / kBottomDb, 0.0, 1.0);
    return static_cast<int>(std::lround(t * (height() - 1)));
}

void LSpectrumPlot::paintEvent(QPaintEvent*) {
    QPainter p(this);
    p.fillRect(rect(), palette().color(QPalette::Base));
    p.setPen(palette().color(QPalette::Mid));
    for (int db = 0; db >= static_cast<int>(kBottomDb); db -= 20) {
        const int y = YOf(static_cast<float>(db));
        p.drawLine(0, y, width(), y);
        p.drawText(3, std::max(11, y - 2), QString("%1 dB").arg(db));
    }
    const double marks[] = {20, 50, 100, 200, 500, 1000, 2000, 5000, 10000, 20000};
    for (double hz : marks) {
        if (!log_ && hz < 1000)
            continue;
        const int x = XOf(hz);
        p.drawLine(x, 0, x, height());
        p.drawText(x + 2, height() - 3,
                   hz >= 1000 ? QString("%1k").arg(hz / 1000) : QString::number(hz));
    }
    if (!spectrum_ || spectrum_->Empty())
        return;
    p.setRenderHint(QPainter::Antialiasing);
    for (size_t c = 0; c < spectrum_->levels.size(); ++c) {
        // One point per pixel column: the loudest bin the column covers.
        QPolygonF line;
        const auto& v = spectrum_->levels[c];
        const double binsPerHz = static_cast<double>(spectrum_->fftSize) / spectrum_->sampleRate;
        for (int x = 0; x < width(); ++x) {
            const auto lo = std::clamp<long>(std::lround(FrequencyAt(x) * binsPerHz), 1,
                                             static_cast<long>(v.size()) - 1);
            const auto hi = std::clamp<long>(std::lround(FrequencyAt(x + 1) * binsPerHz), lo + 1,
                                             static_cast<long>(v.size()));
            const float db = *std::max_element(v.begin() + lo, v.begin() + hi);
            line << QPointF(x, YOf(db));
        }
        p.setPen(QPen(kCurveColours[c % 2], 1.2));
        p.drawPolyline(line);
    }
}

void LSpectrumPlot::mouseMoveEvent(QMouseEvent* event) {
    emit pointerMoved(FrequencyAt(static_cast<int>(event->position().x())));
}

LOMSpectrumWindow::LOMSpectrumWindow(LDocumentModel& model, QWidget* parent)
    : QWidget(parent),
      model_(model),
      plot_(new LSpectrumPlot(this)),
      fft_(new QComboBox(this)),
      window_(new QComboBox(this)),
      axis_(new QComboBox(this)),
      combined_(new QCheckBox(tr("Channels combined"), this)),
      readout_(new QLabel(this)),
      range_(new QLabel(this)),
      peakList_(new QListWidget(this)) {
    for (int n = kMinFftSize; n <= kMaxFftSize; n *= 2)
        fft_->addItem(QString::number(n), n);
    fft_->setCurrentText("8192");
    for (LFftWindow w : {LFftWindow::kHann, LFftWindow::kBlackmanHarris, LFftWindow::kFlatTop,
                         LFftWindow::kRectangular})
        window_->addItem(FftWindowName(w), static_cast<int>(w));
    axis_->addItem(tr("Logarithmic"));
    axis_->addItem(tr("Linear"));
    auto* exportButton = new QPushButton(tr("Export CSV..."), this);

    auto* controls = new QHBoxLayout;
    controls->addWidget(new QLabel(tr("FFT size:"), this));
    controls->addWidget(fft_);
    controls->addWidget(new QLabel(tr("Window:"), this));
    controls->addWidget(window_);
    controls->addWidget(new QLabel(tr("Frequency:"), this));
    controls->addWidget(axis_);
    controls->addWidget(combined_);
    controls->addStretch();
    controls->addWidget(exportButton);
    auto* middle = new QHBoxLayout;
    middle->addWidget(plot_, 1);
    peakList_->setFixedWidth(280);
    middle->addWidget(peakList_);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(controls);
    layout->addLayout(middle, 1);
    auto* bottom = new QHBoxLayout;
    bottom->addWidget(readout_, 1);
    bottom->addWidget(range_);
    layout->addLayout(bottom);

    auto again = [this]() { Recompute(); };
    connect(fft_, &QComboBox::currentIndexChanged, this, again);
    connect(window_, &QComboBox::currentIndexChanged, this, again);
    connect(combined_, &QCheckBox::toggled, this, again);
    connect(axis_, &QComboBox::currentIndexChanged, this,
            [this]() { plot_->SetSpectrum(&spectrum_, axis_->currentIndex() == 0); });
    connect(exportButton, &QPushButton::clicked, this, &LOMSpectrumWindow::AskExport);
    connect(plot_, &LSpectrumPlot::pointerMoved, this,
            [this](double hz) { readout_->setText(ReadoutAt(hz)); });
    connect(&model_, &LDocumentModel::selectionChanged, this, again);
    connect(&model_, &LDocumentModel::cursorChanged, this, [this]() {
        if (!model_.Document().HasSelection())
            Recompute();
    });
    connect(&model_, &LDocumentModel::audioChanged, this, again);
    // While playing, follow the play position a few times a second.
    playTimer_.setInterval(200);
    playTimer_.setSingleShot(true);
    connect(&playTimer_, &QTimer::timeout, this, again);
    connect(&model_, &LDocumentModel::playPositionChanged, this, [this]() {
        if (!playTimer_.isActive())
            playTimer_.start();
    });
    Recompute();
}

void LOMSpectrumWindow::SetFftSize(int n) {
    fft_->setCurrentText(QString::number(n));
}

void LOMSpectrumWindow::SetWindow(LFftWindow window) {
    window_->setCurrentIndex(static_cast<int>(window));
}

void LOMSpectrumWindow::Recompute() {
    const LOMFile& doc = model_.Document();
    LSpectrumSettings settings;
    settings.fftSize = fft_->currentData().toInt();
    settings.window = static_cast<LFftWindow>(window_->currentData().toInt());
    settings.combined = combined_->isChecked();
    const int32_t rate = static_cast<int32_t>(doc.audio.GetSampleRate());
    int32_t from, to;
    QString what;
    if (model_.PlayPosition() >= 0) {
        from = model_.PlayPosition() - settings.fftSize / 2;
        to = from + settings.fftSize;
        what = tr("At the play position");
    } else if (doc.HasSelection()) {
        from = doc.selStart;
        to = doc.selEnd;
        const int64_t most = int64_t{kMaxAnalysedSeconds} * rate;
        if (to - from > most) {
            to = static_cast<int32_t>(from + most);
            what = tr("The first %1 of the selection")
                       .arg(QString::fromStdString(
                           LSoundTime::FormatMinSec(kMaxAnalysedSeconds * 1000)));
        } else {
            what = tr("The selection");
        }
    } else {
        from = doc.cursor - settings.fftSize / 2;
        to = from + settings.fftSize;
        what = tr("Around the cursor");
    }
    if (AnalyseSpectrum(doc.audio.MakeSource(), from, to, settings, spectrum_) != kJobDone)
        spectrum_ = LSpectrum();
    range_->setText(spectrum_.Empty() ? tr("No audio")
                                      : what + tr(", %n window(s)", "", spectrum_.windows));
    peaks_ = spectrum_.Empty() ? std::vector<LSpectrumPeak>()
                               : FindSpectrumPeaks(spectrum_, 0, kPeaksListed);
    // Side lobes far below the highest peak are not worth listing.
    if (!peaks_.empty()) {
        const float lowest = peaks_.front().level - kListedRangeDb;
        std::erase_if(peaks_, [lowest](const LSpectrumPeak& p) { return p.level < lowest; });
    }
    peakList_->clear();
    for (const LSpectrumPeak& peak : peaks_)
        peakList_->addItem(ReadoutAt(peak.frequency));
    plot_->SetSpectrum(&spectrum_, axis_->currentIndex() == 0);
}

QString LOMSpectrumWindow::ReadoutAt(double frequency) const {
    if (spectrum_.Empty())
        return {};
    QString text = QString("%1 Hz").arg(frequency, 0, 'f', 1);
    for (size_t c = 0; c < spectrum_.levels.size(); ++c)
        text +=
            QString("  %1 dB").arg(static_cast<double>(spectrum_.LevelAt(c, frequency)), 0, 'f', 1);
    const std::string note = NearestNoteName(frequency);
    if (!note.empty())
        text += "  " + QString::fromStdString(note);
    return text;
}

QString LOMSpectrumWindow::Readout() const {
    return readout_->text();
}

bool LOMSpectrumWindow::ExportCsv(const QString& path, QString* error) const {
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Text)) {
        if (error)
            *error = tr("%1 could not be created.").arg(path);
        return false;
    }
    QByteArray text = "frequency_hz";
    const size_t curves = spectrum_.levels.size();
    for (size_t c = 0; c < curves; ++c)
        text += curves == 1 ? ",level_db" : QString(",channel%1_db").arg(c + 1).toLatin1();
    text += '\n';
    for (int32_t k = 0; k < spectrum_.Bins(); ++k) {
        text += QByteArray::number(spectrum_.BinFrequency(k), 'f', 2);
        for (size_t c = 0; c < curves; ++c)
            text += ',' + QByteArray::number(static_cast<double>(spectrum_.levels[c][k]), 'f', 2);
        text += '\n';
    }
    if (file.write(text) != text.size() || !file.commit()) {
        if (error)
            *error = tr("%1 could not be written (is the disk full?).").arg(path);
        return false;
    }
    return true;
}

void LOMSpectrumWindow::AskExport() {
    const QString path = QFileDialog::getSaveFileName(this, tr("Export Spectrum"), QString(),
                                                      tr("CSV files (*.csv)"));
    if (path.isEmpty())
        return;
    QString error;
    if (!ExportCsv(path, &error))
        QMessageBox::warning(this, tr("File Error"), error);
}

}  // namespace osmera
