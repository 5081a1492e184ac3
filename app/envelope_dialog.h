#pragma once
// LEnvelopeDialog: the Envelope effect's dialog. A point editor (LEnvelopeEditor) over the
// waveform of the range the effect will change, with OK, Cancel and "Reset" (back to the
// flat envelope, unity everywhere).
//
// It is the effect driver's dialog for the envelope (LEffectDialog): the driver hands it
// the points of "envelope.dat" (or the flat envelope) and the document, AskPoints shows it
// modally, and on OK the driver writes the user's points back to "envelope.dat" and runs
// the effect with them; Cancel changes nothing. Messages the driver shows (a refusal, a
// point file that could not be written) go through the editor's prompts. "Preview" plays
// the selection through the points being edited, and a moved point restarts it.
//
// Ownership: a modal dialog made on the stack by the Envelope command; the prompts, the
// transport and the document are borrowed. Threads: GUI thread only.

#include "app/preview_dialog.h"
#include "app/user_prompts.h"
#include "effects/effect_driver.h"

namespace osmera {

class LEnvelopeEditor;

class LEnvelopeDialog : public LOMPreviewDialog, public LEffectDialog {
    Q_OBJECT
  public:
    LEnvelopeDialog(QWidget* parent, LUserPrompts& prompts, LEditorTransport* transport,
                    const LOMFile& doc);

    LEnvelopeEditor& Editor() { return *editor_; }
    // Back to the flat envelope (the "Reset" button).
    void Reset();

    // LEffectDialog. The envelope has no numbered parameters: Ask accepts them as they are.
    bool Ask(const LEffectInfo& info, std::vector<int32_t>& values) override;
    void ShowMessage(const std::string& title, const std::string& text) override;
    LPointsAnswer AskPoints(const LEffectInfo& info, const LOMFile& doc,
                            LPointList& points) override;

  protected:
    LSourceRef BuildPreviewSource() override;

  private:
    LUserPrompts& prompts_;
    LEnvelopeEditor* editor_;
};

}  // namespace osmera
