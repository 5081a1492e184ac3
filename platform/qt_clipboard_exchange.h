#pragma once
// LQtClipboardExchange: the desktop clipboard as wave audio for the document controller.
// Audio is exchanged as the bytes of a whole WAV file under the MIME types "audio/wav" and
// "audio/x-wav" (both are written; either is read), so a WAV copied in another program
// pastes here and the reverse.
//
// Threads: GUI thread only (the clipboard belongs to it). Needs a QGuiApplication.

#include "edit/document_controller.h"

namespace osmera {

class LQtClipboardExchange : public LClipboardExchange {
  public:
    bool GetWaveData(std::vector<uint8_t>& bytes) override;
    bool SetWaveData(const std::vector<uint8_t>& bytes) override;
    // True when the clipboard holds wave audio now.
    static bool HasWaveData();
};

}  // namespace osmera
