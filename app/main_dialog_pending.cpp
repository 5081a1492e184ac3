// MainDialog: every command whose part of the program is not built yet. Each shows one
// message naming the feature ("<Feature> is not available in this version."); replacing
// a command means moving its handler out of this file.
#include "app/main_dialog.h"

namespace osmera {

// CD tracks, sending and text to speech.

void MainDialog::CmLoadCdTracks() {
    NotAvailable(kIdLoadCdTracks);
}

void MainDialog::CmSend() {
    NotAvailable(kIdSend);
}

void MainDialog::CmTextToSpeech() {
    NotAvailable(kIdTextToSpeech);
}

}  // namespace osmera
