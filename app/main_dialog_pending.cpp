// MainDialog: every command whose part of the program is not built yet. Each shows one
// message naming the feature ("<Feature> is not available in this version."); replacing
// a command means moving its handler out of this file.
#include "app/main_dialog.h"

namespace osmera {

// Plug-in effects.

void MainDialog::CmPluginEffects() {
    NotAvailable(kIdPluginEffects);
}

void MainDialog::CmPlugins() {
    NotAvailable(kIdPlugins);
}

}  // namespace osmera
