#include "app/equalizer_dialog.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QGridLayout>
#include <QLabel>
#include <QPushButton>
#include <QSlider>
#include <QVBoxLayout>

#include "edit/src_cut_list_audio.h"
#include "effects/filter_effects.h"

namespace osmera {

namespace {

// Shown names and the engine's names of the presets.
constexpr const char* kPresets[][2] = {
    {"Flat", "flat"}, {"Bass Boost", "bass-boost"}, {"Voice", "voice"}};

QString BandName(size_t band) {
    const double hz = EqualizerBandHz(band);
    return hz >= 1000 ? QStringLiteral("%1k").arg(hz / 1000, 0, 'g', 3)
                      : QString::number(static_cast<int>(hz + 0.5));
}

}  // namespace

LEqualizerDialog::LEqualizerDialog(QWidget* parent, LEditorTransport* transport, const LOMFile& doc,
                                   const std::vector<int32_t>& gainTenths)
    : LOMPreviewDialog(parent, transport, doc), presets_(new QComboBox(this)) {
    setWindowTitle(QStringLiteral("Equalizer"));
    auto* layout = new QVBoxLayout(this);
    auto* grid = new QGridLayout;
    for (size_t band = 0; band < kEqualizerBands; ++band) {
        auto* slider = new QSlider(Qt::Vertical, this);
        slider->setRange(-kEqualizerMaxTenths, kEqualizerMaxTenths);
        slider->setSingleStep(5);
        slider->setPageStep(30);
        slider->setTickPosition(QSlider::TicksBothSides);
        slider->setTickInterval(30);
        slider->setMinimumHeight(160);
        slider->setObjectName(QStringLiteral("band%1").arg(band));
        auto* value = new QLabel(this);
        value->setAlignment(Qt::AlignCenter);
        auto* name = new QLabel(BandName(band), this);
        name->setAlignment(Qt::AlignCenter);
        const int column = static_cast<int>(band);
        grid->addWidget(value, 0, column);
        grid->addWidget(slider, 1, column, Qt::AlignHCenter);
        grid->addWidget(name, 2, column);
        sliders_ << slider;
        values_ << value;
        connect(slider, &QSlider::valueChanged, this, [this, column]() {
            ShowGain(column);
            ParameterChanged();
        });
    }
    layout->addWidget(new QLabel(QStringLiteral("Gain of each band, in dB (-12 to +12):"), this));
    layout->addLayout(grid);

    auto* presetRow = new QHBoxLayout;
    presetRow->addWidget(new QLabel(QStringLiteral("Preset:"), this));
    for (const auto& preset : kPresets)
        presets_->addItem(QString::fromLatin1(preset[0]), QString::fromLatin1(preset[1]));
    presets_->setCurrentIndex(-1);
    presetRow->addWidget(presets_, 1);
    layout->addLayout(presetRow);
    connect(presets_, &QComboBox::activated, this,
            [this](int index) { ApplyPreset(presets_->itemData(index).toString()); });

    QDialogButtonBox* buttons = OkCancelButtons();
    layout->addWidget(buttons);
    SetGains(gainTenths);
}

std::vector<int32_t> LEqualizerDialog::Gains() const {
    std::vector<int32_t> gains;
    for (const QSlider* slider : sliders_)
        gains.push_back(slider->value());
    return gains;
}

void LEqualizerDialog::SetGains(const std::vector<int32_t>& gainTenths) {
    for (int band = 0; band < sliders_.size(); ++band) {
        const size_t at = static_cast<size_t>(band);
        sliders_[band]->setValue(at < gainTenths.size() ? gainTenths[at] : 0);
        ShowGain(band);
    }
}

void LEqualizerDialog::ApplyPreset(const QString& name) {
    const std::vector<int32_t> gains = EqualizerPreset(name.toStdString());
    if (!gains.empty())
        SetGains(gains);
}

void LEqualizerDialog::ShowGain(int band) {
    const int tenths = sliders_[band]->value();
    values_[band]->setText(
        QStringLiteral("%1%2").arg(tenths > 0 ? "+" : "").arg(tenths / 10.0, 0, 'f', 1));
}

LSourceRef LEqualizerDialog::BuildPreviewSource() {
    int32_t length = 0;
    const LCutListAudio copy = SelectionCopy(length);
    return MakeEqualizerSource(LSourceRef(new LSRCCutListAudio(copy)), Gains());
}

}  // namespace osmera
