#include "app/speech_dialog.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QSpinBox>
#include <QVBoxLayout>
#include <atomic>
#include <chrono>
#include <mutex>
#include <thread>

#include "app/editor_transport.h"
#include "app/user_prompts.h"
#include "edit/src_cut_list_audio.h"
#include "platform/qt_progress.h"

namespace osmera {

namespace {

constexpr const char* kSection = "TextToSpeech";
constexpr qint64 kLargestTextFile = 16 * 1024 * 1024;
const int kRates[] = {8000, 11025, 16000, 22050, 32000, 44100, 48000, 96000};

// The worker's progress: it stores what the synthesis reports; the GUI thread shows it.
class LHandedProgress : public LProgress {
  public:
    void SetLine(int line, const std::string& text) override {
        if (line == 0) {
            std::lock_guard lock(mutex_);
            title_ = text;
        }
    }
    void SetFraction(double fraction) override { fraction_ = fraction; }
    bool IsCancelled() override { return cancelled_; }

    std::string Title() {
        std::lock_guard lock(mutex_);
        return title_;
    }
    std::atomic<double> fraction_{0};
    std::atomic<bool> cancelled_{false};

  private:
    std::mutex mutex_;
    std::string title_;
};

QSpinBox* SpinBox(int low, int high, const QString& name, const QString& suffix = {}) {
    auto* box = new QSpinBox;
    box->setRange(low, high);
    box->setObjectName(name);
    box->setSuffix(suffix);
    return box;
}

}  // namespace

int RunSpeechJob(QWidget* frame, const QString& title, const std::string& text,
                 const LSpeechParams& params, LCutListAudio& audio, LMarkerList& markers,
                 std::string& message) {
    LHandedProgress handed;
    std::atomic<bool> finished{false};
    int result = kJobFailed;
    LCutListAudio made;
    LMarkerList marks;
    std::string why;
    std::thread worker([&] {
        result = LSpeechSynth::Speak(text, params, made, marks, &handed, &why);
        finished = true;
    });
    {
        LQtProgress progress(frame, title);
        std::string shown;
        while (!finished) {
            const std::string line = handed.Title();
            if (line != shown)
                progress.SetLine(0, shown = line);
            progress.SetFraction(handed.fraction_);
            if (progress.IsCancelled())
                handed.cancelled_ = true;
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
    }
    worker.join();
    if (result == kJobDone) {
        audio = std::move(made);
        markers = std::move(marks);
    }
    message = why;
    return result;
}

LSpeechDialog::LSpeechDialog(QWidget* parent, LSettingsStore& settings, LUserPrompts& prompts,
                             LEditorTransport* transport, const LCutListAudio* current)
    : QDialog(parent),
      settings_(settings),
      prompts_(prompts),
      transport_(transport),
      current_(current) {
    setWindowTitle(QStringLiteral("Text To Speech"));
    std::string missing;
    voices_ = LSpeechSynth::ListVoices(&missing);

    text_ = new QPlainTextEdit;
    text_->setObjectName(QStringLiteral("text"));
    text_->setPlaceholderText(QStringLiteral("Type or paste the text to speak."));
    auto* load = new QPushButton(QStringLiteral("Load Text File..."));
    load->setObjectName(QStringLiteral("load"));
    load->setAutoDefault(false);
    connect(load, &QPushButton::clicked, this, &LSpeechDialog::LoadTextFile);

    language_ = new QComboBox;
    language_->setObjectName(QStringLiteral("language"));
    QStringList languages;
    for (const LSpeechVoice& v : voices_)
        if (!languages.contains(QString::fromStdString(v.language)))
            languages << QString::fromStdString(v.language);
    languages.sort();
    language_->addItems(languages);
    voice_ = new QComboBox;
    voice_->setObjectName(QStringLiteral("voice"));
    connect(language_, &QComboBox::currentTextChanged, this, &LSpeechDialog::FillVoices);

    rate_ = SpinBox(LSpeechParams::kMinRate, LSpeechParams::kMaxRate, QStringLiteral("rate"),
                    QStringLiteral(" words/min"));
    pitch_ = SpinBox(0, LSpeechParams::kMaxPitch, QStringLiteral("pitch"));
    volume_ = SpinBox(0, LSpeechParams::kMaxVolume, QStringLiteral("volume"));
    gap_ =
        SpinBox(0, LSpeechParams::kMaxWordGap, QStringLiteral("gap"), QStringLiteral(" x 10 ms"));
    sampleRate_ = new QComboBox;
    sampleRate_->setObjectName(QStringLiteral("sampleRate"));
    for (int r : kRates)
        sampleRate_->addItem(QStringLiteral("%1 Hz").arg(r), r);
    channels_ = new QComboBox;
    channels_->setObjectName(QStringLiteral("channels"));
    channels_->addItem(QStringLiteral("Mono"), 1);
    channels_->addItem(QStringLiteral("Stereo"), 2);
    insert_ = new QCheckBox(QStringLiteral("Insert at the cursor of the current document"));
    insert_->setObjectName(QStringLiteral("insert"));
    insert_->setEnabled(current_ != nullptr);
    connect(insert_, &QCheckBox::toggled, this, &LSpeechDialog::UpdateFormatControls);

    auto* form = new QFormLayout;
    form->addRow(QStringLiteral("Language:"), language_);
    form->addRow(QStringLiteral("Voice:"), voice_);
    form->addRow(QStringLiteral("Rate:"), rate_);
    form->addRow(QStringLiteral("Pitch:"), pitch_);
    form->addRow(QStringLiteral("Volume:"), volume_);
    form->addRow(QStringLiteral("Word gap:"), gap_);
    form->addRow(QStringLiteral("Sample rate:"), sampleRate_);
    form->addRow(QStringLiteral("Channels:"), channels_);
    form->addRow(insert_);

    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    connect(buttons, &QDialogButtonBox::accepted, this, &LSpeechDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &LSpeechDialog::reject);
    auto* row = new QHBoxLayout;
    row->addWidget(load);
    if (transport_) {
        previewButton_ = new QPushButton(QStringLiteral("Preview"));
        previewButton_->setObjectName(QStringLiteral("preview"));
        previewButton_->setAutoDefault(false);
        connect(previewButton_, &QPushButton::clicked, this, &LSpeechDialog::TogglePreview);
        connect(transport_, &LEditorTransport::stateChanged, this, [this] {
            if (previewing_ && !starting_ &&
                !(transport_->IsActive() && !transport_->PlayingModel())) {
                previewing_ = false;
                previewButton_->setText(QStringLiteral("Preview"));
            }
        });
        row->addWidget(previewButton_);
    }
    row->addStretch();
    row->addWidget(buttons);

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(text_, 1);
    layout->addLayout(form);
    layout->addLayout(row);
    resize(520, 520);
    LoadSettings();
    if (voices_.empty())
        prompts_.Warn(windowTitle(), QString::fromStdString(missing));
}

LSpeechDialog::~LSpeechDialog() {
    StopPreview();
}

QString LSpeechDialog::Text() const {
    return text_->toPlainText();
}

void LSpeechDialog::SetText(const QString& text) {
    text_->setPlainText(text);
}

bool LSpeechDialog::InsertAtCursor() const {
    return current_ && insert_->isChecked();
}

LSpeechParams LSpeechDialog::Params() const {
    LSpeechParams p;
    p.voice = voice_->currentData().toString().toStdString();
    p.rate = rate_->value();
    p.pitch = pitch_->value();
    p.volume = volume_->value();
    p.wordGap = gap_->value();
    p.outRate = sampleRate_->currentData().toInt();
    p.channels = static_cast<uint8_t>(channels_->currentData().toInt());
    if (InsertAtCursor()) {
        p.outRate = static_cast<int32_t>(current_->GetSampleRate());
        p.channels = current_->GetChannels();
    }
    return p;
}

bool LSpeechDialog::SelectVoice(const QString& wanted) {
    const std::string w = wanted.toStdString();
    for (const LSpeechVoice& v : voices_) {
        if (v.name != w && v.identifier != w && v.language != w)
            continue;
        language_->setCurrentText(QString::fromStdString(v.language));
        const QString id = QString::fromStdString(v.identifier);
        if (voice_->findData(id) < 0)  // the language was shown already: no change signal
            FillVoices(language_->currentText());
        voice_->setCurrentIndex(voice_->findData(id));
        return true;
    }
    return false;
}

void LSpeechDialog::FillVoices(const QString& language) {
    voice_->clear();
    for (const LSpeechVoice& v : voices_)
        if (QString::fromStdString(v.language) == language)
            voice_->addItem(QStringLiteral("%1 (%2)").arg(QString::fromStdString(v.name),
                                                          SpeechGenderText(v.gender)),
                            QString::fromStdString(v.identifier));
}

void LSpeechDialog::UpdateFormatControls() {
    // An insertion takes the document's own rate and channels.
    const bool inserting = InsertAtCursor();
    sampleRate_->setEnabled(!inserting);
    channels_->setEnabled(!inserting);
}

void LSpeechDialog::LoadTextFile() {
    const QString folder = QString::fromStdString(
        settings_.GetText(kSection, "TextDir", QDir::homePath().toStdString()));
    const QStringList files = prompts_.OpenFileNames(
        QStringLiteral("Load Text File"), folder,
        {QStringLiteral("Text files (*.txt)"), QStringLiteral("All files (*)")});
    if (files.isEmpty())
        return;
    QFile file(files.first());
    if (file.size() > kLargestTextFile) {
        prompts_.Warn(windowTitle(),
                      QStringLiteral("\"%1\" is too large to speak (more than 16 MB).")
                          .arg(QFileInfo(file).fileName()));
        return;
    }
    if (!file.open(QIODevice::ReadOnly)) {
        prompts_.Warn(windowTitle(), QStringLiteral("\"%1\" could not be read: %2")
                                         .arg(QFileInfo(file).fileName(), file.errorString()));
        return;
    }
    settings_.SetText(kSection, "TextDir", QFileInfo(file).absolutePath().toStdString());
    text_->setPlainText(QString::fromUtf8(file.readAll()));
}

void LSpeechDialog::TogglePreview() {
    if (previewing_) {
        StopPreview();
        return;
    }
    LSpeechParams params = Params();
    params.outRate = LSpeechSynth::kNativeRate;  // the player takes the speech as it comes
    params.channels = 1;
    params.firstSentenceOnly = true;
    const std::string text = Text().toStdString();
    std::string message = LSpeechSynth::Check(text, params);
    LMarkerList marks;
    const int result = message.empty() ? RunSpeechJob(this, QStringLiteral("Preview"), text, params,
                                                      preview_, marks, message)
                                       : kJobFailed;
    if (result == kJobFailed)
        prompts_.Warn(windowTitle(), QString::fromStdString(message));
    if (result != kJobDone)
        return;
    starting_ = true;
    previewing_ = transport_->PlaySource(preview_.MakeSource());
    starting_ = false;
    if (previewing_)
        previewButton_->setText(QStringLiteral("Stop"));
}

void LSpeechDialog::StopPreview() {
    if (!previewing_)
        return;
    previewing_ = false;
    // Only our own playback: a document may have started playing since.
    if (transport_->IsActive() && !transport_->PlayingModel())
        transport_->Stop();
    previewButton_->setText(QStringLiteral("Preview"));
}

void LSpeechDialog::accept() {
    const std::string message = LSpeechSynth::Check(Text().toStdString(), Params());
    if (!message.empty()) {
        prompts_.Warn(windowTitle(), QString::fromStdString(message));
        return;
    }
    SaveSettings();
    QDialog::accept();
}

void LSpeechDialog::done(int result) {
    StopPreview();
    QDialog::done(result);
}

void LSpeechDialog::LoadSettings() {
    rate_->setValue(settings_.GetInt(kSection, "Rate", LSpeechParams::kDefaultRate));
    pitch_->setValue(settings_.GetInt(kSection, "Pitch", LSpeechParams::kDefaultPitch));
    volume_->setValue(settings_.GetInt(kSection, "Volume", LSpeechParams::kDefaultVolume));
    gap_->setValue(settings_.GetInt(kSection, "WordGap", 0));
    const int rateIndex = sampleRate_->findData(settings_.GetInt(kSection, "SampleRate", 44100));
    sampleRate_->setCurrentIndex(rateIndex >= 0 ? rateIndex : sampleRate_->findData(44100));
    channels_->setCurrentIndex(settings_.GetInt(kSection, "Channels", 1) == 2 ? 1 : 0);
    insert_->setChecked(current_ && settings_.GetInt(kSection, "InsertAtCursor", 0) != 0);
    if (!SelectVoice(QString::fromStdString(settings_.GetText(kSection, "Voice", "gmw/en-US"))) &&
        !SelectVoice(QStringLiteral("en")))
        FillVoices(language_->currentText());
    UpdateFormatControls();
}

void LSpeechDialog::SaveSettings() {
    settings_.SetText(kSection, "Voice", voice_->currentData().toString().toStdString());
    settings_.SetInt(kSection, "Rate", rate_->value());
    settings_.SetInt(kSection, "Pitch", pitch_->value());
    settings_.SetInt(kSection, "Volume", volume_->value());
    settings_.SetInt(kSection, "WordGap", gap_->value());
    settings_.SetInt(kSection, "SampleRate", sampleRate_->currentData().toInt());
    settings_.SetInt(kSection, "Channels", channels_->currentData().toInt());
    settings_.SetInt(kSection, "InsertAtCursor", insert_->isChecked() ? 1 : 0);
}

}  // namespace osmera
