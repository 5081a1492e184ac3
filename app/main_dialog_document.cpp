// MainDialog: the commands that make or reshape whole documents: New File, Insert File,
// Copy To New, Split, Save Select Region As and the conversions of rate and channels.
// The edits themselves are the engine's (the controller's paste of a list and its undo
// bracket, the cut lists' copies, the converters and the pump); these handlers ask the
// user, run the file jobs under the progress window and hand the results over.
#include <QDir>
#include <QFileInfo>

#include "app/demo_audio.h"
#include "app/main_dialog.h"
#include "app/mdi_main_window.h"
#include "core/format_match.h"
#include "core/pr_source_to_sink.h"
#include "display/document_model.h"
#include "edit/audio_cut_tank.h"
#include "edit/document_io.h"
#include "edit/snk_cut_list_audio.h"
#include "edit/src_cut_list_audio.h"
#include "platform/qt_progress.h"

namespace osmera {

namespace {

constexpr const char* kSettings = "Settings";
constexpr int32_t kDefaultNewRate = 44100;
constexpr int kDefaultNewChannels = 2;

// Pumps `from` through the rate and channel converters into one new cut that replaces
// `to` (which may be `from` itself: the source reads a copy of the entries). On anything
// but kJobDone `to` is left as it was.
int ConvertAudio(const LCutListAudio& from, uint32_t rate, uint8_t channels, LCutListAudio& to,
                 LProgress* progress, std::string* message) {
    LCutListAudio converted(rate, channels);
    if (from.GetLength() > 0) {
        auto sink = converted.MakeSink(static_cast<int32_t>(rate), channels);
        LSourceRef source = MatchFormat(from.MakeSource(), static_cast<int32_t>(rate), channels);
        const int pumped = LPRSourceToSink(source, sink, progress, "Converting").Process();
        const bool written = !sink->IsError();
        sink.Reset();  // `converted` now holds the new cut
        if (pumped == kJobCancelled)
            return kJobCancelled;
        if (pumped != kJobDone || !written) {
            *message = "The audio could not be converted to " + std::to_string(rate) +
                       " Hz (the rates may be too far apart, or the disk is full).";
            return kJobFailed;
        }
    }
    to = std::move(converted);
    return kJobDone;
}

int32_t Scaled(int32_t frame, uint32_t to, uint32_t from) {
    return static_cast<int32_t>(std::clamp<int64_t>(int64_t{frame} * to / from, 0, INT32_MAX));
}

}  // namespace

void MainDialog::CmNewFile() {
    int32_t rate = settings_.GetInt(kSettings, "NewFileSampleRate", kDefaultNewRate);
    int channels = settings_.GetInt(kSettings, "NewFileChannels", kDefaultNewChannels);
    if (!prompts_.AskFormat(QStringLiteral("New File"), rate, &channels))
        return;
    settings_.SetInt(kSettings, "NewFileSampleRate", rate);
    settings_.SetInt(kSettings, "NewFileChannels", channels);
    AttachWindow(controller_.NewDocument(static_cast<uint32_t>(rate),
                                         static_cast<uint8_t>(channels == 1 ? 1 : 2)));
}

bool MainDialog::OpenDemoFile() {
    LCutListAudio audio;
    if (!MakeDemoAudio(audio))
        return false;
    LOMFile& doc = controller_.NewDocument(audio.GetSampleRate(), audio.GetChannels());
    doc.audio = std::move(audio);
    doc.ZoomAll();
    AttachWindow(doc);
    return true;
}

void MainDialog::CmInsertFileBegin() {
    InsertFile(LInsertAt::kBegin);
}

void MainDialog::CmInsertFileCurrent() {
    InsertFile(LInsertAt::kCursor);
}

void MainDialog::CmInsertFileEnd() {
    InsertFile(LInsertAt::kEnd);
}

// The file is loaded into a list of its own (and converted to the document's rate and
// channels when they differ), then pasted through the controller as one undo step; a
// cancel or a failure on the way leaves the document as it was.
void MainDialog::InsertFile(LInsertAt where) {
    LOMFile* doc = controller_.GetCurrent();
    if (!doc)
        return;
    const QString folder = QString::fromStdString(
        settings_.GetText(kSettings, "OpenFileDir", QDir::homePath().toStdString()));
    const QStringList files =
        prompts_.OpenFileNames(QStringLiteral("Insert Audio File"), folder, OpenFileFilters());
    if (files.isEmpty())
        return;
    settings_.SetText(kSettings, "OpenFileDir",
                      QFileInfo(files.first()).absolutePath().toStdString());
    if (controller_.CheckFreeCuts(2) != LEditResult::kDone) {
        ReportEditResult(LEditResult::kTankFull);
        return;
    }
    const uint32_t rate = doc->audio.GetSampleRate();
    const uint8_t channels = doc->audio.GetChannels();
    LCutListAudio loaded;
    std::string message;
    int result;
    {
        ++busy_;
        LQtProgress progress(&frame_, QStringLiteral("Insert File"));
        result = LoadAudioFile(QFileInfo(files.first()).absoluteFilePath().toStdString(), loaded,
                               &progress, &message, "Opening");
        if (result == kJobDone &&
            (loaded.GetSampleRate() != rate || loaded.GetChannels() != channels))
            result = ConvertAudio(loaded, rate, channels, loaded, &progress, &message);
        --busy_;
    }
    if (!JobFinished(result, message) || controller_.GetCurrent() != doc)
        return;
    const int32_t at = where == LInsertAt::kBegin    ? 0
                       : where == LInsertAt::kCursor ? doc->cursor
                                                     : doc->audio.GetLength();
    ReportEditResult(controller_.CmPasteList(loaded, at, "Insert File"));
}

void MainDialog::OpenAsNewDocument(const LCutListAudio& audio, const std::string& undoName) {
    LOMFile& doc = controller_.NewDocument(audio.GetSampleRate(), audio.GetChannels());
    AttachWindow(doc);
    ReportEditResult(controller_.CmPasteList(audio, 0, undoName));
    if (LDocumentModel* model = ModelOf(&doc)) {
        model->ZoomFull();
        model->SetSelection(0, 0);
        model->SetCursor(0);
    }
}

void MainDialog::CmCopyToNew() {
    if (controller_.CheckSelection() != LEditResult::kDone)
        return;
    const LOMFile& doc = *controller_.GetCurrent();
    LCutListAudio part;
    doc.audio.EfCopy(doc.selStart, doc.selEnd, part);
    OpenAsNewDocument(part, "Copy To New");
}

// The part after the cursor becomes a new untitled document; the file keeps the part
// before it (the controller's Trim End, so one undo brings the whole file back).
void MainDialog::CmSplit() {
    LOMFile* doc = controller_.GetCurrent();
    if (!doc)
        return;
    const int32_t at = doc->cursor;
    const int32_t length = doc->audio.GetLength();
    if (at <= 0 || at >= length) {
        prompts_.Inform(QStringLiteral("Osmera"),
                        QStringLiteral("Place the cursor inside the file to split it there."));
        return;
    }
    LCutListAudio second;
    doc->audio.EfCopy(at, length, second);
    // The markers after the cursor go with their audio into the second file.
    LMarkerList secondMarkers;
    for (const LBookmark& mark : doc->markers.Bookmarks()) {
        if (mark.position >= at)
            secondMarkers.AddBookmark(mark.name, mark.position - at);
    }
    for (const LRegion& region : doc->markers.Regions()) {
        if (region.end > at)
            secondMarkers.AddRegion(region.name, std::max(region.start, at) - at, region.end - at);
    }
    ReportEditResult(controller_.CmTrimEnd());
    OpenAsNewDocument(second, "Split");
    if (LOMFile* made = controller_.GetCurrent(); made && made != doc) {
        made->markers = std::move(secondMarkers);
        if (LDocumentModel* model = ModelOf(made))
            model->NotifyStateChanged();
        RefreshMarkerDocks();
    }
}

void MainDialog::CmSaveSelectRegionAs() {
    if (controller_.CheckSelection() != LEditResult::kDone)
        return;
    const LOMFile& doc = *controller_.GetCurrent();
    LCutListAudio part;
    doc.audio.EfCopy(doc.selStart, doc.selEnd, part);
    const QString stem = QFileInfo(QString::fromStdString(doc.GetDisplayName())).completeBaseName();
    QString path;
    LWriteOptions options;
    if (!AskSavePath(stem + QStringLiteral(" region"), doc.path, doc.bytesPerSample * 8, path,
                     options))
        return;
    std::string message;
    int result;
    {
        ++busy_;
        LQtProgress progress(&frame_, QStringLiteral("Save Select Region As"));
        result = SaveAudioFile(part, path.toStdString(), options, &doc.tags, &progress, &message);
        --busy_;
    }
    if (JobFinished(result, message))
        AddToRecentFileList(path.toStdString());
}

void MainDialog::CmConvertSampleRate() {
    const LOMFile* doc = controller_.GetCurrent();
    if (!doc)
        return;
    int32_t rate = static_cast<int32_t>(doc->audio.GetSampleRate());
    if (!prompts_.AskFormat(QStringLiteral("Convert Sample Rate"), rate, nullptr) || rate <= 0 ||
        static_cast<uint32_t>(rate) == doc->audio.GetSampleRate())
        return;
    ConvertCurrent(static_cast<uint32_t>(rate), doc->audio.GetChannels(), "Convert Sample Rate");
}

void MainDialog::CmConvertMono() {
    const LOMFile* doc = controller_.GetCurrent();
    if (!doc)
        return;
    if (doc->audio.GetChannels() == 1) {
        prompts_.Inform(QStringLiteral("Osmera"), QStringLiteral("The file is already mono."));
        return;
    }
    ConvertCurrent(doc->audio.GetSampleRate(), 1, "Convert to Mono");
}

void MainDialog::CmConvertStereo() {
    const LOMFile* doc = controller_.GetCurrent();
    if (!doc)
        return;
    if (doc->audio.GetChannels() == 2) {
        prompts_.Inform(QStringLiteral("Osmera"), QStringLiteral("The file is already stereo."));
        return;
    }
    ConvertCurrent(doc->audio.GetSampleRate(), 2, "Convert to Stereo");
}

// The converted audio is made first, under the progress window; only when it is complete
// does the undo bracket open and put it in place, so a cancel changes nothing.
void MainDialog::ConvertCurrent(uint32_t rate, uint8_t channels, const std::string& undoName) {
    LOMFile* doc = controller_.GetCurrent();
    if (!doc)
        return;
    if (controller_.CheckFreeCuts() != LEditResult::kDone) {
        ReportEditResult(LEditResult::kTankFull);
        return;
    }
    LCutListAudio converted;
    std::string message;
    int result;
    {
        ++busy_;
        LQtProgress progress(&frame_, QString::fromStdString(undoName));
        result = ConvertAudio(doc->audio, rate, channels, converted, &progress, &message);
        --busy_;
    }
    if (!JobFinished(result, message) || controller_.GetCurrent() != doc)
        return;
    const uint32_t oldRate = doc->audio.GetSampleRate();
    const int32_t oldLength = doc->audio.GetLength();
    controller_.StartModifyCurrentFile(undoName);
    doc->audio = std::move(converted);
    doc->markers.MoveAlong(0, oldLength, doc->audio.GetLength());
    doc->SetSelection(Scaled(doc->selStart, rate, oldRate), Scaled(doc->selEnd, rate, oldRate));
    doc->ClampSelection();
    doc->ZoomAll();
    controller_.EndModifyCurrentFile(
        std::min(Scaled(doc->cursor, rate, oldRate), doc->audio.GetLength()),
        static_cast<int32_t>(rate));
}

}  // namespace osmera
