#pragma once
// LOMRecordWindow: the record window (Control > Record, F5). A modeless window over the
// frame that records one take at a time through the engine's LSoundRecorder into a new
// cut, and hands the finished take to its owner, which puts it into the document at the
// cursor (or over the selection) as one undo step "Record", or into a new untitled
// document when none was open when the take began.
//
// It offers the input device (section "Recorder", "Device"), the rate and channels of a
// new file (a take into an open document takes the document's format), the level meter
// per channel in dB, the elapsed time, a voice-activated start ("Threshold"), trimming of
// silence ("Autotrim"), a maximum time, and Record, Stop, Retake and Cancel. How the
// settings become the recorder's arguments is LRecordOptions' (devices/record_take.h).
// Cancelling, or closing the window, during a take discards the take and leaves the
// document as it was.
//
// While a take runs the owner refuses edits (IsTakeRunning); if the target document is
// closed anyway, ForgetDocument makes the take go to a new document instead.
//
// Ownership: a child of the frame; borrows the settings, prompts and controller, which
// outlive it. Threads: GUI thread only (the recorder's listener calls come there).

#include <QDialog>
#include <functional>

#include "app/user_prompts.h"
#include "devices/record_take.h"
#include "devices/sound_recorder.h"
#include "edit/document_controller.h"

class QCheckBox;
class QComboBox;
class QLabel;
class QPushButton;
class QSlider;
class QSpinBox;

namespace osmera {

class LLevelMeter;

class LOMRecordWindow : public QDialog, public LSoundRecorderNotify {
    Q_OBJECT
  public:
    // `deliver` receives each finished, non-empty take with the document it was recorded
    // for (null: a new document); the take's content is the owner's to copy.
    using LDeliver = std::function<void(LOMFile* target, const LCutListAudio& take)>;

    LOMRecordWindow(QWidget* frame, LSettingsStore& settings, LUserPrompts& prompts,
                    LDocumentController& controller, LDeliver deliver);
    ~LOMRecordWindow() override;

    // Where takes come from instead of the system's devices (a file, in tests).
    void SetDeviceOpener(LInDeviceOpener opener) { opener_ = std::move(opener); }

    // Shows the window for the current document (its name and format) and raises it.
    void Present();
    bool IsTakeRunning() const;
    // Reads the settings again (the settings dialog changed them); not during a take.
    void ReloadSettings();
    bool IsRecordingInto(const LOMFile* doc) const { return IsTakeRunning() && target_ == doc; }
    // `doc` is going away: a running take goes to a new document.
    void ForgetDocument(const LOMFile* doc);

    // The buttons. StartTake is false, with the reason told to the user, when the take
    // could not begin. StopTake hands the take over; CancelTake discards it.
    bool StartTake();
    void StopTake();
    void Retake();
    void CancelTake();

    // LSoundRecorderNotify.
    void OnRecord(void* cookie) override;
    void OnWaiting(void* cookie) override;
    void OnStop(void* cookie) override;
    void OnPosition(void* cookie, int32_t milliseconds) override;
    void OnLevels(void* cookie, const LChannelLevels& levels) override;

  signals:
    void takeRunningChanged(bool running);
    // A one-line note for the frame's status bar.
    void statusMessage(const QString& text);

  protected:
    void reject() override;  // Esc and the close button: Cancel during a take, else hide

  private:
    void BuildControls();
    void LoadSettings();
    LRecordOptions OptionsFromControls() const;
    void UpdateTargetText();
    void UpdateButtons();
    void ThresholdMoved(int value);

    LSettingsStore& settings_;
    LUserPrompts& prompts_;
    LDocumentController& controller_;
    LDeliver deliver_;
    LInDeviceOpener opener_;
    LSoundRecorder recorder_;

    // The take in progress.
    LCutListAudio take_;
    LRef<LSNKRecordTake> sink_;
    LRecordOptions options_;
    LOMFile* target_ = nullptr;
    bool cancelled_ = false;
    bool noticeShown_ = false;

    QComboBox* device_ = nullptr;
    QComboBox* rate_ = nullptr;
    QComboBox* channels_ = nullptr;
    QLabel* targetText_ = nullptr;
    QCheckBox* voice_ = nullptr;
    QSlider* threshold_ = nullptr;
    QLabel* thresholdText_ = nullptr;
    QCheckBox* autotrim_ = nullptr;
    QSpinBox* maxTime_ = nullptr;
    LLevelMeter* meter_ = nullptr;
    QLabel* elapsed_ = nullptr;
    QLabel* state_ = nullptr;
    QPushButton* record_ = nullptr;
    QPushButton* stop_ = nullptr;
    QPushButton* retake_ = nullptr;
    QPushButton* cancel_ = nullptr;
};

}  // namespace osmera
