// MainDialog: the Effects menu and the Edit and Tools commands that are effects. Each runs
// the engine's effect driver on the current document: it selects the whole file when
// nothing is selected, stops playback, asks the effect's dialog (effect_dialog.h) for the
// remembered values, records the undo step, runs the effect (inside the progress window
// when it pumps or measures) and ends with the cursor at the change and, when
// "AutoPlaybackAfterEffects" is on, playback from one second before it.
#include <QMdiSubWindow>

#include "app/editor_transport.h"
#include "app/effect_dialog.h"
#include "app/envelope_dialog.h"
#include "app/main_dialog.h"
#include "app/mdi_main_window.h"
#include "effects/effect_driver.h"
#include "platform/qt_progress.h"

namespace osmera {

void MainDialog::RunEffect(LEffectId id, LEffectDialog* dialog) {
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
