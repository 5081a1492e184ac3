// MainDialog: Settings... The dialog edits the settings store and "keys.dat"; after OK the
// parts that read them once (the key macros, the recent-file menu, an idle record window)
// read them again. The output device and playback after effects are read at each use.
//
// The dialog is modal to the frame but opened without a nested event loop (QDialog::open),
// so the command returns at once; asking again while it is open raises it.
#include "app/key_macro_runner.h"
#include "app/main_dialog.h"
#include "app/mdi_main_window.h"
#include "app/record_window.h"
#include "app/settings_dialog.h"

namespace osmera {

void MainDialog::CmSettings() {
    for (LOMSettingsDialog* open : frame_.findChildren<LOMSettingsDialog*>()) {
        if (open->isVisible()) {
            open->raise();
            open->activateWindow();
            return;
        }
    }
    auto* dialog = new LOMSettingsDialog(settings_, prompts_, &frame_);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    connect(dialog, &QDialog::accepted, this, [this]() {
        keyMacros_->Reload();
        LoadRecentFileList();
        if (recordWindow_)
            recordWindow_->ReloadSettings();
    });
    dialog->open();
}

}  // namespace osmera
