#include "app/effect_dialog.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>
#include <algorithm>
#include <cstring>

#include "edit/src_cut_list_audio.h"
#include "effects/click_repair.h"
#include "effects/effect_job.h"
#include "effects/effect_sources.h"
#include "effects/level_effects.h"
#include "effects/loudness.h"
#include "effects/mix_effects.h"
#include "effects/time_effects.h"

namespace osmera {

namespace {

// The label and unit shown beside each remembered parameter; a parameter with choices is
// picked from a list (its value is the index), its number field kept hidden behind it.
struct LFieldText {
    const char* key;
    const char* label;
    const char* unit;
    const char* choices = "";  // '|' separated
};
constexpr LFieldText kFieldTexts[] = {
    {"AmplifyGain", "Gain:", "%"},
    {"NormalizePeakLevel", "Peak Level:", "%"},
    {"AutoTrimThreshold", "Threshold:", "dB"},
    {"SilenceTimes", "Silence Length:", "ms"},
    {"RepeatNumTimes", "Number of Repeats:", "times"},
    {"ClickSensitivity", "Sensitivity (0-100):", ""},
    {"MaxClickLength", "Maximum Click Length:", "microseconds"},
    {"SpSpeedPitch", "Speed/Pitch Adjust (%)", ""},
    {"ConstPitchSpeed", "Speed Adjust (%)", ""},
    {"ConstSpeedPitch", "Pitch Adjust (%)", ""},
    {"LowCutFreq", "Cut-off Frequency:", "Hz"},
    {"EchoTime", "Echo Time:", "ms"},
    {"EchoGain", "Echo Gain:", "%"},
    {"ReverbLevel", "Reverb Level (0-100):", ""},
    {"ReverbTime", "Reverb Time:", "ms"},
    {"StereoPan", "Pan (0 left, 50 centre, 100 right):", ""},
    {"NoiseGateLevel", "Noise Reduction:", "dB"},
    {"CompressorThreshold", "Threshold:", "dB"},
    {"CompressorRatio", "Ratio:", "", "1:1|3:2|2:1|3:1|4:1|5:1|Limit|Noise Gate"},
    {"CompressorLimit", "Output Ceiling:", "dB"},
    {"GapTimeMS", "Overlap:", "ms"},
    {"FadeInTimeMS", "Fade In Time:", "ms"},
    {"FadeOutTimeMS", "Fade Out Time:", "ms"},
    {"PasteMixVolume", "Mix Volume:", "%"},
    {"LongerSelection", "When the mixed audio is longer:", "",
     "Stop at the end of the selection|Mix all of it"},
    {"FadeOutTime", "Fade Out Time:", "ms"},
    {"LoudnessTarget", "Target Loudness:", "LUFS", ""},
    {"LoudnessTruePeak", "True Peak Ceiling:", "dBTP", ""},
};

// Shown for a field that holds no whole number and has no rule of its own.
constexpr const char* kNotANumberMessage = "Please enter a whole number.";

LFieldText TextOf(const char* key) {
    for (const LFieldText& t : kFieldTexts)
        if (std::strcmp(t.key, key) == 0)
            return t;
    return {key, key, ""};
}

}  // namespace

bool HasEffectPreview(LEffectId id) {
    return id == LEffectId::kAmplify || id == LEffectId::kNormalize ||
           id == LEffectId::kRepeatLoop || id == LEffectId::kAutoClickPop ||
           id == LEffectId::kPasteMix || id == LEffectId::kMixFile || id == LEffectId::kCrossFade ||
           id == LEffectId::kLoudnessNormalize || HasEffectSource(id);
}

LOMEffectDialog::LOMEffectDialog(const LEffectInfo& info, const std::vector<int32_t>& values,
                                 LUserPrompts& prompts, LEditorTransport* transport,
                                 const LOMFile& doc, QWidget* parent)
    : LOMPreviewDialog(parent, HasEffectPreview(info.id) ? transport : nullptr, doc),
      info_(info),
      prompts_(prompts) {
    setWindowTitle(QString::fromUtf8(info.command));
    auto* layout = new QVBoxLayout(this);
    auto* form = new QFormLayout;
    layout->addLayout(form);
    for (size_t i = 0; i < info.params.size(); ++i) {
        const LFieldText text = TextOf(info.params[i].key);
        auto* field = new QLineEdit(this);
        field->setObjectName(QString::fromUtf8(info.params[i].key));
        field->setText(QString::number(i < values.size() ? values[i] : info.params[i].def));
        connect(field, &QLineEdit::textEdited, this, [this]() { ParameterChanged(); });
        auto* row = new QHBoxLayout;
        row->addWidget(field);
        if (*text.choices) {
            auto* list = new QComboBox(this);
            list->addItems(QString::fromUtf8(text.choices).split(QLatin1Char('|')));
            list->setCurrentIndex(field->text().toInt());
            field->hide();
            row->addWidget(list);
            connect(list, &QComboBox::currentIndexChanged, this, [this, field](int index) {
                field->setText(QString::number(index));
                ParameterChanged();
            });
        }
        if (*text.unit)
            row->addWidget(new QLabel(QString::fromUtf8(text.unit), this));
        form->addRow(QString::fromUtf8(text.label), row);
        fields_.push_back(field);
    }
    QDialogButtonBox* buttons = OkCancelButtons();
    layout->addWidget(buttons);
    if (!fields_.empty()) {
        fields_.front()->setFocus();
        fields_.front()->selectAll();
    }
}

bool LOMEffectDialog::ReadFields(std::vector<int32_t>& values) const {
    values.assign(fields_.size(), 0);
    bool all = true;
    for (size_t i = 0; i < fields_.size(); ++i) {
        bool ok = false;
        values[i] = fields_[i]->text().trimmed().toInt(&ok);
        all = all && ok;
    }
    return all;
}

bool LOMEffectDialog::CurrentValues(std::vector<int32_t>& values) const {
    return ReadFields(values) && ValidateEffectParams(info_, values).empty();
}

void LOMEffectDialog::accept() {
    std::vector<int32_t> values(fields_.size(), 0);
    std::vector<bool> number(fields_.size(), false);
    for (size_t i = 0; i < fields_.size(); ++i) {
        bool ok = false;
        values[i] = fields_[i]->text().trimmed().toInt(&ok);
        number[i] = ok;
    }
    // The rules in table order; a field that holds no number fails its rule.
    const char* message = nullptr;
    size_t field = 0;
    for (const LEffectRule& rule : info_.rules) {
        if (rule.param >= fields_.size())
            continue;
        if (!number[rule.param] || values[rule.param] < rule.min || values[rule.param] > rule.max) {
            message = rule.message;
            field = rule.param;
            break;
        }
    }
    for (size_t i = 0; !message && i < fields_.size(); ++i) {
        if (!number[i]) {
            message = kNotANumberMessage;
            field = i;
        }
    }
    if (message) {
        prompts_.Inform(QString::fromUtf8(kInvalidValueTitle), QString::fromUtf8(message));
        fields_[field]->setFocus();
        fields_[field]->selectAll();
        return;
    }
    LOMPreviewDialog::accept();
}

LSourceRef LOMEffectDialog::BuildPreviewSource() {
    std::vector<int32_t> values;
    if (!CurrentValues(values))
        return {};
    int32_t length = 0;
    LCutListAudio copy = SelectionCopy(length);
    if (info_.id == LEffectId::kAmplify) {
        Amplify(copy, 0, length, values[0]);
    } else if (info_.id == LEffectId::kPasteMix || info_.id == LEffectId::kMixFile ||
               info_.id == LEffectId::kCrossFade) {
        // The mix is written into cuts of the copy's own: the document is not touched.
        LSourceRef other = mixAudio_ ? mixAudio_() : LSourceRef();
        if (!other || !other->IsOk())
            return {};
        LNullProgress quiet;
        const LEffectRequest request{&copy, length, 0, values};
        const int done = info_.id == LEffectId::kCrossFade ? CrossFade(quiet, request, other)
                                                           : PasteMix(quiet, request, other);
        if (done != kJobDone)
            return {};
    } else if (info_.id == LEffectId::kLoudnessNormalize) {
        LNullProgress quiet;
        if (LoudnessNormalize(quiet, LEffectRequest{&copy, length, 0, values}) != kJobDone)
            return {};
    } else if (info_.id == LEffectId::kRepeatLoop) {
        RepeatLoop(copy, 0, length, values[0]);
    } else if (info_.id == LEffectId::kNormalize) {
        // Measures the copy and sets its gains; the document's list is not touched.
        LNullProgress quiet;
        if (Normalize(quiet, LEffectRequest{&copy, length, 0, values}) != kJobDone)
            return {};
    } else {
        return MakeEffectSource(info_.id, LSourceRef(new LSRCCutListAudio(copy)), values);
    }
    return LSourceRef(new LSRCCutListAudio(copy));
}

LAutoClickPopDlg::LAutoClickPopDlg(const std::vector<int32_t>& values, LUserPrompts& prompts,
                                   LEditorTransport* transport, const LOMFile& doc, QWidget* parent)
    : LOMEffectDialog(GetEffectInfo(LEffectId::kAutoClickPop), values, prompts, transport, doc,
                      parent) {}

LSourceRef LAutoClickPopDlg::BuildPreviewSource() {
    std::vector<int32_t> values;
    if (!CurrentValues(values) || values.size() < 2)
        return {};
    int32_t length = 0;
    LCutListAudio copy = SelectionCopy(length);
    LNullProgress quiet;
    const LClickSettings settings{values[0], values[1]};
    if (AutoClickRepair(quiet, LEffectRequest{&copy, length, 0, {}}, settings) != kJobDone)
        return {};
    return LSourceRef(new LSRCCutListAudio(copy));
}

const LNoiseProfile& ProfileFor(const LNoiseProfile& profile, uint32_t sampleRate) {
    static const LNoiseProfile kNone;
    return profile.frameSize == NoiseFrameSize(static_cast<int32_t>(sampleRate)) ? profile : kNone;
}

LNoiseReductionDlg::LNoiseReductionDlg(const std::vector<int32_t>& values, LUserPrompts& prompts,
                                       LEditorTransport* transport, const LOMFile& doc,
                                       QWidget* parent, LNoiseProfile& profile)
    : LOMEffectDialog(GetEffectInfo(LEffectId::kNoiseReduction), values, prompts, transport, doc,
                      parent),
      profile_(profile) {
    auto* take = new QPushButton(QStringLiteral("Get Noise Profile"), this);
    take->setObjectName(QStringLiteral("noiseProfile"));
    take->setAutoDefault(false);
    take->setToolTip(QStringLiteral("Takes the selection as the noise to remove."));
    if (auto* buttons = findChild<QDialogButtonBox*>())
        buttons->addButton(take, QDialogButtonBox::ActionRole);
    connect(take, &QPushButton::clicked, this, &LNoiseReductionDlg::GetNoiseProfile);
}

void LNoiseReductionDlg::GetNoiseProfile() {
    int32_t length = 0;
    const LCutListAudio copy = SelectionCopy(length);
    LNoiseProfile measured;
    MeasureNoiseProfile(nullptr, LSourceRef(new LSRCCutListAudio(copy)), length, false, measured);
    if (measured.Empty()) {
        const int32_t ms = static_cast<int32_t>(
            int64_t{NoiseFrameSize(static_cast<int32_t>(Document().audio.GetSampleRate()))} * 1000 /
            std::max<uint32_t>(Document().audio.GetSampleRate(), 1));
        Prompts().Inform(QStringLiteral("Noise Reduction"),
                         QStringLiteral("Select at least %1 ms of noise alone, then press Get "
                                        "Noise Profile.")
                             .arg(ms + 1));
        return;
    }
    profile_ = std::move(measured);
    reject();
}

LSourceRef LNoiseReductionDlg::BuildPreviewSource() {
    std::vector<int32_t> values;
    if (!CurrentValues(values) || values.empty())
        return {};
    int32_t length = 0;
    const LCutListAudio copy = SelectionCopy(length);
    return MakeNoiseReductionSource(LSourceRef(new LSRCCutListAudio(copy)), values[0],
                                    ProfileFor(profile_, Document().audio.GetSampleRate()));
}

bool LQtEffectDialog::Ask(const LEffectInfo& info, std::vector<int32_t>& values) {
    std::unique_ptr<LOMEffectDialog> dialog;
    if (info.id == LEffectId::kNoiseReduction && noiseProfile_)
        dialog = std::make_unique<LNoiseReductionDlg>(values, prompts_, transport_, doc_, parent_,
                                                      *noiseProfile_);
    else if (info.id == LEffectId::kAutoClickPop)
        dialog = std::make_unique<LAutoClickPopDlg>(values, prompts_, transport_, doc_, parent_);
    else
        dialog =
            std::make_unique<LOMEffectDialog>(info, values, prompts_, transport_, doc_, parent_);
    dialog->SetMixAudio(mixAudio_);
    if ((run_ ? run_(*dialog) : dialog->exec()) != QDialog::Accepted)
        return false;
    // accept() let it close, so every field holds a number.
    return dialog->ReadFields(values);
}

void LQtEffectDialog::ShowMessage(const std::string& title, const std::string& text) {
    const QString t = QString::fromStdString(title);
    if (title == kInvalidValueTitle || title == kStereoRequiredTitle)
        prompts_.Inform(t, QString::fromStdString(text));
    else
        prompts_.Warn(t, QString::fromStdString(text));
}

}  // namespace osmera
