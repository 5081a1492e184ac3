#pragma once
// LSpeechDialog: the Text To Speech dialog. A text box (or a text file loaded into it), a
// language and one of its installed voices, the speaking rate, pitch, volume and word gap,
// the new document's sample rate and channels, and whether the speech goes in at the cursor
// of the current document instead (it then takes that document's rate and channels).
// Preview speaks the first sentence through the editor's one player; pressing it again, or
// closing the dialog, stops it. OK refuses an empty text with a message and keeps the dialog
// open; otherwise it remembers every value but the text in the settings store (section
// "TextToSpeech") for the next time.
//
// RunSpeechJob runs a synthesis on a worker thread while the GUI thread shows the progress
// window (whose Cancel stops the synthesis within one block of about 60 ms) and keeps
// repainting.
//
// Ownership: the settings, prompts and transport are borrowed and outlive the dialog (no
// transport: no Preview). Threads: GUI thread only.

#include <QDialog>
#include <vector>

#include "core/settings_store.h"
#include "edit/cut_list_audio.h"
#include "edit/marker_list.h"
#include "effects/speech_synth.h"

class QCheckBox;
class QComboBox;
class QPlainTextEdit;
class QPushButton;
class QSpinBox;

namespace osmera {

class LEditorTransport;
class LUserPrompts;

// Speaks `text` into `audio` and `markers` as LSpeechSynth::Speak does, on a worker thread,
// behind a progress window over `frame` titled `title`. Returns the job result.
int RunSpeechJob(QWidget* frame, const QString& title, const std::string& text,
                 const LSpeechParams& params, LCutListAudio& audio, LMarkerList& markers,
                 std::string& message);

class LSpeechDialog : public QDialog {
    Q_OBJECT
  public:
    // `current`: the document the speech may go into (null: only a new document), whose
    // rate and channels an insertion takes.
    LSpeechDialog(QWidget* parent, LSettingsStore& settings, LUserPrompts& prompts,
                  LEditorTransport* transport, const LCutListAudio* current);
    ~LSpeechDialog() override;

    QString Text() const;
    void SetText(const QString& text);
    // The values in the dialog (for an insertion, with the current document's format).
    LSpeechParams Params() const;
    bool InsertAtCursor() const;
    // Selects the voice whose name, identifier or language is `voice`; false when none is.
    bool SelectVoice(const QString& voice);

    // The widgets, for tests and the layout.
    QPlainTextEdit* TextBox() const { return text_; }
    QPushButton* PreviewButton() const { return previewButton_; }
    QCheckBox* InsertBox() const { return insert_; }
    bool IsPreviewing() const { return previewing_; }

    void accept() override;
    void done(int result) override;

  private:
    void LoadTextFile();
    void FillVoices(const QString& language);
    void UpdateFormatControls();
    void TogglePreview();
    void StopPreview();
    void LoadSettings();
    void SaveSettings();

    LSettingsStore& settings_;
    LUserPrompts& prompts_;
    LEditorTransport* transport_;
    const LCutListAudio* current_;
    std::vector<LSpeechVoice> voices_;

    QPlainTextEdit* text_ = nullptr;
    QComboBox* language_ = nullptr;
    QComboBox* voice_ = nullptr;
    QSpinBox* rate_ = nullptr;
    QSpinBox* pitch_ = nullptr;
    QSpinBox* volume_ = nullptr;
    QSpinBox* gap_ = nullptr;
    QComboBox* sampleRate_ = nullptr;
    QComboBox* channels_ = nullptr;
    QCheckBox* insert_ = nullptr;
    QPushButton* previewButton_ = nullptr;
    bool previewing_ = false;
    bool starting_ = false;
    LCutListAudio preview_;  // what the preview plays
};

}  // namespace osmera
