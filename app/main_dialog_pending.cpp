// MainDialog: every command whose part of the program is not built yet. Each shows one
// message naming the feature ("<Feature> is not available in this version."); replacing
// a command means moving its handler out of this file.
#include "app/main_dialog.h"

namespace osmera {

// Projects, CD tracks, sending, tags, settings, the effects the engine does not process
// (and Envelope, whose point editor comes separately), tools and bookmarks.

void MainDialog::CmLoadCdTracks() {
    NotAvailable(kIdLoadCdTracks);
}

void MainDialog::CmSend() {
    NotAvailable(kIdSend);
}

void MainDialog::CmOpenProject() {
    NotAvailable(kIdOpenProject);
}

void MainDialog::CmCloseProject() {
    NotAvailable(kIdCloseProject);
}

void MainDialog::CmSaveProject() {
    NotAvailable(kIdSaveProject);
}

void MainDialog::CmSaveProjectAs() {
    NotAvailable(kIdSaveProjectAs);
}

void MainDialog::CmPluginEffects() {
    NotAvailable(kIdPluginEffects);
}

void MainDialog::CmPlugins() {
    NotAvailable(kIdPlugins);
}

void MainDialog::CmFft() {
    NotAvailable(kIdFft);
}

void MainDialog::CmTfft() {
    NotAvailable(kIdTfft);
}

void MainDialog::CmTextToSpeech() {
    NotAvailable(kIdTextToSpeech);
}

void MainDialog::CmSetBookmark() {
    NotAvailable(kIdSetBookmark);
}

void MainDialog::CmBookmarkList() {
    NotAvailable(kIdBookmarkList);
}

void MainDialog::CmAddRegion() {
    NotAvailable(kIdAddRegion);
}

void MainDialog::CmRegionList() {
    NotAvailable(kIdRegionList);
}

void MainDialog::CmAssembleRegions() {
    NotAvailable(kIdAssembleRegions);
}

}  // namespace osmera
