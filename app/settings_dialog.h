#pragma once
// LOMSettingsDialog: Settings... (File menu). Four pages:
// - Keys: the key macros (LKeysPage), kept in "keys.dat".
// - Audio: the output device ("Settings"/"SoundOutDevice") and the input device (the
//   recorder's "Recorder"/"Device", written as the record window writes it), each chosen
//   from the devices the sound layer lists with the system's default first; playback after
//   effects ("Settings"/"AutoPlaybackAfterEffects").
// - Folders: the working folder of the cut files ("Settings"/"WorkingFolder", by default
//   the folder "Folders"/"Current"); the cut store takes its folder at start-up, so a new
//   one is used from the next start, as the page says.
// - General: how many recent files the File menu shows ("Settings"/"RecentFileCount",
//   LRecentFileList) and whether the splash window shows at start-up ("Settings"/
//   "ShowSplash", LOMSplashWindow).
//
// The values are read from the settings store when the dialog is built; OK writes them
// (and the macros) back, Cancel writes nothing. When "keys.dat" cannot be written the
// message is shown, nothing is written and the dialog stays open.
//
// Ownership: borrows the settings and prompts, which outlive it. Threads: GUI thread.

#include <QDialog>

#include "app/user_prompts.h"
#include "core/settings_store.h"

class QCheckBox;
class QComboBox;
class QLineEdit;
class QSpinBox;
class QTabWidget;

namespace osmera {

class LKeysPage;

class LOMSettingsDialog : public QDialog {
    Q_OBJECT
  public:
    LOMSettingsDialog(LSettingsStore& settings, LUserPrompts& prompts, QWidget* parent = nullptr);

    void accept() override;  // OK: write and close; stays open when the macros cannot be saved

    LKeysPage& KeysPage() const { return *keys_; }
    QTabWidget* Pages() const { return pages_; }
    QComboBox* OutputDevice() const { return outDevice_; }
    QComboBox* InputDevice() const { return inDevice_; }
    QCheckBox* AutoPlayback() const { return autoPlayback_; }
    QLineEdit* WorkingFolder() const { return folder_; }
    QSpinBox* RecentCount() const { return recentCount_; }
    QCheckBox* Splash() const { return splash_; }

  private:
    QWidget* BuildAudioPage();
    QWidget* BuildFoldersPage();
    QWidget* BuildGeneralPage();
    void ChooseFolder();

    LSettingsStore& settings_;
    LUserPrompts& prompts_;
    QTabWidget* pages_;
    LKeysPage* keys_;
    QComboBox* outDevice_ = nullptr;
    QComboBox* inDevice_ = nullptr;
    QCheckBox* autoPlayback_ = nullptr;
    QLineEdit* folder_ = nullptr;
    QString folderShown_;
    QSpinBox* recentCount_ = nullptr;
    QCheckBox* splash_ = nullptr;
};

}  // namespace osmera
