// MainDialog: the Envelope command. Its dialog (envelope_dialog.h) edits the points of
// "envelope.dat" over the selection's waveform (the whole file without a selection); the
// engine's effect driver then records the undo step, pumps the range through the envelope
// under the progress window, and moves the cursor (playing the result when
// "AutoPlaybackAfterEffects" is on).
#include <optional>

#include "app/envelope_dialog.h"
#include "app/main_dialog.h"
#include "app/mdi_main_window.h"
#include "effects/effect_driver.h"
#include "platform/qt_progress.h"

namespace osmera {

namespace {

// The progress window made at the job's first report rather than when the command starts,
// so that the time spent in the dialog does not count as the job's and a short job still
// shows no window.
class LProgressOnFirstUse : public LProgress {
  public:
    LProgressOnFirstUse(QWidget* frame, const QString& title) : frame_(frame), title_(title) {}
    void SetLine(int line, const std::string& text) override { Get().SetLine(line, text); }
    void SetFraction(double fraction) override { Get().SetFraction(fraction); }
    bool IsCancelled() override { return Get().IsCancelled(); }

  private:
    LQtProgress& Get() {
        if (!progress_)
            progress_.emplace(frame_, title_);
        return *progress_;
    }
    QWidget* frame_;
    QString title_;
    std::optional<LQtProgress> progress_;
};

}  // namespace

void MainDialog::CmEnvelope() {
    if (!controller_.GetCurrent())
        return;
    const LEffectInfo& info = GetEffectInfo(LEffectId::kEnvelope);
    LEnvelopeDialog dialog(&frame_, prompts_);
    LEffectResult result;
    ++busy_;
    {
        LProgressOnFirstUse progress(&frame_, QString::fromUtf8(info.command));
        LEffectDriver driver(controller_, settings_, progress, this);
        result = driver.Run(info.id, &dialog);
    }
    --busy_;
    // Refusals were shown through the dialog; a cancelled job leaves the file as it was.
    if (result.status == LEffectStatus::kJobFailed)
        prompts_.Warn(QString::fromUtf8(info.command),
                      QStringLiteral("The envelope could not be applied. The file is unchanged."));
}

}  // namespace osmera
