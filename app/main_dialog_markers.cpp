// MainDialog: bookmarks and regions. Set Bookmark and Add Region mark the current document,
// the two lists show its markers in docks beside the file windows, Assemble Regions makes a
// new document of its regions in order. Every change of the markers is an undo step of its
// own (a copy of the entries and markers, no audio), so Undo takes back a new bookmark as it
// takes back a cut; it marks the document modified, as a WAV save keeps the markers.
#include <QMainWindow>
#include <QTreeWidget>

#include "app/edit_dialogs.h"
#include "app/main_dialog.h"
#include "app/marker_list_dock.h"
#include "app/mdi_main_window.h"
#include "core/sound_time.h"
#include "display/document_model.h"
#include "edit/marker_label_file.h"

namespace osmera {
namespace {

const QStringList kLabelFilters = {QStringLiteral("Label files (*.txt)"),
                                   QStringLiteral("All files (*)")};

QString RangeText(int32_t start, int32_t end, uint32_t rate) {
    const int32_t r = static_cast<int32_t>(rate);
    return TimeText(LSoundTime(start, r).GetMilliseconds()) + QStringLiteral(" - ") +
           TimeText(LSoundTime(end, r).GetMilliseconds());
}

}  // namespace

LOMMarkerDock* MainDialog::MarkerDock(bool regions) const {
    return regions ? regionDock_.data() : bookmarkDock_.data();
}

LOMMarkerDock& MainDialog::EnsureMarkerDock(bool regions) {
    QPointer<LOMMarkerDock>& dock = regions ? regionDock_ : bookmarkDock_;
    if (dock)
        return *dock;
    dock = new LOMMarkerDock(
        regions ? LOMMarkerDock::Kind::kRegions : LOMMarkerDock::Kind::kBookmarks, &frame_);
    frame_.addDockWidget(Qt::RightDockWidgetArea, dock);
    connect(dock, &LOMMarkerDock::activated, this,
            [this, regions](int index) { GoToMarker(regions, index); });
    connect(dock, &LOMMarkerDock::renamed, this, [this, regions](int index, const QString& name) {
        const std::string text = name.toStdString();
        ChangeMarkers(regions ? "Rename Region" : "Rename Bookmark", [&](LMarkerList& m) {
            return regions ? m.RenameRegion(static_cast<size_t>(index), text)
                           : m.RenameBookmark(static_cast<size_t>(index), text);
        });
    });
    connect(dock, &LOMMarkerDock::removeRequested, this, [this, regions](int index) {
        ChangeMarkers(regions ? "Delete Region" : "Delete Bookmark", [&](LMarkerList& m) {
            return regions ? m.RemoveRegion(static_cast<size_t>(index))
                           : m.RemoveBookmark(static_cast<size_t>(index));
        });
    });
    connect(dock, &LOMMarkerDock::exportRequested, this, &MainDialog::ExportMarkers);
    connect(dock, &LOMMarkerDock::importRequested, this, &MainDialog::ImportMarkers);
    RefreshMarkerDocks();
    return *dock;
}

void MainDialog::RefreshMarkerDocks() {
    const LOMFile* doc = controller_.GetCurrent();
    for (LOMMarkerDock* dock : {bookmarkDock_.data(), regionDock_.data()}) {
        if (dock)
            dock->Show(doc ? &doc->markers : nullptr, doc ? doc->audio.GetSampleRate() : 0);
    }
}

void MainDialog::ChangeMarkers(const std::string& undoName,
                               const std::function<bool(LMarkerList&)>& change) {
    LOMFile* doc = controller_.GetCurrent();
    if (!doc)
        return;
    LMarkerList changed = doc->markers;
    if (!change(changed) || changed == doc->markers)
        return;
    controller_.StartModifyCurrentFile(undoName);
    doc->markers = std::move(changed);
    if (LOpenDocument* open = Find(doc)) {
        open->model->NotifyStateChanged();
        UpdateWindowTitle(*open);
    }
    UpdateCommandStates();
    RefreshMarkerDocks();
}

void MainDialog::GoToMarker(bool regions, int index) {
    LDocumentModel* model = CurrentModel();
    if (!model || index < 0)
        return;
    const LMarkerList& markers = model->Document().markers;
    if (regions && static_cast<size_t>(index) < markers.Regions().size()) {
        const LRegion region = markers.Regions()[static_cast<size_t>(index)];
        MoveCursorTo(region.start);
        model->SetSelection(region.start, region.end);
    } else if (!regions && static_cast<size_t>(index) < markers.Bookmarks().size()) {
        const int32_t at = markers.Bookmarks()[static_cast<size_t>(index)].position;
        MoveCursorTo(at);
        model->SetSelection(at, at);
    }
}

void MainDialog::ExportMarkers() {
    const LOMFile* doc = controller_.GetCurrent();
    if (!doc)
        return;
    int filter = 0;
    const QString path = prompts_.SaveFileName(QStringLiteral("Export Label File"), QString(),
                                               kLabelFilters, filter);
    if (path.isEmpty())
        return;
    std::string message;
    if (!WriteLabelFile(path.toStdString(), doc->markers, doc->audio.GetSampleRate(), &message))
        prompts_.Warn(QStringLiteral("File Error"), QString::fromStdString(message));
}

void MainDialog::ImportMarkers() {
    const LOMFile* doc = controller_.GetCurrent();
    if (!doc)
        return;
    const QStringList paths =
        prompts_.OpenFileNames(QStringLiteral("Import Label File"), QString(), kLabelFilters);
    if (paths.isEmpty())
        return;
    std::string message;
    int skipped = 0;
    ChangeMarkers("Import Labels", [&](LMarkerList& m) {
        return ReadLabelFile(paths.first().toStdString(), doc->audio.GetSampleRate(),
                             doc->audio.GetLength(), m, &message, &skipped);
    });
    if (!message.empty())
        prompts_.Warn(QStringLiteral("File Error"), QString::fromStdString(message));
    else if (skipped > 0)
        prompts_.Inform(QStringLiteral("Import Label File"),
                        QStringLiteral("%1 marker(s) start after the end of the file and were "
                                       "left out.")
                            .arg(skipped));
}

void MainDialog::CmSetBookmark() {
    LOMFile* doc = controller_.GetCurrent();
    if (!doc)
        return;
    QString name = QString::fromStdString(doc->markers.NextBookmarkName());
    if (!prompts_.AskText(QStringLiteral("Set Bookmark"), QStringLiteral("Name:"), name))
        return;
    const std::string text =
        name.trimmed().isEmpty() ? doc->markers.NextBookmarkName() : name.trimmed().toStdString();
    const int32_t at = std::clamp(doc->cursor, 0, doc->audio.GetLength());
    ChangeMarkers("Set Bookmark", [&](LMarkerList& m) {
        m.AddBookmark(text, at);
        return true;
    });
}

void MainDialog::CmAddRegion() {
    if (const LEditResult why = controller_.CheckSelection(); why != LEditResult::kDone) {
        ReportEditResult(why);
        return;
    }
    LOMFile* doc = controller_.GetCurrent();
    QString name = QString::fromStdString(doc->markers.NextRegionName());
    if (!prompts_.AskText(QStringLiteral("Add Region"), QStringLiteral("Name:"), name))
        return;
    const std::string text =
        name.trimmed().isEmpty() ? doc->markers.NextRegionName() : name.trimmed().toStdString();
    const int32_t start = doc->selStart;
    const int32_t end = doc->selEnd;
    ChangeMarkers("Add Region", [&](LMarkerList& m) { return m.AddRegion(text, start, end) >= 0; });
}

void MainDialog::CmBookmarkList() {
    LOMMarkerDock& dock = EnsureMarkerDock(false);
    dock.show();
    dock.raise();
}

void MainDialog::CmRegionList() {
    LOMMarkerDock& dock = EnsureMarkerDock(true);
    dock.show();
    dock.raise();
}

bool MainDialog::AskRegionToSelect() {
    LDocumentModel* model = CurrentModel();
    if (!model || model->Document().markers.Regions().empty())
        return false;
    const LOMFile& doc = model->Document();
    QStringList choices;
    for (const LRegion& region : doc.markers.Regions())
        choices << QString::fromStdString(region.name) + QStringLiteral("  (") +
                       RangeText(region.start, region.end, doc.audio.GetSampleRate()) +
                       QStringLiteral(")");
    choices << QStringLiteral("Start and end times...");
    const int choice =
        prompts_.AskChoice(QStringLiteral("Select Region"), QStringLiteral("Region:"), choices, 0);
    if (choice >= 0 && choice < choices.size() - 1) {
        GoToMarker(true, choice);
        return true;
    }
    return choice < 0;  // cancelled: nothing more; the last choice asks for times
}

void MainDialog::CmAssembleRegions() {
    const LOMFile* doc = controller_.GetCurrent();
    if (!doc)
        return;
    const std::vector<LRegion> regions = doc->markers.Regions();
    if (regions.empty()) {
        prompts_.Inform(QStringLiteral("Assemble Regions"),
                        QStringLiteral("\"%1\" has no regions to assemble.")
                            .arg(QString::fromStdString(doc->GetDisplayName())));
        return;
    }
    LCutListAudio assembled(doc->audio.GetSampleRate(), doc->audio.GetChannels());
    LMarkerList placed;
    for (const LRegion& region : regions) {
        LCutListAudio part;
        doc->audio.EfCopy(region.start, region.end, part);
        const int32_t at = assembled.GetLength();
        assembled.EfPaste(at, part);
        placed.AddRegion(region.name, at, assembled.GetLength());
    }
    OpenAsNewDocument(assembled, "Assemble Regions");
    if (LOMFile* made = controller_.GetCurrent()) {
        made->markers = std::move(placed);
        if (LDocumentModel* model = ModelOf(made))
            model->NotifyStateChanged();
    }
    RefreshMarkerDocks();
}

}  // namespace osmera
