// The exchange of audio with other programs: the system clipboard carries whole WAV files,
// which pass through "clipboard.wav" in the remembered working folder.

#include <filesystem>
#include <fstream>
#include <iterator>

#include "core/trace.h"
#include "edit/audio_cut_tank.h"
#include "edit/document_controller.h"
#include "edit/document_io.h"

namespace osmera {

std::string LDocumentController::ClipboardFilePath() {
    std::string folder = settings_.GetText("Folders", "Current", "");
    if (folder.empty()) {
        ChooseWorkingFolder(settings_, UserAppDataFolder());  // stores "Folders"/"Current"
        folder = settings_.GetText("Folders", "Current", "");
    }
    return (std::filesystem::path(folder) / "clipboard.wav").string();
}

LEditResult LDocumentController::CmCopyToSystemClipboard(LClipboardExchange& exchange,
                                                         LProgress* progress) {
    if (!current_)
        return LEditResult::kNoDocument;
    LOMFile& doc = *current_;
    doc.ClampSelection();
    if (!doc.HasSelection())
        return LEditResult::kNoSelection;
    LCutListAudio selection;
    doc.audio.EfCopy(doc.selStart, doc.selEnd, selection);
    const std::string path = ClipboardFilePath();
    if (SaveAudioFile(selection, path, 2, progress, nullptr, "Saving to clipboard") != kJobDone) {
        LTrace("LDocumentController::CmCopyToSystemClipboard cannot write clipboard.wav");
        return LEditResult::kDone;  // not reported, as with every clipboard file error
    }
    std::ifstream in(path, std::ios::binary);
    const std::vector<uint8_t> bytes{std::istreambuf_iterator<char>(in), {}};
    in.close();
    if (!exchange.SetWaveData(bytes))
        LTrace("LDocumentController::CmCopyToSystemClipboard clipboard refused the data");
    std::error_code ignored;
    std::filesystem::remove(path, ignored);
    return LEditResult::kDone;
}

bool LDocumentController::LoadSystemClipboard(LClipboardExchange& exchange, LCutListAudio& audio,
                                              LProgress* progress) {
    std::vector<uint8_t> bytes;
    if (!exchange.GetWaveData(bytes))
        return false;
    const std::string path = ClipboardFilePath();
    {
        std::ofstream out(path, std::ios::binary | std::ios::trunc);
        out.write(reinterpret_cast<const char*>(bytes.data()),
                  static_cast<std::streamsize>(bytes.size()));
        if (!out) {
            LTrace("LDocumentController::LoadSystemClipboard cannot write clipboard.wav");
            return false;
        }
    }
    if (LoadAudioFile(path, audio, progress, nullptr, "Loading Audio File Source") != kJobDone) {
        LTrace("LDocumentController::LoadSystemClipboard cannot load clipboard.wav");
        return false;
    }
    return true;
}

LEditResult LDocumentController::CmPasteFromSystemClipboard(LClipboardExchange& exchange,
                                                            LProgress* progress) {
    if (!current_)
        return LEditResult::kNoDocument;
    if (const LEditResult why = CheckFreeCuts(); why != LEditResult::kDone)
        return why;
    LCutListAudio loaded;
    if (!LoadSystemClipboard(exchange, loaded, progress))
        return LEditResult::kClipboardEmpty;
    return PasteList(loaded, false, "Paste");
}

}  // namespace osmera
