#include "app/main_dialog.h"

#include <QAction>
#include <QClipboard>
#include <QDateTime>
#include <QGuiApplication>
#include <QMdiSubWindow>
#include <QStatusBar>
#include <algorithm>

#include "app/command_menus.h"
#include "app/desktop_integration.h"
#include "app/document_journal_keeper.h"
#include "app/document_sub_window.h"
#include "app/editor_transport.h"
#include "app/key_macro_runner.h"
#include "app/mdi_main_window.h"
#include "app/record_window.h"
#include "core/trace.h"
#include "display/document_model.h"
#include "display/om_file_window.h"
#include "edit/audio_cut_tank.h"
#include "edit/document_io.h"
#include "platform/qt_clipboard_exchange.h"

namespace osmera {

namespace {
constexpr int kHelpShowMs = 5000;
}

MainDialog::MainDialog(LMDIMainWindow& frame, LSettingsStore& settings, LUserPrompts& prompts,
                       LClipboardExchange& clipboard, QObject* parent)
    : QObject(parent),
      frame_(frame),
      settings_(settings),
      prompts_(prompts),
      clipboard_(clipboard),
      controller_(settings, this),
      recent_(settings),
      menus_(new LCommandMenus(frame)),
      journal_(std::make_unique<LDocumentJournalKeeper>([this]() { return busy_ == 0; })) {
    connect(journal_.get(), &LDocumentJournalKeeper::writeFailed, this,
            [this](const QString& message) { frame_.statusBar()->showMessage(message, 10000); });
    connect(menus_, &LCommandMenus::commandTriggered, this, [this](uint16_t id) { Dispatch(id); });
    connect(menus_, &LCommandMenus::commandHovered, this, &MainDialog::ShowCommandHelp);
    helpTimer_.setSingleShot(true);
    helpTimer_.setInterval(kHelpShowMs);
    connect(&helpTimer_, &QTimer::timeout, this, &MainDialog::EvHelpTimer);
    frame_.statusBar()->showMessage(IdleText());
    connect(frame_.ClientArea(), &QMdiArea::subWindowActivated, this,
            &MainDialog::EvSubWindowActivated);
    connect(&frame_, &LMDIMainWindow::filesDropped, this, &MainDialog::OpenFiles);
    frame_.SetCloseHandler([this]() { return QueryCloseAll(); });
    if (QClipboard* system = QGuiApplication::clipboard())
        connect(system, &QClipboard::dataChanged, this, &MainDialog::UpdateCommandStates);
    AttachTransport();
    keyMacros_ =
        std::make_unique<LKeyMacroRunner>(frame_, settings_, [this](uint16_t id) { Dispatch(id); });
    LoadRecentFileList();
    controller_.UpdateUndoMenuItem();
    UpdateCommandStates();
}

MainDialog::~MainDialog() {
    keyMacros_.reset();  // no macro runs while the rest goes
    // The record window borrows the controller: it goes first.
    delete recordWindow_.data();
    // Stop playback while the documents still exist, without its reports reaching here.
    transport_->disconnect(this);
    transport_.reset();
    // Views first, then the documents they show (the controller's, destroyed after this).
    for (LOpenDocument& open : open_) {
        if (open.window)
            delete open.window->widget();
    }
    open_.clear();
}

bool MainDialog::HasHandler(uint16_t id) {
    if ((id >= kRecentFileFirstId && id <= kRecentFileLastId) ||
        (id >= kWindowItemFirstId && id <= kWindowItemLastId))
        return true;
    const auto handlers = Handlers();
    return std::any_of(handlers.begin(), handlers.end(),
                       [id](const LHandler& h) { return h.id == id; });
}

bool MainDialog::Dispatch(uint16_t id) {
    if (id >= kRecentFileFirstId && id <= kRecentFileLastId) {
        CmRecentFile(id - kRecentFileFirstId);
        return true;
    }
    if (id >= kWindowItemFirstId && id <= kWindowItemLastId) {
        CmActivateWindow(id - kWindowItemFirstId);
        return true;
    }
    if (RefusedWhileRecording(id))
        return false;
    const LCommandRow* row = FindCommand(id);
    if (row && (row->needs & kNeedsDocument) && !controller_.GetCurrent())
        return false;  // a command on the current document does nothing without one
    for (const LHandler& h : Handlers()) {
        if (h.id == id) {
            (this->*h.handler)();
            UpdateCommandStates();
            return true;
        }
    }
    LTracef("MainDialog::Dispatch no handler for %u", static_cast<unsigned>(id));
    return false;
}

void MainDialog::ShowCommandHelp(uint16_t id) {
    const QString text = CommandDescription(id);
    if (text.isEmpty())
        return;
    frame_.statusBar()->showMessage(text);
    helpTimer_.start();
}

void MainDialog::EvHelpTimer() {
    helpTimer_.stop();
    frame_.statusBar()->showMessage(IdleText());
}

QString MainDialog::StatusText() const {
    return frame_.statusBar()->currentMessage();
}

uint32_t MainDialog::CurrentState() const {
    uint32_t state = kNeedsNothing;
    if (const LOMFile* doc = controller_.GetCurrent()) {
        state |= kNeedsDocument;
        const int32_t length = doc->audio.GetLength();
        if (std::min(doc->selEnd, length) > std::max(doc->selStart, 0))
            state |= kNeedsSelection;
        if (doc->modified)
            state |= kNeedsModified;
    }
    if (const_cast<LDocumentController&>(controller_).GetClipboard().GetLength() > 0)
        state |= kNeedsClipboard;
    if (undoAvailable_)
        state |= kNeedsUndo;
    if (LQtClipboardExchange::HasWaveData())
        state |= kNeedsSystemClipboard;
    return state;
}

void MainDialog::UpdateCommandStates() {
    menus_->ApplyStates(CurrentState());
    RefreshMarkerDocks();
    if (LDocumentModel* model = CurrentModel()) {
        const bool leftRight = model->DisplayMode() == LWaveDisplayMode::kLeftRight;
        menus_->Action(kIdDisplayLeftRight)->setChecked(leftRight);
        menus_->Action(kIdDisplayPlusMinus)->setChecked(!leftRight);
    }
}

void MainDialog::UndoMenuChanged(const LUndoMenuItem& item) {
    menus_->SetUndoText(QString::fromStdString(item.text));
    undoAvailable_ = item.enabled;
    UpdateCommandStates();
}

void MainDialog::SaveEnabledChanged(bool) {
    journal_->Changed(controller_.GetCurrent());  // saved, opened or made current
    for (LOpenDocument& open : open_)
        UpdateWindowTitle(open);
    UpdateCommandStates();
}

void MainDialog::DocumentChanged(LOMFile& doc) {
    journal_->Changed(&doc);
    if (LOpenDocument* open = Find(&doc)) {
        open->model->NotifyAudioChanged();
        UpdateWindowTitle(*open);
    }
    UpdateCommandStates();
}

MainDialog::LOpenDocument* MainDialog::Find(const LOMFile* doc) {
    for (LOpenDocument& open : open_) {
        if (open.doc == doc)
            return &open;
    }
    return nullptr;
}

LDocumentModel* MainDialog::ModelOf(const LOMFile* doc) const {
    for (const LOpenDocument& open : open_) {
        if (open.doc == doc)
            return open.model.get();
    }
    return nullptr;
}

QMdiSubWindow* MainDialog::WindowOf(const LOMFile* doc) const {
    for (const LOpenDocument& open : open_) {
        if (open.doc == doc)
            return open.window;
    }
    return nullptr;
}

LDocumentModel* MainDialog::CurrentModel() const {
    return ModelOf(controller_.GetCurrent());
}

void MainDialog::AttachWindow(LOMFile& doc) {
    LOpenDocument open{&doc, std::make_unique<LDocumentModel>(doc), nullptr};
    LDocumentModel* model = open.model.get();
    connect(model, &LDocumentModel::selectionChanged, this, &MainDialog::UpdateCommandStates);
    LOMFile* key = &doc;
    // Everything the model announces (audio, cursor, selection, view) is journalled.
    for (auto signal : {&LDocumentModel::selectionChanged, &LDocumentModel::cursorChanged,
                        &LDocumentModel::viewChanged})
        connect(model, signal, this, [this, key]() { journal_->Moved(key); });
    connect(model, &LDocumentModel::audioChanged, this, [this, key]() { journal_->Changed(key); });
    journal_->Changed(key);
    auto* window = new LOMDocumentSubWindow([this, key]() { return QueryCloseDocument(*key); },
                                            [this, key]() { DetachWindow(key); });
    window->setWidget(new LOMFileWindow(*model));
    open.window = window;
    open_.push_back(std::move(open));
    UpdateWindowTitle(open_.back());
    // New windows step down and right from the top-left corner, as cascaded windows do.
    const QSize area = frame_.ClientArea()->viewport()->size();
    const QSize size(std::max(480, area.width() * 3 / 4), std::max(240, area.height() * 3 / 5));
    const int step = 26 * static_cast<int>((open_.size() - 1) % 8);
    frame_.ClientArea()->addSubWindow(window);
    window->setGeometry(step, step, size.width(), size.height());
    window->show();
    frame_.ClientArea()->setActiveSubWindow(window);
    UpdateWindowList();
    UpdateCommandStates();
}

void MainDialog::DetachWindow(LOMFile* doc) {
    const auto it = std::find_if(open_.begin(), open_.end(),
                                 [doc](const LOpenDocument& open) { return open.doc == doc; });
    if (it == open_.end())
        return;
    transport_->Forget(doc);
    journal_->Closed(doc);
    // The file window borrows the model, the model the document: take them down in that
    // order before the controller lets the document go.
    if (it->window)
        delete it->window->widget();
    open_.erase(it);
    controller_.CloseDocument(doc);
    UpdateWindowList();
    UpdateCommandStates();
}

void MainDialog::EvSubWindowActivated(QMdiSubWindow* window) {
    // A null window only means the frame lost the focus; the current document stays.
    if (!window)
        return;
    for (LOpenDocument& open : open_) {
        if (open.window == window && controller_.GetCurrent() != open.doc)
            controller_.SetCurrent(open.doc);
    }
    UpdateWindowList();
    UpdateCommandStates();
}

void MainDialog::UpdateWindowTitle(LOpenDocument& open) {
    if (!open.window)
        return;
    QString title = QString::fromStdString(open.doc->GetDisplayName());
    if (open.doc->modified)
        title += QLatin1Char('*');
    open.window->setWindowTitle(title);
}

void MainDialog::UpdateWindowList() {
    QStringList titles;
    int active = -1;
    const QList<QMdiSubWindow*> windows = frame_.ClientArea()->subWindowList();
    for (QMdiSubWindow* window : windows) {
        if (window == frame_.ClientArea()->currentSubWindow())
            active = static_cast<int>(titles.size());
        titles << window->windowTitle();
    }
    menus_->SetWindowItems(titles, active);
}

void MainDialog::CmActivateWindow(int index) {
    const QList<QMdiSubWindow*> windows = frame_.ClientArea()->subWindowList();
    if (index < 0 || index >= windows.size())
        return;
    QMdiSubWindow* window = windows.at(index);
    if (window->isMinimized())
        window->showNormal();
    frame_.ClientArea()->setActiveSubWindow(window);
}

void MainDialog::ReportEditResult(LEditResult result) {
    if (result == LEditResult::kChannelsDiffer)
        prompts_.Warn(QStringLiteral("Osmera"),
                      QStringLiteral("The clipboard holds audio with a different number of "
                                     "channels. Convert the file first and try again."));
    if (result == LEditResult::kTankFull)
        prompts_.Warn(QStringLiteral("Osmera"), QString::fromUtf8(kCutTankFullMessage));
}

bool MainDialog::JobFinished(int result, const std::string& message) {
    if (result == kJobFailed)
        prompts_.Warn(QStringLiteral("File Error"), QString::fromStdString(message));
    return result == kJobDone;
}

void MainDialog::NotAvailable(const QString& feature) {
    prompts_.Inform(QStringLiteral("Osmera"),
                    QStringLiteral("%1 is not available in this version.").arg(feature));
}

bool MainDialog::EvRunArguments(const LRunArguments& arguments) {
    bool firstFile = true;
    for (const QString& project : arguments.projects) {
        if (OpenProject(project))
            firstFile = false;
    }
    for (const QString& file : arguments.files) {
        if (OpenFile(file, firstFile))
            firstFile = false;
    }
    if (!arguments.batchScript.isEmpty())
        RunBatchScript(arguments.batchScript);
    if (arguments.install) {
        // Finishing the installation: the desktop entry, icon and file types for this user.
        QTimer::singleShot(500, this, [this]() {
            LTrace("MainDialog::EvRunArguments install");
            const LDesktopIntegrationResult result = InstallForUser();
            if (result.ok)
                frame_.statusBar()->showMessage(result.message, 10000);
            else
                prompts_.Warn(QStringLiteral("Osmera"), result.message);
        });
    }
    return !firstFile;
}

}  // namespace osmera
