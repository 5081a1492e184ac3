#include "app/record_window.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QSlider>
#include <QSpinBox>
#include <QVBoxLayout>

#include "core/sound_time.h"
#include "display/level_meter.h"
#include "edit/audio_cut_tank.h"
#include "edit/snk_cut_list_audio.h"

namespace osmera {
namespace {

constexpr const char* kSection = "Recorder";
constexpr int kRates[] = {8000, 11025, 16000, 22050, 32000, 44100, 48000, 96000};
constexpr int kDefaultRate = 44100;
constexpr int kDefaultThreshold = -30;  // where the slider sits while the start is off
// The meter and the threshold slider share the recorder's scale: full scale is +12.
constexpr int kMeterBottom = -60;
constexpr int kMeterTop = 12;

QString FormatName(uint32_t rate, uint8_t channels) {
    return QStringLiteral("%1 Hz, %2").arg(rate).arg(channels == 1 ? "mono" : "stereo");
}

}  // namespace

LOMRecordWindow::LOMRecordWindow(QWidget* frame, LSettingsStore& settings, LUserPrompts& prompts,
                                 LDocumentController& controller, LDeliver deliver)
    : QDialog(frame),
      settings_(settings),
      prompts_(prompts),
      controller_(controller),
      deliver_(std::move(deliver)) {
    setWindowTitle(QStringLiteral("Record"));
    setModal(false);
    recorder_.SetNotify(this, nullptr);
    BuildControls();
    LoadSettings();
    UpdateButtons();
}

LOMRecordWindow::~LOMRecordWindow() {
    // A take still running is discarded; its sink and cut go with the members.
    recorder_.SetNotify(nullptr, nullptr);
    recorder_.Stop();
}

void LOMRecordWindow::BuildControls() {
    auto* form = new QFormLayout;
    device_ = new QComboBox;
    for (uint32_t v = 0; v <= LSoundRecordDevice::GetCount(); ++v)
        device_->addItem(QString::fromStdString(LSoundRecordDevice::GetText(v)));
    form->addRow(QStringLiteral("&Device:"), device_);
    rate_ = new QComboBox;
    for (int rate : kRates)
        rate_->addItem(QStringLiteral("%1 Hz").arg(rate), rate);
    channels_ = new QComboBox;
    channels_->addItem(QStringLiteral("Mono"), 1);
    channels_->addItem(QStringLiteral("Stereo"), 2);
    auto* format = new QHBoxLayout;
    format->addWidget(rate_);
    format->addWidget(channels_);
    form->addRow(QStringLiteral("New file:"), format);
    targetText_ = new QLabel;
    targetText_->setWordWrap(true);
    form->addRow(QStringLiteral("Into:"), targetText_);

    voice_ = new QCheckBox(QStringLiteral("Start when the level reaches"));
    threshold_ = new QSlider(Qt::Horizontal);
    threshold_->setObjectName(QStringLiteral("Threshold"));
    threshold_->setRange(kMeterBottom, kMeterTop);
    thresholdText_ = new QLabel;
    thresholdText_->setMinimumWidth(fontMetrics().horizontalAdvance(QStringLiteral("-60 dB ")));
    auto* voiceRow = new QHBoxLayout;
    voiceRow->addWidget(voice_);
    voiceRow->addWidget(threshold_, 1);
    voiceRow->addWidget(thresholdText_);
    form->addRow(voiceRow);
    autotrim_ = new QCheckBox(QStringLiteral("Trim silence (pauses over 2 s and the end)"));
    form->addRow(autotrim_);
    maxTime_ = new QSpinBox;
    maxTime_->setRange(0, INT32_MAX / 96000);
    maxTime_->setSuffix(QStringLiteral(" s"));
    maxTime_->setSpecialValueText(QStringLiteral("No limit"));
    form->addRow(QStringLiteral("&Maximum time:"), maxTime_);

    meter_ = new LLevelMeter;
    meter_->SetRange(kMeterBottom, kMeterTop);
    form->addRow(QStringLiteral("Level:"), meter_);
    elapsed_ = new QLabel;
    state_ = new QLabel;
    auto* status = new QHBoxLayout;
    status->addWidget(elapsed_);
    status->addStretch(1);
    status->addWidget(state_);
    form->addRow(QStringLiteral("Time:"), status);

    auto* buttons = new QDialogButtonBox;
    record_ = buttons->addButton(QStringLiteral("&Record"), QDialogButtonBox::ActionRole);
    stop_ = buttons->addButton(QStringLiteral("&Stop"), QDialogButtonBox::ActionRole);
    retake_ = buttons->addButton(QStringLiteral("R&etake"), QDialogButtonBox::ActionRole);
    cancel_ = buttons->addButton(QStringLiteral("Cancel"), QDialogButtonBox::RejectRole);
    connect(record_, &QPushButton::clicked, this, [this]() { StartTake(); });
    connect(stop_, &QPushButton::clicked, this, &LOMRecordWindow::StopTake);
    connect(retake_, &QPushButton::clicked, this, &LOMRecordWindow::Retake);
    connect(cancel_, &QPushButton::clicked, this, &LOMRecordWindow::reject);
    connect(voice_, &QCheckBox::toggled, threshold_, &QWidget::setEnabled);
    connect(threshold_, &QSlider::valueChanged, this, &LOMRecordWindow::ThresholdMoved);

    auto* layout = new QVBoxLayout(this);
    layout->addLayout(form);
    layout->addWidget(buttons);
}

void LOMRecordWindow::LoadSettings() {
    const LRecordOptions o = LRecordOptions::Load(settings_);
    device_->setCurrentIndex(
        o.device < static_cast<uint32_t>(device_->count()) ? static_cast<int>(o.device) : 0);
    const int rate = settings_.GetInt(kSection, "SampleRate", kDefaultRate);
    const int rateIndex = rate_->findData(rate);
    rate_->setCurrentIndex(rateIndex >= 0 ? rateIndex : rate_->findData(kDefaultRate));
    channels_->setCurrentIndex(settings_.GetInt(kSection, "Channels", 2) == 1 ? 0 : 1);
    voice_->setChecked(o.WaitsForSound());
    threshold_->setEnabled(o.WaitsForSound());
    threshold_->setValue(o.WaitsForSound() ? o.threshold : kDefaultThreshold);
    ThresholdMoved(threshold_->value());
    autotrim_->setChecked(o.autotrim);
    maxTime_->setValue(static_cast<int>(o.maxMs / 1000u));
    elapsed_->setText(QString::fromStdString(LSoundTime::FormatHundredths(0)));
}

LRecordOptions LOMRecordWindow::OptionsFromControls() const {
    LRecordOptions o;
    o.threshold = voice_->isChecked() ? static_cast<int8_t>(threshold_->value())
                                      : LRecordOptions::kThresholdOff;
    o.autotrim = autotrim_->isChecked();
    o.maxMs = static_cast<uint32_t>(maxTime_->value()) * 1000u;
    o.device = static_cast<uint32_t>(std::max(device_->currentIndex(), 0));
    return o;
}

void LOMRecordWindow::ThresholdMoved(int value) {
    thresholdText_->setText(QStringLiteral("%1 dB").arg(value));
}

void LOMRecordWindow::Present() {
    UpdateTargetText();
    UpdateButtons();
    show();
    raise();
    activateWindow();
}

void LOMRecordWindow::ReloadSettings() {
    if (!IsTakeRunning())
        LoadSettings();
}

bool LOMRecordWindow::IsTakeRunning() const {
    return recorder_.GetState() != LSoundRecorder::kStateIdle;
}

void LOMRecordWindow::ForgetDocument(const LOMFile* doc) {
    if (target_ == doc)
        target_ = nullptr;
    if (!IsTakeRunning())
        UpdateTargetText();
}

void LOMRecordWindow::UpdateTargetText() {
    const LOMFile* doc = IsTakeRunning() ? target_ : controller_.GetCurrent();
    if (!doc) {
        targetText_->setText(QStringLiteral("a new file"));
    } else {
        const bool over = doc->selEnd > doc->selStart;
        targetText_->setText(
            QStringLiteral("%1 (%2), %3")
                .arg(
                    QString::fromStdString(doc->GetDisplayName()),
                    FormatName(doc->audio.GetSampleRate(), doc->audio.GetChannels()),
                    over ? QStringLiteral("over the selection") : QStringLiteral("at the cursor")));
    }
    // Only a new file takes the format chosen here.
    rate_->setEnabled(!doc);
    channels_->setEnabled(!doc);
}

void LOMRecordWindow::UpdateButtons() {
    const bool running = IsTakeRunning();
    record_->setEnabled(!running);
    stop_->setEnabled(running);
    retake_->setEnabled(running);
    cancel_->setText(running ? QStringLiteral("Cancel") : QStringLiteral("Close"));
    for (QWidget* w : {static_cast<QWidget*>(device_), static_cast<QWidget*>(voice_),
                       static_cast<QWidget*>(autotrim_), static_cast<QWidget*>(maxTime_)})
        w->setEnabled(!running);
    threshold_->setEnabled(!running && voice_->isChecked());
    if (running) {
        rate_->setEnabled(false);
        channels_->setEnabled(false);
    } else {
        state_->setText(QStringLiteral("Stopped"));
        meter_->Reset();
    }
}

bool LOMRecordWindow::StartTake() {
    if (IsTakeRunning())
        return false;
    if (controller_.CheckFreeCuts(1) != LEditResult::kDone) {
        prompts_.Warn(QStringLiteral("Record"), QString::fromUtf8(kCutTankFullMessage));
        return false;
    }
    options_ = OptionsFromControls();
    options_.Save(settings_);
    settings_.SetInt(kSection, "SampleRate", rate_->currentData().toInt());
    settings_.SetInt(kSection, "Channels", channels_->currentData().toInt());

    target_ = controller_.GetCurrent();
    const uint32_t rate = target_ ? target_->audio.GetSampleRate()
                                  : static_cast<uint32_t>(rate_->currentData().toInt());
    const uint8_t channels = target_ ? target_->audio.GetChannels()
                                     : static_cast<uint8_t>(channels_->currentData().toInt());
    if (opener_) {
        recorder_.SetDeviceOpener(opener_);
    } else {
        recorder_.SetDeviceOpener({});
        if (options_.device == 0 && !HasSoundInputHardware() && !noticeShown_) {
            noticeShown_ = true;
            emit statusMessage(QStringLiteral(
                "No sound input device was found: recording silence from the null device."));
        }
    }
    recorder_.SetDevice(options_.device);

    take_ = LCutListAudio(rate, channels);
    sink_ = LRef<LSNKRecordTake>(
        new LSNKRecordTake(take_.MakeSink(static_cast<int32_t>(rate), channels)));
    sink_->SetKeepTail(!options_.autotrim);
    cancelled_ = false;
    const bool started = options_.Start(recorder_, sink_);
    if (!started) {
        cancelled_ = true;
        sink_.Reset();
        take_ = LCutListAudio();
        target_ = nullptr;
        prompts_.Warn(QStringLiteral("Record"),
                      QStringLiteral("The sound input device \"%1\" could not be opened for %2. "
                                     "Choose another device or format and try again.")
                          .arg(device_->currentText(), FormatName(rate, channels)));
    }
    UpdateTargetText();
    UpdateButtons();
    emit takeRunningChanged(started);
    return started;
}

void LOMRecordWindow::StopTake() {
    recorder_.Stop();  // OnStop hands the take over
}

void LOMRecordWindow::Retake() {
    if (IsTakeRunning())
        recorder_.Restart();
}

void LOMRecordWindow::CancelTake() {
    cancelled_ = true;
    recorder_.Stop();
}

void LOMRecordWindow::reject() {
    if (IsTakeRunning())
        CancelTake();
    else
        QDialog::reject();
}

void LOMRecordWindow::OnRecord(void*) {
    state_->setText(QStringLiteral("Recording"));
}

void LOMRecordWindow::OnWaiting(void*) {
    state_->setText(QStringLiteral("Waiting for sound"));
}

void LOMRecordWindow::OnStop(void*) {
    if (!sink_)
        return;  // a failed start; StartTake reports it
    LRef<LSNKRecordTake> sink = std::move(sink_);
    if (!cancelled_)
        options_.FinishTake(sink->Inner());
    const bool failed = sink->IsError();
    sink.Reset();  // the recorder has let go too: `take_` now holds the new cut
    LCutListAudio take = std::move(take_);
    take_ = LCutListAudio();
    LOMFile* target = target_;
    target_ = nullptr;
    UpdateButtons();
    UpdateTargetText();
    emit takeRunningChanged(false);
    if (cancelled_)
        return;  // `take` lets the cut go
    if (failed) {
        prompts_.Warn(QStringLiteral("Record"),
                      QStringLiteral("The recording could not be written to the working folder "
                                     "(is the disk full?). The file was left as it was."));
        return;
    }
    if (take.GetLength() == 0) {
        emit statusMessage(QStringLiteral("Nothing was recorded."));
        return;
    }
    deliver_(target, take);
}

void LOMRecordWindow::OnPosition(void*, int32_t milliseconds) {
    elapsed_->setText(QString::fromStdString(LSoundTime::FormatHundredths(milliseconds)));
}

void LOMRecordWindow::OnLevels(void*, const LChannelLevels& levels) {
    std::vector<int> values(levels.channels);
    for (size_t c = 0; c < values.size(); ++c)
        values[c] = levels.level[c];
    meter_->SetLevels(values);
}

}  // namespace osmera
