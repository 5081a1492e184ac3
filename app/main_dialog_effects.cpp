// MainDialog: the Effects menu and the Edit and Tools commands that are effects. Each runs
// the engine's effect driver on the current document: it selects the whole file when
// nothing is selected, stops playback, asks the effect's dialog (effect_dialog.h) for the
// remembered values, records the undo step, runs the effect (inside the progress window
// when it pumps or measures) and ends with the cursor at the change and, when
// "AutoPlaybackAfterEffects" is on, playback from one second before it.
#include <QDir>
#include <QFileInfo>
#include <QMdiSubWindow>
#include <QStatusBar>

#include "app/editor_transport.h"
#include "app/effect_dialog.h"
#include "app/envelope_dialog.h"
#include "app/equalizer_dialog.h"
#include "app/main_dialog.h"
#include "app/mdi_main_window.h"
#include "effects/effect_driver.h"
#include "effects/filter_effects.h"
#include "platform/qt_progress.h"

namespace osmera {

void MainDialog::RunEffect(LEffectId id, LEffectDialog* dialog,
                           const std::function<void(LEffectDriver&)>& prepare) {
    LOMFile* doc = controller_.GetCurrent();
    if (!doc)
        return;
    const LEffectInfo& info = GetEffectInfo(id);
    LEffectResult result;
    {
        ++busy_;
        // The progress window's clock starts with the job, not with the dialog.
        LQtProgress progress(&frame_, QString::fromUtf8(info.command));
        LEffectDriver driver(controller_, settings_, progress, this);
        LQtEffectDialog tableDialog(&frame_, prompts_, transport_.get(), *doc, effectDialogRunner_);
        tableDialog.SetNoiseProfile(&noiseProfile_);
        driver.SetNoiseProfile(ProfileFor(noiseProfile_, doc->audio.GetSampleRate()));
        if (prepare)
            prepare(driver);
        result = driver.Run(id, dialog ? dialog : &tableDialog);
        --busy_;
    }
    // Keys go to the frame again once the dialog is gone (Ctrl+Z right after an effect),
    // also where no window manager hands the focus back.
    frame_.activateWindow();
    switch (result.status) {
        case LEffectStatus::kNotAvailable:
            NotAvailable(QString::fromUtf8(info.command));
            break;
        case LEffectStatus::kJobFailed:
            if (!result.message.empty())  // the driver has shown the effect's own message
                break;
            prompts_.Warn(
                QString::fromUtf8(info.command),
                QStringLiteral("The effect could not be applied. The file is unchanged."));
            break;
        default:
            break;
    }
    UpdateCommandStates();
}

// The Envelope's dialog edits the points of "envelope.dat" over the selection's waveform.
void MainDialog::CmEnvelope() {
    LOMFile* doc = controller_.GetCurrent();
    if (!doc)
        return;
    LEnvelopeDialog dialog(&frame_, prompts_, transport_.get(), *doc);
    RunEffect(LEffectId::kEnvelope, &dialog);
}

void MainDialog::CmEqualizer() {
    LOMFile* doc = controller_.GetCurrent();
    if (!doc)
        return;
    LNullProgress quiet;
    LEffectDriver paths(controller_, settings_, quiet);
    const std::string file = paths.EqualizerFilePath();
    std::vector<int32_t> gains(kEqualizerBands, 0);
    LoadEqualizerGains(file, gains);
    {
        // The driver selects the whole file when nothing is selected; so does the preview.
        const int32_t start = doc->selStart, end = doc->selEnd;
        if (!doc->HasSelection())
            doc->SetSelection(0, doc->audio.GetLength());
        LEqualizerDialog dialog(&frame_, transport_.get(), *doc, gains);
        const int answer = equalizerDialogRunner_ ? equalizerDialogRunner_(dialog) : dialog.exec();
        doc->SetSelection(start, end);
        if (answer != QDialog::Accepted)
            return;
        gains = dialog.Gains();
    }
    // The effect still runs with the user's gains; only the next run's starting gains are
    // lost, and the user is told so.
    if (!SaveEqualizerGains(file, gains))
        prompts_.Warn(QStringLiteral("File Error"),
                      QStringLiteral("The equalizer settings could not be saved to %1.")
                          .arg(QString::fromStdString(file)));
    RunEffect(LEffectId::kEqualizer, nullptr,
              [&](LEffectDriver& driver) { driver.SetEqualizerGains(gains); });
}

void MainDialog::CmNoiseReduction() {
    const size_t before = noiseProfile_.power.size();
    const std::vector<float> old = noiseProfile_.power;
    RunEffect(LEffectId::kNoiseReduction);
    if (noiseProfile_.power.size() != before || noiseProfile_.power != old)
        frame_.statusBar()->showMessage(
            QStringLiteral("Noise profile taken. Select the audio to clean and choose Noise "
                           "Reduction again."));
}

// The file to mix in is chosen first; its folder is remembered in "MixFileDir".
void MainDialog::CmMixFile() {
    if (!controller_.GetCurrent())
        return;
    const QString folder = QString::fromStdString(
        settings_.GetText("Settings", "MixFileDir", QDir::homePath().toStdString()));
    const QStringList files =
        prompts_.OpenFileNames(QStringLiteral("Open Audio Files"), folder, OpenFileFilters());
    if (files.isEmpty())
        return;
    const std::string path = QFileInfo(files.front()).absoluteFilePath().toStdString();
    settings_.SetText("Settings", "MixFileDir",
                      QFileInfo(files.front()).absolutePath().toStdString());
    RunEffect(LEffectId::kMixFile, nullptr,
              [&](LEffectDriver& driver) { driver.SetMixFile(path); });
}

void MainDialog::CmPasteMix() {
    RunEffect(LEffectId::kPasteMix);
}

// The desktop clipboard's audio (from this or another program) mixed over the selection.
void MainDialog::CmPasteMixFromClipboard() {
    if (!controller_.GetCurrent())
        return;
    LCutListAudio other;
    bool loaded;
    {
        ++busy_;
        LQtProgress progress(&frame_, QStringLiteral("Paste Mix From Clipboard"));
        loaded = controller_.LoadSystemClipboard(clipboard_, other, &progress);
        --busy_;
    }
    if (!loaded) {
        prompts_.Inform(QStringLiteral("Osmera"), QString::fromUtf8(kMixClipboardEmptyMessage));
        return;
    }
    RunEffect(LEffectId::kPasteMix, nullptr,
              [&](LEffectDriver& driver) { driver.SetMixList(&other); });
}

void MainDialog::CmHighPass() {
    RunEffect(LEffectId::kHighPassFilter);
}

void MainDialog::CmEcho() {
    RunEffect(LEffectId::kEcho);
}

void MainDialog::CmReverb() {
    RunEffect(LEffectId::kReverb);
}

void MainDialog::CmCrossFade() {
    RunEffect(LEffectId::kCrossFade);
}

void MainDialog::CmAutoGain() {
    RunEffect(LEffectId::kAutomaticGainControl);
}

void MainDialog::CmSimpleSpeedPitch() {
    RunEffect(LEffectId::kSimpleSpeedPitch);
}

void MainDialog::CmConstantPitchSpeed() {
    RunEffect(LEffectId::kConstantPitchSpeed);
}

void MainDialog::CmConstantSpeedPitch() {
    RunEffect(LEffectId::kConstantSpeedPitch);
}

void MainDialog::CmCompressor() {
    RunEffect(LEffectId::kCompressor);
}

void MainDialog::CmLoudnessNormalize() {
    RunEffect(LEffectId::kLoudnessNormalize);
}

void MainDialog::CmAmplify() {
    RunEffect(LEffectId::kAmplify);
}

void MainDialog::CmNormalize() {
    RunEffect(LEffectId::kNormalize);
}

// Insert Silence asks its length in milliseconds ("SilenceTimes") like every effect.
void MainDialog::CmInsertSilenceBegin() {
    RunEffect(LEffectId::kInsertSilenceStart);
}

void MainDialog::CmInsertSilenceCurrent() {
    RunEffect(LEffectId::kInsertSilenceCurrent);
}

void MainDialog::CmInsertSilenceEnd() {
    RunEffect(LEffectId::kInsertSilenceEnd);
}

void MainDialog::CmReverse() {
    RunEffect(LEffectId::kReverse);
}

void MainDialog::CmFadeIn() {
    RunEffect(LEffectId::kFadeIn);
}

void MainDialog::CmFadeOut() {
    RunEffect(LEffectId::kFadeOut);
}

void MainDialog::CmFadeOutAndTrim() {
    RunEffect(LEffectId::kFadeOutAndTrim);
}

// Refused on a mono file; on a stereo one the pan itself is not built yet.
void MainDialog::CmStereoPan() {
    RunEffect(LEffectId::kStereoPan);
}

void MainDialog::CmDcOffset() {
    RunEffect(LEffectId::kDcOffset);
}

void MainDialog::CmRepeatLoop() {
    RunEffect(LEffectId::kRepeatLoop);
}

void MainDialog::CmAutoTrim() {
    RunEffect(LEffectId::kAutoTrim);
}

void MainDialog::CmAutoClickPop() {
    RunEffect(LEffectId::kAutoClickPop);
}

void MainDialog::CmManualClickPop() {
    RunEffect(LEffectId::kManualClickPop);
}

}  // namespace osmera
