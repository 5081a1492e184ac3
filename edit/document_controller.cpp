#include "edit/document_controller.h"

#include <algorithm>

#include "core/trace.h"
#include "edit/audio_cut_tank.h"
#include "edit/document_io.h"

namespace osmera {

LDocumentController::LDocumentController(LSettingsStore& settings, LDocumentListener* listener)
    : settings_(settings), listener_(listener ? listener : &noListener_) {}

LDocumentController::~LDocumentController() = default;

LOMFile& LDocumentController::NewDocument(uint32_t sampleRate, uint8_t channels) {
    auto doc = std::make_unique<LOMFile>(sampleRate, channels);
    doc->untitledIdx = GetUntitledIdx();
    LOMFile& ref = *doc;
    documents_.push_back(std::move(doc));
    SetCurrent(&ref);
    return ref;
}

int LDocumentController::OpenDocument(const std::string& path, LProgress* progress,
                                      std::string* message, std::string* warning,
                                      const LOpenOptions* open) {
    if (CheckFreeCuts() != LEditResult::kDone) {
        if (message)
            *message = kCutTankFullMessage;
        return kJobFailed;
    }
    auto doc = std::make_unique<LOMFile>();
    LLoadReport report;
    const int result = LoadAudioFile(path, doc->audio, progress, message, "Opening", &report, open);
    if (result != kJobDone)
        return result;
    if (warning)
        *warning = report.warning;
    doc->path = path;
    doc->bytesPerSample = report.bytesPerSample;
    doc->tags = report.tags;
    doc->markers.AddWaveCues(report.cues, doc->audio.GetLength());
    doc->ZoomAll();
    LOMFile& ref = *doc;
    documents_.push_back(std::move(doc));
    SetCurrent(&ref);
    return kJobDone;
}

int LDocumentController::SaveCurrentFile(const std::string& path, int32_t bytesPerSample,
                                         LProgress* progress, std::string* message) {
    LWriteOptions options;
    options.bits = bytesPerSample * 8;
    return SaveCurrentFile(path, options, progress, message);
}

int LDocumentController::SaveCurrentFile(const std::string& path, const LWriteOptions& given,
                                         LProgress* progress, std::string* message) {
    if (!current_) {
        if (message)
            *message = "no document is open";
        return kJobFailed;
    }
    const std::string target = path.empty() ? current_->path : path;
    if (target.empty()) {
        if (message)
            *message = current_->GetDisplayName() + " has no file name yet";
        return kJobFailed;
    }
    LWriteOptions options = given;
    const int32_t width = options.bits == 0 ? current_->bytesPerSample : options.bits / 8;
    options.bits = width * 8;
    const std::vector<LWaveCue> cues = current_->markers.ToWaveCues();
    const int result = SaveAudioFile(current_->audio, target, options, &current_->tags, progress,
                                     message, "Saving", &cues);
    if (result != kJobDone)
        return result;
    current_->path = target;
    current_->bytesPerSample = width;
    current_->modified = 0;
    listener_->SaveEnabledChanged(IsSaveEnabled());
    return kJobDone;
}

LOMFile& LDocumentController::AdoptDocument(std::unique_ptr<LOMFile> doc) {
    documents_.push_back(std::move(doc));
    LOMFile& adopted = *documents_.back();
    SetCurrent(&adopted);
    return adopted;
}

void LDocumentController::CloseDocument(LOMFile* doc) {
    auto it = std::find_if(documents_.begin(), documents_.end(),
                           [doc](const auto& d) { return d.get() == doc; });
    if (it == documents_.end()) {
        LTrace("LDocumentController::CloseDocument document not open");
        return;
    }
    if (doc == current_)
        listener_->StopPlayback();
    listener_->DocumentClosing(*doc);
    it = documents_.erase(it);
    if (doc != current_)
        return;
    LOMFile* next = nullptr;
    if (it != documents_.end()) {
        next = it->get();
    } else if (!documents_.empty()) {
        next = documents_.back().get();
    }
    current_ = nullptr;
    SetCurrent(next);
}

void LDocumentController::SetCurrent(LOMFile* doc) {
    current_ = doc;
    UpdateUndoMenuItem();
    listener_->SaveEnabledChanged(IsSaveEnabled());
}

uint32_t LDocumentController::GetUntitledIdx() const {
    for (uint32_t idx = 1; idx <= 19; ++idx) {
        const bool used = std::any_of(documents_.begin(), documents_.end(),
                                      [idx](const auto& d) { return d->untitledIdx == idx; });
        if (!used)
            return idx;
    }
    return 1;
}

LEditResult LDocumentController::CheckFreeCuts(uint32_t needed) const {
    if (LAudioCutTank::Instance().HasFreeCuts(needed))
        return LEditResult::kDone;
    LTrace("LDocumentController::CheckFreeCuts tank full");
    return LEditResult::kTankFull;
}

void LDocumentController::StartModifyCurrentFile(const std::string& undoName) {
    if (!current_) {
        LTrace("LDocumentController::StartModifyCurrentFile no current document");
        return;
    }
    current_->RecordUndoStep(undoName);
    current_->modified = 1;
    listener_->SaveEnabledChanged(IsSaveEnabled());
    UpdateUndoMenuItem();
}

void LDocumentController::EndModifyCurrentFile(int32_t position, int32_t preroll) {
    if (!current_) {
        LTrace("LDocumentController::EndModifyCurrentFile no current document");
        return;
    }
    LOMFile& doc = *current_;
    doc.cursor = position;
    const int32_t length = doc.audio.GetLength();
    doc.viewEnd = std::min(doc.viewEnd, length);
    doc.viewStart = std::min(doc.viewStart, doc.viewEnd);
    listener_->DocumentChanged(doc);
    if (settings_.GetInt("Settings", "AutoPlaybackAfterEffects", 1) == 0)
        return;
    doc.cursor = static_cast<int32_t>(std::max<int64_t>(0, int64_t{position} - preroll));
    listener_->StartPlayback(doc, doc.cursor);
}

void LDocumentController::CmUndo() {
    listener_->StopPlayback();
    if (!current_ || !current_->Undo())
        return;
    UpdateUndoMenuItem();
    listener_->SaveEnabledChanged(IsSaveEnabled());
    listener_->DocumentChanged(*current_);
}

LUndoMenuItem LDocumentController::GetUndoMenuItem() const {
    LUndoMenuItem item;
    const std::string name = current_ ? current_->CurrentUndoStep().undoName : std::string();
    item.text = "Undo " + name + "\tCtrl+Z";
    item.enabled = !name.empty();
    return item;
}

void LDocumentController::UpdateUndoMenuItem() {
    listener_->UndoMenuChanged(GetUndoMenuItem());
}

bool LDocumentController::IsSaveEnabled() const {
    return current_ && current_->modified != 0;
}

LEditResult LDocumentController::CheckSelection() {
    if (!current_)
        return LEditResult::kNoDocument;
    current_->ClampSelection();
    return current_->HasSelection() ? LEditResult::kDone : LEditResult::kNoSelection;
}

LEditResult LDocumentController::CmCut() {
    if (const LEditResult why = CheckSelection(); why != LEditResult::kDone)
        return why;
    LOMFile& doc = *current_;
    StartModifyCurrentFile("Cut");
    doc.audio.EfCut(doc.selStart, doc.selEnd, clipboard_);
    doc.markers.MoveAlong(doc.selStart, doc.selEnd, doc.selStart);
    doc.selEnd = doc.selStart;
    EndModifyCurrentFile(doc.selStart, static_cast<int32_t>(doc.audio.GetSampleRate()));
    return LEditResult::kDone;
}

LEditResult LDocumentController::CmCopy() {
    if (const LEditResult why = CheckSelection(); why != LEditResult::kDone)
        return why;
    LOMFile& doc = *current_;
    doc.audio.EfCopy(doc.selStart, doc.selEnd, clipboard_);
    return LEditResult::kDone;
}

LEditResult LDocumentController::CmPaste() {
    return PasteList(clipboard_, false, "Paste");
}

LEditResult LDocumentController::CmPasteOver() {
    return PasteList(clipboard_, true, "Paste");
}

LEditResult LDocumentController::CmPasteList(const LCutListAudio& list, int32_t at,
                                             const std::string& undoName) {
    if (!current_)
        return LEditResult::kNoDocument;
    if (list.GetLength() > 0 && list.GetChannels() == current_->audio.GetChannels())
        current_->cursor = std::clamp(at, 0, current_->audio.GetLength());
    return PasteList(list, false, undoName);
}

LEditResult LDocumentController::CmPasteRecording(const LCutListAudio& take) {
    if (!current_)
        return LEditResult::kNoDocument;
    current_->ClampSelection();
    return PasteList(take, current_->selEnd > current_->selStart, "Record");
}

LEditResult LDocumentController::PasteList(const LCutListAudio& list, bool overSelection,
                                           const std::string& undoName) {
    if (!current_)
        return LEditResult::kNoDocument;
    LOMFile& doc = *current_;
    const int32_t length = list.GetLength();
    if (length == 0)
        return LEditResult::kClipboardEmpty;
    if (list.GetChannels() != doc.audio.GetChannels()) {
        LTrace("LDocumentController::PasteList channels differ");
        return LEditResult::kChannelsDiffer;
    }
    if (overSelection)
        doc.ClampSelection();
    const int32_t start = overSelection ? doc.selStart : doc.cursor;
    StartModifyCurrentFile(undoName);
    const int64_t before = doc.audio.GetLength();
    if (overSelection) {
        doc.audio.EfPasteOver(doc.selStart, doc.selEnd, list);
    } else {
        doc.audio.EfPaste(start, list);
    }
    const int32_t pastedStart = std::max(start, 0);
    // What the list grew by (the pasted audio, and the silence of a paste away from the end)
    // came in at the paste position.
    const int64_t grown = int64_t{doc.audio.GetLength()} - before;
    const int32_t replacedEnd = overSelection ? doc.selEnd : pastedStart;
    doc.markers.MoveAlong(
        pastedStart, replacedEnd,
        static_cast<int32_t>(std::max<int64_t>(replacedEnd + grown, pastedStart)));
    doc.SetSelection(pastedStart, static_cast<int32_t>(std::min<int64_t>(
                                      int64_t{pastedStart} + length, doc.audio.GetLength())));
    EndModifyCurrentFile(pastedStart, static_cast<int32_t>(doc.audio.GetSampleRate()));
    return LEditResult::kDone;
}

LEditResult LDocumentController::CmDelete() {
    if (const LEditResult why = CheckSelection(); why != LEditResult::kDone)
        return why;
    LOMFile& doc = *current_;
    StartModifyCurrentFile("Delete");
    doc.audio.EfDelete(doc.selStart, doc.selEnd);
    doc.markers.MoveAlong(doc.selStart, doc.selEnd, doc.selStart);
    doc.selEnd = doc.selStart;
    EndModifyCurrentFile(doc.selStart, static_cast<int32_t>(doc.audio.GetSampleRate()));
    return LEditResult::kDone;
}

LEditResult LDocumentController::CmTrim() {
    if (const LEditResult why = CheckSelection(); why != LEditResult::kDone)
        return why;
    LOMFile& doc = *current_;
    StartModifyCurrentFile("Trim");
    const int32_t before = doc.audio.GetLength();
    doc.audio.EfCrop(doc.selStart, doc.selEnd);
    doc.markers.MoveAlong(doc.selEnd, before, doc.selEnd);
    doc.markers.MoveAlong(0, doc.selStart, 0);
    doc.SetSelection(0, doc.audio.GetLength());
    EndModifyCurrentFile(0, static_cast<int32_t>(doc.audio.GetSampleRate()));
    return LEditResult::kDone;
}

LEditResult LDocumentController::CmTrimStart() {
    if (!current_)
        return LEditResult::kNoDocument;
    LOMFile& doc = *current_;
    StartModifyCurrentFile("Trim Start");
    doc.audio.EfTrimHead(doc.cursor);
    if (doc.cursor > 0)
        doc.markers.MoveAlong(0, doc.cursor, 0);
    doc.SetSelection(0, 0);
    EndModifyCurrentFile(0, static_cast<int32_t>(doc.audio.GetSampleRate()));
    return LEditResult::kDone;
}

LEditResult LDocumentController::CmTrimEnd() {
    if (!current_)
        return LEditResult::kNoDocument;
    LOMFile& doc = *current_;
    StartModifyCurrentFile("Trim End");
    doc.audio.EfTrimTail(doc.cursor);
    doc.markers.ClampTo(doc.audio.GetLength());
    doc.ClampSelection();
    EndModifyCurrentFile(doc.audio.GetLength(), static_cast<int32_t>(doc.audio.GetSampleRate()));
    return LEditResult::kDone;
}

LEditResult LDocumentController::CmSilence() {
    if (const LEditResult why = CheckSelection(); why != LEditResult::kDone)
        return why;
    LOMFile& doc = *current_;
    StartModifyCurrentFile("Silence");
    doc.audio.EfSilence(doc.selStart, doc.selEnd);
    EndModifyCurrentFile(doc.selStart, static_cast<int32_t>(doc.audio.GetSampleRate()));
    return LEditResult::kDone;
}

LEditResult LDocumentController::CmInsertSilence(int32_t at, int32_t length) {
    if (!current_)
        return LEditResult::kNoDocument;
    if (length < 0)
        return LEditResult::kDone;
    LOMFile& doc = *current_;
    StartModifyCurrentFile("Insert Silence");
    const int64_t before = doc.audio.GetLength();
    doc.audio.EfInsertSilence(at, length);
    const int32_t start = at < 0 ? 0 : at;
    doc.markers.MoveAlong(start, start,
                          static_cast<int32_t>(start + (doc.audio.GetLength() - before)));
    const int64_t inserted = at < 0 ? std::max<int64_t>(0, int64_t{length} + at) : length;
    doc.SetSelection(
        start, static_cast<int32_t>(std::min<int64_t>(start + inserted, doc.audio.GetLength())));
    EndModifyCurrentFile(start, static_cast<int32_t>(doc.audio.GetSampleRate()));
    return LEditResult::kDone;
}

}  // namespace osmera
