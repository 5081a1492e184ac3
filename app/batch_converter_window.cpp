#include "app/batch_converter_window.h"

#include <QCloseEvent>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QDir>
#include <QDirIterator>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMimeData>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QSaveFile>
#include <QSplitter>
#include <QTreeWidget>
#include <QUrl>
#include <QVBoxLayout>

#include "effects/script_commands.h"
#include "effects/script_runner.h"
#include "formats/audio_format.h"

namespace osmera {
namespace {

const QString kScriptFilter = QStringLiteral("Batch scripts (*.osm *.txt);;All files (*)");

}  // namespace

LOMBatchConverter::LOMBatchConverter(QWidget* parent) : QDialog(parent) {
    setWindowTitle(QStringLiteral("Batch Converter"));
    setObjectName(QStringLiteral("batchConverter"));
    setAcceptDrops(true);

    auto* split = new QSplitter(Qt::Horizontal);
    split->addWidget(MakeInputs());
    split->addWidget(MakeCommands());

    fileBar_ = new QProgressBar;
    totalBar_ = new QProgressBar;
    status_ = new QLabel;
    log_ = new QPlainTextEdit;
    log_->setReadOnly(true);
    log_->setObjectName(QStringLiteral("log"));
    log_->setMaximumBlockCount(10000);
    auto* progress = new QFormLayout;
    progress->addRow(QStringLiteral("File:"), fileBar_);
    progress->addRow(QStringLiteral("All files:"), totalBar_);

    run_ = new QPushButton(QStringLiteral("&Run"));
    cancel_ = new QPushButton(QStringLiteral("&Cancel"));
    auto* close = new QPushButton(QStringLiteral("Close"));
    run_->setObjectName(QStringLiteral("run"));
    cancel_->setObjectName(QStringLiteral("cancel"));
    connect(run_, &QPushButton::clicked, this, [this] { Run(); });
    connect(cancel_, &QPushButton::clicked, this, &LOMBatchConverter::Cancel);
    connect(close, &QPushButton::clicked, this, &QDialog::close);
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(status_, 1);
    buttons->addWidget(run_);
    buttons->addWidget(cancel_);
    buttons->addWidget(close);

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(split, 3);
    layout->addWidget(MakeOutput());
    layout->addLayout(progress);
    layout->addWidget(new QLabel(QStringLiteral("Failures:")));
    layout->addWidget(log_, 1);
    layout->addLayout(buttons);
    resize(820, 640);
    UpdateStates();
}

LOMBatchConverter::~LOMBatchConverter() {
    if (runner_)
        runner_->Cancel();
    if (thread_.joinable())
        thread_.join();
}

QWidget* LOMBatchConverter::MakeInputs() {
    auto* box = new QGroupBox(QStringLiteral("Input files"));
    files_ = new QTreeWidget;
    files_->setObjectName(QStringLiteral("files"));
    files_->setHeaderLabels({QStringLiteral("File"), QStringLiteral("State")});
    files_->setRootIsDecorated(false);
    files_->setSelectionMode(QAbstractItemView::ExtendedSelection);
    files_->header()->setSectionResizeMode(0, QHeaderView::Stretch);
    auto* addFiles = new QPushButton(QStringLiteral("Add Files..."));
    auto* addFolder = new QPushButton(QStringLiteral("Add Folder..."));
    auto* remove = new QPushButton(QStringLiteral("Remove"));
    connect(addFiles, &QPushButton::clicked, this, &LOMBatchConverter::BrowseFiles);
    connect(addFolder, &QPushButton::clicked, this, &LOMBatchConverter::BrowseFolder);
    connect(remove, &QPushButton::clicked, this, [this] {
        if (!running_)
            qDeleteAll(files_->selectedItems());
    });
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(addFiles);
    buttons->addWidget(addFolder);
    buttons->addWidget(remove);
    auto* layout = new QVBoxLayout(box);
    layout->addWidget(files_);
    layout->addLayout(buttons);
    return box;
}

QWidget* LOMBatchConverter::MakeCommands() {
    auto* box = new QGroupBox(QStringLiteral("Commands (run on each file in turn)"));
    words_ = new QComboBox;
    words_->setObjectName(QStringLiteral("words"));
    // Every script word with its parameters; opening is the converter's own job.
    const LScriptCommandTable table = MakeScriptCommandTable();
    for (const auto& [name, command] : table.All()) {
        if (name != "open" && name != "new")
            words_->addItem(QString::fromStdString(command.usage));
    }
    auto* add = new QPushButton(QStringLiteral("Add"));
    connect(add, &QPushButton::clicked, this, &LOMBatchConverter::AddPickedCommand);
    commands_ = new QPlainTextEdit;
    commands_->setObjectName(QStringLiteral("commands"));
    commands_->setPlaceholderText(
        QStringLiteral("normalize 98\nselect 0:50 1:00\nfade-out\n# a save line saves itself"));
    auto* load = new QPushButton(QStringLiteral("Load..."));
    auto* save = new QPushButton(QStringLiteral("Save..."));
    connect(load, &QPushButton::clicked, this, &LOMBatchConverter::BrowseLoad);
    connect(save, &QPushButton::clicked, this, &LOMBatchConverter::BrowseSave);
    auto* pick = new QHBoxLayout;
    pick->addWidget(words_, 1);
    pick->addWidget(add);
    auto* files = new QHBoxLayout;
    files->addStretch(1);
    files->addWidget(load);
    files->addWidget(save);
    auto* layout = new QVBoxLayout(box);
    layout->addLayout(pick);
    layout->addWidget(commands_);
    layout->addLayout(files);
    return box;
}

QWidget* LOMBatchConverter::MakeOutput() {
    auto* box = new QGroupBox(QStringLiteral("Output"));
    outFolder_ = new QLineEdit;
    auto* browse = new QPushButton(QStringLiteral("Browse..."));
    connect(browse, &QPushButton::clicked, this, &LOMBatchConverter::BrowseOutput);
    auto* folder = new QHBoxLayout;
    folder->addWidget(outFolder_, 1);
    folder->addWidget(browse);
    pattern_ = new QLineEdit(QString::fromLatin1(LBatchOptions::kDefaultPattern));
    pattern_->setToolTip(
        QStringLiteral("{name}: the input's name without extension, {ext}: the format's "
                       "extension, {index}: the input's place in the list"));
    format_ = new QComboBox;
    format_->addItem(QStringLiteral("Same as the input"), QString());
    for (const LWriteFormat& format : WriteFormats())
        format_->addItem(QString::fromLatin1(format.name), QString::fromLatin1(format.name));
    auto* layout = new QFormLayout(box);
    layout->addRow(QStringLiteral("Folder:"), folder);
    layout->addRow(QStringLiteral("Name pattern:"), pattern_);
    layout->addRow(QStringLiteral("Format:"), format_);
    return box;
}

void LOMBatchConverter::AddFiles(const QStringList& paths) {
    for (const QString& path : paths) {
        if (QFileInfo(path).isDir()) {
            AddFolder(path);
            continue;
        }
        const QString full = QFileInfo(path).absoluteFilePath();
        bool listed = false;
        for (int i = 0; i < files_->topLevelItemCount() && !listed; ++i)
            listed = files_->topLevelItem(i)->text(0) == full;
        if (!listed)
            new QTreeWidgetItem(files_, {full, QString()});
    }
    UpdateStates();
}

void LOMBatchConverter::AddFolder(const QString& folder) {
    QStringList found;
    QDirIterator it(folder, QDir::Files, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        if (ReaderForExtension(path.toStdString()) != LReaderKind::kUnknown)
            found << path;
    }
    found.sort();
    AddFiles(found);
}

void LOMBatchConverter::SetCommands(const QString& text) {
    commands_->setPlainText(text);
}

QString LOMBatchConverter::Commands() const {
    return commands_->toPlainText();
}

bool LOMBatchConverter::LoadCommands(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        Log(QStringLiteral("Cannot read the script %1: %2").arg(path, file.errorString()));
        return false;
    }
    commands_->setPlainText(QString::fromUtf8(file.readAll()));
    commandsPath_ = QFileInfo(path).absoluteFilePath();
    return true;
}

bool LOMBatchConverter::SaveCommands(const QString& path) {
    QSaveFile file(path);  // the old script stays whole unless the new one is written
    QByteArray text = commands_->toPlainText().toUtf8();
    if (!text.endsWith('\n'))
        text += '\n';
    if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size() || !file.commit()) {
        Log(QStringLiteral("Cannot save the script %1: %2").arg(path, file.errorString()));
        return false;
    }
    commandsPath_ = QFileInfo(path).absoluteFilePath();
    return true;
}

void LOMBatchConverter::SetOutputFolder(const QString& folder) {
    outFolder_->setText(folder);
}

void LOMBatchConverter::SetNamePattern(const QString& pattern) {
    pattern_->setText(pattern);
}

void LOMBatchConverter::SetFormat(const QString& name) {
    const int at = format_->findData(name);
    format_->setCurrentIndex(at < 0 ? 0 : at);
}

void LOMBatchConverter::AddPickedCommand() {
    QString text = commands_->toPlainText();
    if (!text.isEmpty() && !text.endsWith(QLatin1Char('\n')))
        text += QLatin1Char('\n');
    // The usage names the parameters ("normalize PERCENT"): the user puts in the values.
    commands_->setPlainText(text + words_->currentText() + QLatin1Char('\n'));
    commands_->setFocus();
}

bool LOMBatchConverter::Run() {
    if (running_)
        return false;
    LBatchOptions options;
    for (int i = 0; i < files_->topLevelItemCount(); ++i) {
        options.inputs.push_back(files_->topLevelItem(i)->text(0).toStdString());
        files_->topLevelItem(i)->setText(1, QString());
    }
    const QString out = outFolder_->text().trimmed();
    const QString pattern = pattern_->text().trimmed();
    QString refused;
    if (options.inputs.empty())
        refused = QStringLiteral("Add the files to convert first.");
    else if (out.isEmpty())
        refused = QStringLiteral("Choose the output folder first.");
    else if (pattern.isEmpty() || pattern.contains(QLatin1Char('/')))
        refused = QStringLiteral("The name pattern must be a file name without folders.");
    if (!refused.isEmpty()) {
        Log(refused);
        return false;
    }
    options.outFolder = QDir(out).absolutePath().toStdString();
    options.pattern = pattern.toStdString();
    options.save.format = format_->currentData().toString().toStdString();
    options.scriptText = commands_->toPlainText().toStdString();
    // Relative paths in the commands are taken from the script file's folder, else the
    // output folder's.
    options.script = commandsPath_.isEmpty()
                         ? (QDir(out).absoluteFilePath(QStringLiteral("commands"))).toStdString()
                         : commandsPath_.toStdString();

    LBatchListener listener;
    listener.fileStarted = [this](size_t index) {
        dispatcher_.Post([this, index] { FileStarted(index); });
    };
    listener.fileProgress = [this](size_t index, double fraction) {
        dispatcher_.Post([this, index, fraction] { FileProgress(index, fraction); });
    };
    listener.fileDone = [this](const LBatchFileResult& result) {
        dispatcher_.Post([this, result] { FileDone(result); });
    };
    if (thread_.joinable())
        thread_.join();  // the last batch's thread has ended: its end was posted
    runner_ = std::make_unique<LBatchRunner>(listener);
    running_ = true;
    done_ = 0;
    total_ = options.inputs.size();
    log_->clear();
    fileBar_->setValue(0);
    totalBar_->setRange(0, static_cast<int>(total_));
    totalBar_->setValue(0);
    status_->setText(QStringLiteral("Running..."));
    UpdateStates();
    thread_ = std::thread([this, options = std::move(options)] {
        std::vector<std::string> messages;
        const int result = runner_->Run(options, &messages);
        dispatcher_.Post([this, result, messages] { BatchEnded(result, messages); });
    });
    return true;
}

void LOMBatchConverter::Cancel() {
    if (running_ && runner_) {
        runner_->Cancel();
        status_->setText(QStringLiteral("Cancelling..."));
    }
}

void LOMBatchConverter::FileStarted(size_t index) {
    if (QTreeWidgetItem* item = files_->topLevelItem(static_cast<int>(index)))
        item->setText(1, QStringLiteral("Running"));
    fileBar_->setValue(0);
}

void LOMBatchConverter::FileProgress(size_t index, double fraction) {
    const int percent = static_cast<int>(fraction * 100.0);
    if (QTreeWidgetItem* item = files_->topLevelItem(static_cast<int>(index)))
        item->setText(1, QStringLiteral("Running %1%").arg(percent));
    fileBar_->setValue(percent);
}

void LOMBatchConverter::FileDone(const LBatchFileResult& result) {
    QString state = QStringLiteral("Done");
    if (result.result == kScriptFailed)
        state = QStringLiteral("Failed");
    else if (result.result == kScriptCancelled)
        state = QStringLiteral("Cancelled");
    if (QTreeWidgetItem* item = files_->topLevelItem(static_cast<int>(result.index))) {
        item->setText(1, state);
        item->setToolTip(1, QString::fromStdString(result.output));
    }
    if (result.result == kScriptFailed) {
        for (const std::string& message : result.messages)
            Log(QString::fromStdString(result.input + ": " + message));
    }
    totalBar_->setValue(static_cast<int>(++done_));
}

void LOMBatchConverter::BatchEnded(int result, const std::vector<std::string>& messages) {
    if (thread_.joinable())
        thread_.join();
    for (const std::string& message : messages)
        Log(QString::fromStdString(message));
    running_ = false;
    lastResult_ = result;
    switch (result) {
        case LBatchRunner::kAllDone:
            status_->setText(QStringLiteral("%1 files converted.").arg(done_));
            break;
        case LBatchRunner::kCancelled:
            status_->setText(QStringLiteral("Cancelled."));
            break;
        case LBatchRunner::kSomeFailed:
            status_->setText(QStringLiteral("Finished; some files failed (see the log)."));
            break;
        default:
            status_->setText(QStringLiteral("Not run (see the log)."));
            break;
    }
    UpdateStates();
    emit finished(result);
    if (closeWhenDone_)
        close();
}

void LOMBatchConverter::Log(const QString& line) {
    log_->appendPlainText(line);
}

QString LOMBatchConverter::LogText() const {
    return log_->toPlainText();
}

QString LOMBatchConverter::FileState(int index) const {
    const QTreeWidgetItem* item = files_->topLevelItem(index);
    return item ? item->text(1) : QString();
}

void LOMBatchConverter::UpdateStates() {
    run_->setEnabled(!running_);
    cancel_->setEnabled(running_);
}

void LOMBatchConverter::BrowseFiles() {
    AddFiles(QFileDialog::getOpenFileNames(this, QStringLiteral("Add Files")));
}

void LOMBatchConverter::BrowseFolder() {
    const QString folder = QFileDialog::getExistingDirectory(this, QStringLiteral("Add Folder"));
    if (!folder.isEmpty())
        AddFolder(folder);
}

void LOMBatchConverter::BrowseOutput() {
    const QString folder = QFileDialog::getExistingDirectory(this, QStringLiteral("Output Folder"),
                                                             outFolder_->text());
    if (!folder.isEmpty())
        outFolder_->setText(folder);
}

void LOMBatchConverter::BrowseLoad() {
    const QString path = QFileDialog::getOpenFileName(this, QStringLiteral("Load Commands"),
                                                      commandsPath_, kScriptFilter);
    if (!path.isEmpty())
        LoadCommands(path);
}

void LOMBatchConverter::BrowseSave() {
    const QString path = QFileDialog::getSaveFileName(this, QStringLiteral("Save Commands"),
                                                      commandsPath_, kScriptFilter);
    if (!path.isEmpty())
        SaveCommands(path);
}

void LOMBatchConverter::dragEnterEvent(QDragEnterEvent* event) {
    if (event->mimeData()->hasUrls() && !running_)
        event->acceptProposedAction();
}

void LOMBatchConverter::dropEvent(QDropEvent* event) {
    QStringList paths;
    for (const QUrl& url : event->mimeData()->urls()) {
        if (url.isLocalFile())
            paths << url.toLocalFile();
    }
    AddFiles(paths);
    event->acceptProposedAction();
}

void LOMBatchConverter::closeEvent(QCloseEvent* event) {
    if (running_) {
        // The batch stops between blocks; the window goes once it has.
        closeWhenDone_ = true;
        Cancel();
        event->ignore();
        return;
    }
    closeWhenDone_ = false;
    QDialog::closeEvent(event);
}

}  // namespace osmera
