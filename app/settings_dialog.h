#pragma once
// LOMSettingsDialog: Settings... (File menu). Five pages:
// - Keys: the key macros (LKeysPage), kept in "keys.dat".
// - Audio: the output device ("Settings"/"SoundOutDevice") and the input device (the
//   recorder's "Recorder"/"Device", written as the record window writes it), each chosen
//   from the devices the sound layer lists with the system's default first; playback after
//   effects ("Settings"/"AutoPlaybackAfterEffects").
// - Folders: the working folder of the cut files ("Settings"/"WorkingFolder", by default
//   the folder "Folders"/"Current"); the cut store takes its folder at start-up, so a new
//   one is used from the next start, as the page says. Also the extra folders searched for
//   plug-ins beside the standard ones ("Settings"/"LV2Folder" and "LADSPAFolder"), read at
//   the next scan.
// - General: how many recent files the File menu shows ("Settings"/"RecentFileCount",
//   LRecentFileList) and whether the splash window shows at start-up ("Settings"/
//   "ShowSplash", LOMSplashWindow).
// - CD: the online disc lookup (LCdLookupSettings, section "CdLookup"): whether a disc is
//   looked up as soon as it is read, which service and server, and how long to wait.
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
    QLineEdit* Lv2Folder() const { return lv2Folder_; }
    QLineEdit* LadspaFolder() const { return ladspaFolder_; }
    QSpinBox* RecentCount() const { return recentCount_; }
    QCheckBox* Splash() const { return splash_; }
    QCheckBox* CdLookupEnabled() const { return cdLookup_; }
    QComboBox* CdLookupService() const { return cdService_; }
    QLineEdit* CdLookupServer() const { return cdServer_; }

  private:
    QWidget* BuildAudioPage();
    QWidget* BuildFoldersPage();
    QWidget* BuildGeneralPage();
    QWidget* BuildCdPage();
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
    QLineEdit* lv2Folder_ = nullptr;
    QLineEdit* ladspaFolder_ = nullptr;
    QSpinBox* recentCount_ = nullptr;
    QCheckBox* splash_ = nullptr;
    QCheckBox* cdLookup_ = nullptr;
    QComboBox* cdService_ = nullptr;
    QLineEdit* cdServer_ = nullptr;
    QSpinBox* cdTimeout_ = nullptr;
};

}  // namespace osmera
