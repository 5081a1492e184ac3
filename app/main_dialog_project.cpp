// MainDialog: projects. A project is the set of open documents with their audio as edited,
// their state and the layout of their windows, saved as "NAME.omp" and "NAME_data"
// (edit/project_file.h). While a project is open every open document belongs to it: Save
// Project saves them all, Close Project closes them all, and the frame's title names it.
// Closing a project asks "Save changes" once for the whole project; its documents then
// close without asking each, as their unsaved edits are what the project keeps.
#include <QDir>
#include <QFileInfo>
#include <QMdiSubWindow>
#include <QStatusBar>

#include "app/main_dialog.h"
#include "app/mdi_main_window.h"
#include "app/record_window.h"
#include "display/document_model.h"
#include "edit/project_file.h"
#include "platform/qt_progress.h"

namespace osmera {

namespace {

constexpr const char* kSettings = "Settings";

QStringList ProjectFilters() {
    return {QStringLiteral("Osmera Projects (*.omp)"), QStringLiteral("All Files (*)")};
}

LWindowState StateOf(const QMdiSubWindow& window) {
    if (window.isMinimized())
        return LWindowState::kMinimized;
    return window.isMaximized() ? LWindowState::kMaximized : LWindowState::kNormal;
}

}  // namespace

bool MainDialog::IsProjectFile(const QString& path) {
    return path.endsWith(QLatin1String(".omp"), Qt::CaseInsensitive);
}

LProject MainDialog::DescribeProject(std::vector<const LCutListAudio*>* audio) const {
    LProject project;
    // Windows in the order they were opened, so the Window menu lists them alike again.
    for (QMdiSubWindow* window : frame_.ClientArea()->subWindowList()) {
        const auto it = std::find_if(open_.begin(), open_.end(), [window](const LOpenDocument& o) {
            return o.window == window;
        });
        if (it == open_.end())
            continue;
        LProjectDocument doc = DescribeDocument(*it->doc);
        // A maximized window's geometry is the client area's, which says nothing of the
        // window and changes with the frame: only its state is kept.
        const QRect geometry = window->isMaximized() ? QRect() : window->geometry();
        doc.window = {geometry.x(), geometry.y(), geometry.width(), geometry.height(),
                      StateOf(*window)};
        doc.leftRight = it->model->DisplayMode() == LWaveDisplayMode::kLeftRight;
        doc.verticalZoom = it->model->VerticalScale();
        if (it->doc == controller_.GetCurrent())
            project.active = static_cast<int32_t>(project.documents.size());
        project.documents.push_back(std::move(doc));
        if (audio)
            audio->push_back(&it->doc->audio);
    }
    return project;
}

void MainDialog::RememberProjectState() {
    projectSaved_ = DescribeProject(nullptr);
    projectEntries_.clear();
    for (const LOpenDocument& open : open_)
        projectEntries_.push_back(open.doc->audio.GetEntries());
}

bool MainDialog::IsProjectChanged() const {
    if (projectPath_.isEmpty())
        return false;
    if (!(DescribeProject(nullptr) == projectSaved_) || projectEntries_.size() != open_.size())
        return true;
    for (size_t k = 0; k < open_.size(); ++k) {
        if (open_[k].doc->audio.GetEntries() != projectEntries_[k])
            return true;
    }
    return false;
}

void MainDialog::UpdateFrameTitle() {
    // The part in brackets is not part of the name a second start looks for.
    frame_.setWindowTitle(
        projectPath_.isEmpty()
            ? QStringLiteral("Osmera")
            : QStringLiteral("Osmera [%1]").arg(QFileInfo(projectPath_).fileName()));
}

bool MainDialog::SaveProjectTo(const QString& path) {
    std::vector<const LCutListAudio*> audio;
    LProject project = DescribeProject(&audio);
    std::string message;
    int result;
    {
        ++busy_;
        LQtProgress progress(&frame_, QStringLiteral("Save Project"));
        result = SaveProject(path.toStdString(), project, audio, &progress, &message);
        --busy_;
    }
    if (!JobFinished(result, message))
        return false;
    projectPath_ = QFileInfo(path).absoluteFilePath();
    RememberProjectState();
    UpdateFrameTitle();
    frame_.statusBar()->showMessage(
        QStringLiteral("Project saved: %1").arg(QDir::toNativeSeparators(projectPath_)), 5000);
    return true;
}

bool MainDialog::QueryCloseProject() {
    if (IsTakeRunning())
        recordWindow_->StopTake();
    if (projectPath_.isEmpty())
        return QueryCloseAll();
    if (!IsProjectChanged())
        return true;
    const LAnswer answer = prompts_.AskYesNoCancel(
        QStringLiteral("Osmera"),
        QStringLiteral("Save changes to \"%1\"?").arg(QFileInfo(projectPath_).fileName()));
    if (answer == LAnswer::kCancel)
        return false;
    // A project that could not be saved stays open: its edits live nowhere else.
    return answer == LAnswer::kNo || SaveProjectTo(projectPath_);
}

void MainDialog::CloseAllUnasked() {
    if (IsTakeRunning())
        recordWindow_->StopTake();
    closingProject_ = true;
    for (QMdiSubWindow* window : frame_.ClientArea()->subWindowList())
        window->close();
    closingProject_ = false;
    projectPath_.clear();
    projectSaved_ = LProject{};
    projectEntries_.clear();
    UpdateFrameTitle();
}

bool MainDialog::OpenProject(const QString& path) {
    if (busy_ > 0) {
        QTimer::singleShot(200, this, [this, path]() { OpenProject(path); });
        return false;
    }
    const QString full = QFileInfo(path).absoluteFilePath();
    if (!QueryCloseProject())
        return false;
    LProject project;
    std::vector<LCutListAudio> audio;
    std::string message;
    int result;
    {
        ++busy_;
        LQtProgress progress(&frame_, QStringLiteral("Open Project"));
        result = LoadProject(full.toStdString(), project, audio, &progress, &message);
        --busy_;
    }
    // A project that does not open leaves what is open as it was.
    if (!JobFinished(result, message))
        return false;
    CloseAllUnasked();
    std::vector<LOMFile*> docs;
    for (size_t k = 0; k < project.documents.size(); ++k) {
        const LProjectDocument& saved = project.documents[k];
        LOMFile& doc = controller_.NewDocument(saved.sampleRate, saved.channels);
        doc.audio = std::move(audio[k]);
        RestoreDocument(saved, doc);
        AttachWindow(doc);
        docs.push_back(&doc);
    }
    // The layout once every window exists: geometry first, then the states, which Qt
    // applies to the window that is active.
    for (size_t k = 0; k < docs.size(); ++k) {
        const LProjectDocument& saved = project.documents[k];
        LOpenDocument* open = Find(docs[k]);
        if (!open || !open->window)
            continue;
        // A minimized or maximized window's geometry is its icon's or the whole area's: its
        // normal size is not known, so it keeps the size a new window gets, and a minimized
        // one goes back to where its icon lay.
        if (saved.window.state == LWindowState::kMinimized) {
            open->window->showMinimized();
            open->window->move(saved.window.x, saved.window.y);
        } else if (saved.window.state == LWindowState::kNormal && saved.window.width > 0 &&
                   saved.window.height > 0) {
            open->window->setGeometry(saved.window.x, saved.window.y, saved.window.width,
                                      saved.window.height);
        }
        LDocumentModel& model = *open->model;
        model.SetDisplayMode(saved.leftRight ? LWaveDisplayMode::kLeftRight
                                             : LWaveDisplayMode::kPlusMinus);
        for (int step = 0; step < 5 && model.VerticalScale() != saved.verticalZoom; ++step)
            model.VerticalZoom();
        model.SetView(docs[k]->viewStart, docs[k]->viewEnd);
        model.NotifyStateChanged();
    }
    const size_t active = project.active >= 0 ? static_cast<size_t>(project.active) : docs.size();
    for (size_t k = 0; k < docs.size(); ++k) {
        LOpenDocument* open = Find(docs[k]);
        if (open && open->window && project.documents[k].window.state == LWindowState::kMaximized)
            open->window->showMaximized();
    }
    if (active < docs.size()) {
        if (QMdiSubWindow* window = WindowOf(docs[active]))
            frame_.ClientArea()->setActiveSubWindow(window);
        controller_.SetCurrent(docs[active]);
    }
    projectPath_ = full;
    RememberProjectState();
    UpdateFrameTitle();
    UpdateWindowList();
    UpdateCommandStates();
    return true;
}

void MainDialog::CmOpenProject() {
    const QString folder = QString::fromStdString(
        settings_.GetText(kSettings, "ProjectDir", QDir::homePath().toStdString()));
    const QStringList files =
        prompts_.OpenFileNames(QStringLiteral("Open Project"), folder, ProjectFilters());
    if (files.isEmpty())
        return;
    settings_.SetText(kSettings, "ProjectDir",
                      QFileInfo(files.first()).absolutePath().toStdString());
    OpenProject(files.first());
}

void MainDialog::CmCloseProject() {
    if (projectPath_.isEmpty()) {
        frame_.statusBar()->showMessage(QStringLiteral("No project is open."), 5000);
        return;
    }
    if (QueryCloseProject())
        CloseAllUnasked();
}

void MainDialog::CmSaveProject() {
    if (projectPath_.isEmpty())
        CmSaveProjectAs();
    else
        SaveProjectTo(projectPath_);
}

void MainDialog::CmSaveProjectAs() {
    if (open_.empty()) {
        prompts_.Inform(QStringLiteral("Osmera"),
                        QStringLiteral("Open or make a file first: a project keeps the files "
                                       "that are open."));
        return;
    }
    QString folder = QString::fromStdString(
        settings_.GetText(kSettings, "ProjectDir", QDir::homePath().toStdString()));
    const QString suggested =
        projectPath_.isEmpty() ? QStringLiteral("Project.omp") : QFileInfo(projectPath_).fileName();
    int filter = 0;
    QString path =
        prompts_.SaveFileName(QStringLiteral("Save Project As"), QDir(folder).filePath(suggested),
                              ProjectFilters(), filter);
    if (path.isEmpty())
        return;
    if (!IsProjectFile(path))
        path += QStringLiteral(".omp");
    settings_.SetText(kSettings, "ProjectDir", QFileInfo(path).absolutePath().toStdString());
    SaveProjectTo(path);
}

}  // namespace osmera
