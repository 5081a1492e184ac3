#pragma once
// The editor's effect dialogs. LOMEffectDialog is one dialog for every effect whose
// parameters are plain integers: it is built from the effect table's rows (a label, a
// field and a unit per remembered parameter), opens with the remembered values, and on OK
// checks the fields in table order with the table's rules. An invalid field shows its
// message titled "Invalid value" and the dialog stays open with the value as typed and
// that field focused. Amplify and Normalize can be heard before they are applied
// (LOMPreviewDialog).
//
// LAutoClickPopDlg is Auto Click/Pop Restoration's dialog: "ClickSensitivity" and
// "MaxClickLength" with the dialog's defaults from the table (50 and 450), which stay
// apart from the detector's own (50 and 150); its preview repairs a copy of the selection.
//
// LQtEffectDialog is what the effect driver asks: it opens the right dialog for each
// effect and shows the driver's messages through the user prompts.
//
// Ownership: prompts, transport and document are borrowed and outlive the dialogs.
// Threads: GUI thread only.

#include <QLineEdit>
#include <functional>
#include <vector>

#include "app/preview_dialog.h"
#include "app/user_prompts.h"
#include "effects/effect_driver.h"
#include "effects/noise_reduction.h"

namespace osmera {

class LOMEffectDialog : public LOMPreviewDialog {
    Q_OBJECT
  public:
    // `values` in table order. `transport` null: no preview.
    LOMEffectDialog(const LEffectInfo& info, const std::vector<int32_t>& values,
                    LUserPrompts& prompts, LEditorTransport* transport, const LOMFile& doc,
                    QWidget* parent);

    // The field of parameter `i` (table order), objectName the parameter's key.
    QLineEdit* Field(size_t i) const { return fields_.at(i); }
    // The values as typed; false when a field holds no whole number.
    bool ReadFields(std::vector<int32_t>& values) const;
    // OK: closes only when every field is valid.
    void accept() override;
    // The mixing effects' other audio for the preview (a new source per call).
    void SetMixAudio(std::function<LSourceRef()> make) { mixAudio_ = std::move(make); }

  protected:
    LSourceRef BuildPreviewSource() override;
    // The values as typed when all are valid; false otherwise.
    bool CurrentValues(std::vector<int32_t>& values) const;
    const LEffectInfo& Info() const { return info_; }
    LUserPrompts& Prompts() const { return prompts_; }

  private:
    const LEffectInfo& info_;
    LUserPrompts& prompts_;
    std::vector<QLineEdit*> fields_;
    std::function<LSourceRef()> mixAudio_;
};

class LAutoClickPopDlg : public LOMEffectDialog {
    Q_OBJECT
  public:
    LAutoClickPopDlg(const std::vector<int32_t>& values, LUserPrompts& prompts,
                     LEditorTransport* transport, const LOMFile& doc, QWidget* parent);

  protected:
    LSourceRef BuildPreviewSource() override;
};

// Noise Reduction's dialog. "Get Noise Profile" measures the selection as the noise to
// remove into `profile` (borrowed, the editor's) and closes the dialog: the user then
// selects what to clean and runs the effect again. The preview uses the profile when it
// was taken at the document's rate, and estimates one from the quietest parts otherwise,
// as the effect does.
class LNoiseReductionDlg : public LOMEffectDialog {
    Q_OBJECT
  public:
    LNoiseReductionDlg(const std::vector<int32_t>& values, LUserPrompts& prompts,
                       LEditorTransport* transport, const LOMFile& doc, QWidget* parent,
                       LNoiseProfile& profile);
    void GetNoiseProfile();

  protected:
    LSourceRef BuildPreviewSource() override;

  private:
    LNoiseProfile& profile_;
};

// The profile when it was measured at `sampleRate`; an empty one otherwise.
const LNoiseProfile& ProfileFor(const LNoiseProfile& profile, uint32_t sampleRate);

// True when effect `id` has a preview in its dialog.
bool HasEffectPreview(LEffectId id);

// Runs a dialog to its end and returns its QDialog result: exec() in the program; tests
// fill in the fields and press the buttons themselves.
using LEffectDialogRunner = std::function<int(LOMEffectDialog&)>;

class LQtEffectDialog : public LEffectDialog {
  public:
    // `run` empty: exec().
    LQtEffectDialog(QWidget* parent, LUserPrompts& prompts, LEditorTransport* transport,
                    const LOMFile& doc, LEffectDialogRunner run = {})
        : parent_(parent),
          prompts_(prompts),
          transport_(transport),
          doc_(doc),
          run_(std::move(run)) {}

    bool Ask(const LEffectInfo& info, std::vector<int32_t>& values) override;
    void ShowMessage(const std::string& title, const std::string& text) override;
    // The noise profile Noise Reduction's dialog takes and uses (borrowed; null: the
    // dialog has no "Get Noise Profile").
    void SetNoiseProfile(LNoiseProfile* profile) { noiseProfile_ = profile; }
    void SetMixAudio(std::function<LSourceRef()> make) override { mixAudio_ = std::move(make); }

  private:
    std::function<LSourceRef()> mixAudio_;
    LNoiseProfile* noiseProfile_ = nullptr;
    QWidget* parent_;
    LUserPrompts& prompts_;
    LEditorTransport* transport_;
    const LOMFile& doc_;
    LEffectDialogRunner run_;
};

}  // namespace osmera
