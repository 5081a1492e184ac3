// MainDialog: Settings... The dialog edits the settings store and "keys.dat"; after OK the
// parts that read them once (the key macros, the recent-file menu, an idle record window)
// read them again. The output device and playback after effects are read at each use.
#include "app/key_macro_runner.h"
#include "app/main_dialog.h"
#include "app/mdi_main_window.h"
#include "app/record_window.h"
#include "app/settings_dialog.h"

namespace osmera {

void MainDialog::CmSettings() {
    LOMSettingsDialog dialog(settings_, prompts_, &frame_);
    if (dialog.exec() != QDialog::Accepted)
        return;
    keyMacros_->Reload();
    LoadRecentFileList();
    if (recordWindow_)
        recordWindow_->ReloadSettings();
}

}  // namespace osmera
