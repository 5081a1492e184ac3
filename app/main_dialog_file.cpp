// MainDialog: the File menu's commands, opening and saving, the close prompt and the
// recent-file list.
#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QMdiSubWindow>
#include <QStatusBar>

#include "app/command_menus.h"
#include "app/main_dialog.h"
#include "app/mdi_main_window.h"
#include "app/record_window.h"
#include "edit/document_io.h"
#include "platform/qt_progress.h"

namespace osmera {

namespace {

constexpr const char* kSettings = "Settings";

// The open dialog's filters in order: the name shown and the patterns it stands for.
struct LOpenFilter {
    const char* name;
    const char* patterns;
};

constexpr LOpenFilter kOpenFilters[] = {
    {"Audio Files",
     "*.wav *.mp3 *.ogg *.wma *.aif *.aiff *.au *.ra *.ram *.flac *.aac *.gsm *.vox *.raw "
     "*.dss *.dct *.m4a *.mp2 *.sri *.mpga *.msv *.dvf *.act *.rcd *.rec *.shn"},
    {"Wave Files (*.wav)", "*.wav"},
    {"MPEG Layer-3 Files (*.mp3, *.mp2, *.mpga)", "*.mp3 *.mp2 *.mpga"},
    {"Ogg Vorbis Files (*.ogg)", "*.ogg"},
    {"Windows Media Audio Files (*.wma)", "*.wma"},
    {"Apple AIFF Files (*.aif, *.aiff)", "*.aif *.aiff"},
    {"Sun AU Files (*.au)", "*.au"},
    {"Real Audio Files (*.ra, *.ram, *.rm, *.rmj)", "*.ra *.ram *.rm *.rmj"},
    {"FLAC Files (*.flac)", "*.flac"},
    {"AAC Files (*.aac, *.m4a)", "*.aac *.m4a"},
    {"GSM Files (*.gsm)", "*.gsm"},
    {"Dialogic Vox Files (*.vox)", "*.vox"},
    {"Raw Audio Files (*.raw)", "*.raw"},
    {"DSS Files (*.dss)", "*.dss"},
    {"VoiceIt Files (*.sri)", "*.sri"},
    {"Dictation Files (*.dct)", "*.dct"},
    {"Record Files (*.act, *.rcd, *.rec)", "*.act *.rcd *.rec"},
    {"Shorten Files (*.shn)", "*.shn"},
    {"All Files", "*"},
};

// Save As offers WAV at these sample sizes; "SaveAsFormat" remembers the index.
constexpr int32_t kSaveBytes[] = {1, 2, 3, 4};
constexpr int kDefaultSaveFormat = 1;

}  // namespace

QStringList OpenFileFilters() {
    QStringList filters;
    for (const LOpenFilter& filter : kOpenFilters) {
        // The file dialog reads the patterns from the last parentheses and splits them at
        // spaces, so the shown list of patterns is replaced by that form.
        QString name = QString::fromLatin1(filter.name);
        const qsizetype open = name.lastIndexOf(QLatin1String(" ("));
        if (open >= 0)
            name.truncate(open);
        filters << QStringLiteral("%1 (%2)").arg(name, QLatin1String(filter.patterns));
    }
    return filters;
}

QStringList SaveFileFilters() {
    QStringList filters;
    for (int32_t bytes : kSaveBytes)
        filters << QStringLiteral("WAV %1-bit PCM (*.wav)").arg(bytes * 8);
    return filters;
}

void MainDialog::CmOpen() {
    const QString folder = QString::fromStdString(
        settings_.GetText(kSettings, "OpenFileDir", QDir::homePath().toStdString()));
    const QStringList files =
        prompts_.OpenFileNames(QStringLiteral("Open Audio File"), folder, OpenFileFilters());
    if (files.isEmpty())
        return;
    settings_.SetText(kSettings, "OpenFileDir",
                      QFileInfo(files.first()).absolutePath().toStdString());
    OpenFiles(files);
}

void MainDialog::OpenFiles(const QStringList& paths) {
    bool firstFile = true;
    for (const QString& path : paths) {
        if (OpenFile(path, firstFile))
            firstFile = false;
    }
}

bool MainDialog::OpenFile(const QString& path, bool firstFile) {
    Q_UNUSED(firstFile);
    if (busy_ > 0) {
        // A request from outside while a file job runs waits for it to end.
        QTimer::singleShot(200, this, [this, path]() { OpenFile(path); });
        return false;
    }
    const QString full = QFileInfo(path).absoluteFilePath();
    std::string message;
    std::string warning;
    int result;
    {
        ++busy_;
        LQtProgress progress(&frame_, QStringLiteral("Open"));
        result = controller_.OpenDocument(full.toStdString(), &progress, &message, &warning);
        --busy_;
    }
    if (!JobFinished(result, message))
        return false;
    AttachWindow(*controller_.GetCurrent());
    AddToRecentFileList(full.toStdString());
    // A file that did not open whole (too long, or shorter than its header says) opens
    // as far as it goes; the user is told what was left out or filled in.
    if (!warning.empty())
        prompts_.Warn(QStringLiteral("Osmera"), QString::fromStdString(warning));
    return true;
}

bool MainDialog::SaveDocument(LOMFile& doc) {
    if (doc.path.empty())
        return SaveDocumentAs(doc);
    const QString suffix = QFileInfo(QString::fromStdString(doc.path)).suffix().toLower();
    if (suffix == QLatin1String("ra") || suffix == QLatin1String("ram") ||
        suffix == QLatin1String("rm")) {
        const LAnswer answer = prompts_.AskYesNo(
            QStringLiteral("Osmera"),
            QStringLiteral("Saving in real audio file format is not supported. Do you want to "
                           "save in another format (wav, mp3, gsm, vox) instead?"));
        return answer == LAnswer::kYes && SaveDocumentAs(doc);
    }
    controller_.SetCurrent(&doc);
    std::string message;
    int result;
    {
        ++busy_;
        LQtProgress progress(&frame_, QStringLiteral("Save"));
        progress.SetLine(0, "Saving...");
        // Width 0 keeps the sample width the file was opened with.
        result = controller_.SaveCurrentFile("", 0, &progress, &message);
        --busy_;
    }
    if (!JobFinished(result, message))
        return false;
    AddToRecentFileList(doc.path);
    return true;
}

bool MainDialog::AskSavePath(const QString& suggestedName, const std::string& folderOf,
                             QString& path, int32_t& bytesPerSample) {
    QString folder = QString::fromStdString(settings_.GetText(kSettings, "SaveAsDir", ""));
    if (folder.isEmpty())
        folder = folderOf.empty() ? QDir::homePath()
                                  : QFileInfo(QString::fromStdString(folderOf)).absolutePath();
    int format = settings_.GetInt(kSettings, "SaveAsFormat", kDefaultSaveFormat);
    if (format < 0 || format >= static_cast<int>(std::size(kSaveBytes)))
        format = kDefaultSaveFormat;
    path = prompts_.SaveFileName(QStringLiteral("Save Audio File As"),
                                 QDir(folder).filePath(suggestedName), SaveFileFilters(), format);
    if (path.isEmpty())
        return false;
    if (format < 0 || format >= static_cast<int>(std::size(kSaveBytes)))
        format = kDefaultSaveFormat;
    if (QFileInfo(path).suffix().isEmpty())
        path += QStringLiteral(".wav");
    path = QFileInfo(path).absoluteFilePath();
    settings_.SetText(kSettings, "SaveAsDir", QFileInfo(path).absolutePath().toStdString());
    settings_.SetInt(kSettings, "SaveAsFormat", format);
    bytesPerSample = kSaveBytes[format];
    return true;
}

bool MainDialog::SaveDocumentAs(LOMFile& doc) {
    const QString name = QString::fromStdString(doc.GetDisplayName());
    QString path;
    int32_t bytesPerSample = 2;
    if (!AskSavePath(doc.path.empty() ? name + QStringLiteral(".wav") : name, doc.path, path,
                     bytesPerSample))
        return false;
    controller_.SetCurrent(&doc);
    std::string message;
    int result;
    {
        ++busy_;
        LQtProgress progress(&frame_, QStringLiteral("Save As"));
        result =
            controller_.SaveCurrentFile(path.toStdString(), bytesPerSample, &progress, &message);
        --busy_;
    }
    if (!JobFinished(result, message))
        return false;
    if (LOpenDocument* open = Find(&doc))
        UpdateWindowTitle(*open);
    AddToRecentFileList(doc.path);
    UpdateWindowList();
    return true;
}

void MainDialog::CmSave() {
    if (LOMFile* doc = controller_.GetCurrent())
        SaveDocument(*doc);
}

void MainDialog::CmSaveAs() {
    if (LOMFile* doc = controller_.GetCurrent())
        SaveDocumentAs(*doc);
}

bool MainDialog::QueryCloseDocument(LOMFile& doc) {
    if (recordWindow_ && recordWindow_->IsRecordingInto(&doc)) {
        frame_.statusBar()->showMessage(QStringLiteral("Stop the recording before closing \"%1\".")
                                            .arg(QString::fromStdString(doc.GetDisplayName())));
        return false;
    }
    if (!doc.modified)
        return true;
    const LAnswer answer = prompts_.AskYesNoCancel(
        QStringLiteral("Osmera"), QStringLiteral("Save changes to \"%1\"?")
                                      .arg(QString::fromStdString(doc.GetDisplayName())));
    if (answer == LAnswer::kCancel)
        return false;
    if (answer == LAnswer::kYes)
        SaveDocument(doc);  // the document closes whatever the save's outcome
    return true;
}

bool MainDialog::QueryCloseAll() {
    // A take that runs is kept: it goes into its document, which then asks to be saved.
    if (IsTakeRunning())
        recordWindow_->StopTake();
    for (const auto& doc : controller_.GetDocuments()) {
        if (!QueryCloseDocument(*doc))
            return false;
    }
    return true;
}

void MainDialog::CmCloseFile() {
    if (QMdiSubWindow* window = WindowOf(controller_.GetCurrent()))
        window->close();
}

void MainDialog::CmCloseAll() {
    for (QMdiSubWindow* window : frame_.ClientArea()->subWindowList()) {
        if (!window->close())
            return;
    }
}

void MainDialog::CmExit() {
    frame_.close();
}

void MainDialog::AddToRecentFileList(const std::string& path) {
    recent_.Add(path, static_cast<int32_t>(QDateTime::currentSecsSinceEpoch()));
    LoadRecentFileList();
}

void MainDialog::LoadRecentFileList() {
    QStringList texts;
    const std::vector<LRecentFile> items = recent_.ShownItems();
    for (size_t k = 0; k < items.size(); ++k)
        texts << LRecentFileList::MenuItemText(static_cast<int>(k), items[k].path);
    menus_->SetRecentFiles(texts);
}

std::string MainDialog::ExtractRecentFilePath(int index) const {
    const std::vector<LRecentFile> items = recent_.ShownItems();
    return index >= 0 && index < static_cast<int>(items.size()) ? items[index].path : std::string();
}

void MainDialog::CmRecentFile(int index) {
    const std::string path = ExtractRecentFilePath(index);
    if (!path.empty())
        OpenFile(QString::fromStdString(path));
}

}  // namespace osmera
