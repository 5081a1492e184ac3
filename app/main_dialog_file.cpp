// MainDialog: the File menu's commands, opening and saving, the close prompt and the
// recent-file list.
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMdiSubWindow>
#include <QStatusBar>

#include "app/command_menus.h"
#include "app/format_dialogs.h"
#include "app/main_dialog.h"
#include "app/mdi_main_window.h"
#include "app/record_window.h"
#include "app/save_formats.h"
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
    if (IsProjectFile(path))
        return OpenProject(path);
    if (busy_ > 0) {
        // A request from outside while a file job runs waits for it to end.
        QTimer::singleShot(200, this, [this, path]() { OpenFile(path); });
        return false;
    }
    const QString full = QFileInfo(path).absoluteFilePath();
    LOpenOptions open;
    if (!AskOpenOptions(full, open))
        return false;
    std::string message;
    std::string warning;
    int result;
    {
        ++busy_;
        LQtProgress progress(&frame_, QStringLiteral("Open"));
        result = controller_.OpenDocument(full.toStdString(), &progress, &message, &warning, &open);
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

bool MainDialog::AskOpenOptions(const QString& path, LOpenOptions& options) {
    const std::string file = path.toStdString();
    const QString name = QFileInfo(path).fileName();
    // A headerless file (named so, and whose first bytes match no known format) says
    // nothing of its rate, channels or encoding: the user does.
    const LReaderKind byName = ReaderForExtension(file);
    if (byName == LReaderKind::kRaw || byName == LReaderKind::kVox || byName == LReaderKind::kGsm) {
        QFile in(path);
        QByteArray head;
        if (in.open(QIODevice::ReadOnly))
            head = in.read(64);
        if (SniffContent(reinterpret_cast<const uint8_t*>(head.constData()),
                         static_cast<size_t>(head.size())) == LReaderKind::kUnknown) {
            LRawParams& raw = options.raw;
            raw.sampleRate = settings_.GetInt(kSettings, "RawOpenRate", raw.sampleRate);
            raw.channels = settings_.GetInt(kSettings, "RawOpenChannels", raw.channels);
            raw.encoding = static_cast<LRawEncoding>(
                settings_.GetInt(kSettings, "RawOpenEncoding", static_cast<int32_t>(raw.encoding)));
            raw.bigEndian = settings_.GetInt(kSettings, "RawOpenBigEndian", 0) != 0;
            if (!prompts_.AskRawParams(name, raw, byName != LReaderKind::kRaw))
                return false;
            settings_.SetInt(kSettings, "RawOpenRate", raw.sampleRate);
            settings_.SetInt(kSettings, "RawOpenChannels", raw.channels);
            settings_.SetInt(kSettings, "RawOpenEncoding", static_cast<int32_t>(raw.encoding));
            settings_.SetInt(kSettings, "RawOpenBigEndian", raw.bigEndian ? 1 : 0);
        }
    }
    // A file of more than two channels becomes stereo the way the user picks.
    LOpenReport probe;
    const LSourceRef source = OpenAudioSource(file, options, &probe);
    const int channels = source->IsOk() ? probe.fileChannels : 0;
    if (channels <= 2)
        return true;
    QStringList choices = {QStringLiteral("A stereo mix of all channels")};
    for (int pair = 0; 2 * pair + 2 <= channels; ++pair)
        choices << QStringLiteral("Channels %1 and %2").arg(2 * pair + 1).arg(2 * pair + 2);
    const int chosen = prompts_.AskChoice(
        QStringLiteral("Multichannel File"),
        QStringLiteral("\"%1\" has %2 channels. Open it as:").arg(name).arg(channels), choices, 0);
    if (chosen < 0)
        return false;
    options.multichannel =
        chosen == 0 ? LOpenOptions::Channels::kDownmix : LOpenOptions::Channels::kPair;
    options.pair = chosen == 0 ? 0 : chosen - 1;
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
    // A file opened through a decoder (.m4a, .wma...) cannot be written back in its format:
    // it is never overwritten with another format's bytes under its own name.
    if (!IsWritableExtension(doc.path)) {
        const LAnswer answer = prompts_.AskYesNo(
            QStringLiteral("Osmera"),
            QStringLiteral("Saving in the %1 format is not supported. Do you want to save in "
                           "another format instead?")
                .arg(suffix.toUpper()));
        return answer == LAnswer::kYes && SaveDocumentAs(doc);
    }
    // Each save of a lossy file loses quality again: asked once per document.
    LOpenDocument* open = Find(&doc);
    if (WriteFormatForPath(doc.path).lossy && open && !open->lossyKept) {
        const LAnswer answer = prompts_.AskYesNoCancel(
            QStringLiteral("Osmera"),
            QStringLiteral("\"%1\" is in a lossy format: saving it again loses quality.\n\n"
                           "Yes saves it as %2 anyway; No saves it in a lossless format "
                           "(FLAC or WAV) instead.")
                .arg(QString::fromStdString(doc.GetDisplayName()), suffix.toUpper()));
        if (answer == LAnswer::kCancel)
            return false;
        if (answer == LAnswer::kNo)
            return SaveDocumentAs(doc, SaveFilterOf("flac"));
        open->lossyKept = true;
    }
    controller_.SetCurrent(&doc);
    std::string message;
    int result;
    {
        ++busy_;
        LQtProgress progress(&frame_, QStringLiteral("Save"));
        progress.SetLine(0, "Saving...");
        // The format of the file's extension, with the options last chosen for it; width 0
        // keeps the sample width the file was opened with.
        LWriteOptions options;
        const LWriteFormat& format = WriteFormatForPath(doc.path);
        LoadSaveOptions(settings_, format, options);
        options.format = format.name;
        options.bits = 0;
        result = controller_.SaveCurrentFile("", options, &progress, &message);
        --busy_;
    }
    if (!JobFinished(result, message))
        return false;
    AddToRecentFileList(doc.path);
    return true;
}

bool MainDialog::AskSavePath(const QString& suggestedName, const std::string& folderOf,
                             int32_t defaultBits, QString& path, LWriteOptions& options,
                             int filter) {
    QString folder = QString::fromStdString(settings_.GetText(kSettings, "SaveAsDir", ""));
    if (folder.isEmpty())
        folder = folderOf.empty() ? QDir::homePath()
                                  : QFileInfo(QString::fromStdString(folderOf)).absolutePath();
    const QStringList filters = SaveFileFilters();
    if (filter < 0)
        filter = settings_.GetInt(kSettings, "SaveAsFormat", kDefaultSaveFormat);
    if (filter < 0 || filter >= filters.size())
        filter = kDefaultSaveFormat;
    path = prompts_.SaveFileName(QStringLiteral("Save Audio File As"),
                                 QDir(folder).filePath(suggestedName), filters, filter);
    if (path.isEmpty())
        return false;
    if (filter < 0 || filter >= filters.size())
        filter = kDefaultSaveFormat;
    options = LWriteOptions{};
    options.bits = defaultBits;
    const LWriteFormat* format = ResolveSaveFormat(path, filter, options);
    if (!format)
        return false;
    if (HasSaveOptions(*format)) {
        LoadSaveOptions(settings_, *format, options);
        if (!prompts_.AskSaveOptions(*format, options))
            return false;
        StoreSaveOptions(settings_, *format, options);
    }
    path = QFileInfo(path).absoluteFilePath();
    settings_.SetText(kSettings, "SaveAsDir", QFileInfo(path).absolutePath().toStdString());
    settings_.SetInt(kSettings, "SaveAsFormat", filter);
    return true;
}

bool MainDialog::SaveDocumentAs(LOMFile& doc, int filter) {
    const QString name = QString::fromStdString(doc.GetDisplayName());
    QString path;
    LWriteOptions options;
    // The name without its extension: the format chosen in the dialog gives the new one.
    if (!AskSavePath(QFileInfo(name).completeBaseName(), doc.path, doc.bytesPerSample * 8, path,
                     options, filter))
        return false;
    controller_.SetCurrent(&doc);
    std::string message;
    int result;
    {
        ++busy_;
        LQtProgress progress(&frame_, QStringLiteral("Save As"));
        result = controller_.SaveCurrentFile(path.toStdString(), options, &progress, &message);
        --busy_;
    }
    if (!JobFinished(result, message))
        return false;
    if (LOpenDocument* open = Find(&doc)) {
        // The user chose this format just now.
        open->lossyKept = true;
        UpdateWindowTitle(*open);
    }
    AddToRecentFileList(doc.path);
    UpdateWindowList();
    return true;
}

// The tags go into the file at its next save, in the formats that carry them.
void MainDialog::CmEditTags() {
    LOMFile* doc = controller_.GetCurrent();
    if (!doc)
        return;
    LAudioTags tags = doc->tags;
    if (!prompts_.AskTags(tags) || tags == doc->tags)
        return;
    doc->tags = tags;
    doc->modified = true;
    if (LOpenDocument* open = Find(doc))
        UpdateWindowTitle(*open);
    UpdateCommandStates();
    if (!doc->path.empty() && !FormatCarriesTags(WriteFormatForPath(doc->path).name))
        frame_.statusBar()->showMessage(
            QStringLiteral("The %1 format carries no tags: save as MP3, FLAC, Ogg, Opus or WAV "
                           "to keep them.")
                .arg(QFileInfo(QString::fromStdString(doc->path)).suffix().toUpper()));
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
    if (!doc.modified || closingProject_)
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
    // An open project asks once for all its documents.
    if (!projectPath_.isEmpty())
        return QueryCloseProject();
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
