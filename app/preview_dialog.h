#pragma once
// LOMPreviewDialog: the base of the effect dialogs that can be heard before they are
// applied. It has one toggle button, "Preview" while idle and "Stop" while its preview
// plays. Pressing it while idle builds the derived dialog's effect source over the
// document's selection with the values now in the dialog and plays it through the
// editor's one player (so any other playback stops); pressing it while playing stops.
// A value changed while the preview plays rebuilds the source and restarts it; while idle
// a change starts nothing. The button returns to "Preview" when playback ends, however it
// ends. The preview works on a private copy of the selection: the document never changes.
// Closing the dialog stops its preview.
//
// Ownership: the transport and the document are borrowed and outlive the dialog. Without
// a transport the dialog has no preview button. Threads: GUI thread only.

#include <QDialog>

#include "core/sound_source_base.h"
#include "edit/om_file.h"

class QDialogButtonBox;
class QPushButton;

namespace osmera {

class LEditorTransport;

class LOMPreviewDialog : public QDialog {
    Q_OBJECT
  public:
    LOMPreviewDialog(QWidget* parent, LEditorTransport* transport, const LOMFile& doc);
    ~LOMPreviewDialog() override;

    // The toggle, for the derived dialog's layout; null without a transport.
    QPushButton* PreviewButton() const { return button_; }
    bool IsPreviewing() const { return previewing_; }
    void TogglePreview();
    void done(int result) override;

  protected:
    // The effect over [selStart, selEnd) of the document with the dialog's current values,
    // as a source of its own; null when the values cannot be heard (one is invalid).
    virtual LSourceRef BuildPreviewSource() = 0;
    // Derived dialogs call this whenever a value changes.
    void ParameterChanged();
    const LOMFile& Document() const { return doc_; }
    // The document's selection as a list of its own (entries only, cheap); its length in
    // `length`.
    LCutListAudio SelectionCopy(int32_t& length) const;
    // OK and Cancel wired to accept() and reject(), with the preview toggle beside them when
    // there is one; owned by the dialog, for the derived dialog's layout.
    QDialogButtonBox* OkCancelButtons();

  private:
    void StartPreview();
    void StopPreview();
    void EvTransportState();
    void UpdateButton();

    LEditorTransport* transport_;
    const LOMFile& doc_;
    QPushButton* button_ = nullptr;
    bool previewing_ = false;
    bool starting_ = false;
};

}  // namespace osmera
