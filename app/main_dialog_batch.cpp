// MainDialog: the Batch Converter window, and batch scripts run in the editor ("-batch
// SCRIPT", also when a second start hands one over). The script runs through the same runner as
// `osmera-cli run`, on the editor's own documents: it starts on the active file, files it opens or
// makes get windows, files it closes lose theirs.
#include <QFileInfo>
#include <QMdiSubWindow>
#include <QStatusBar>
#include <QTimer>
#include <set>

#include "app/batch_converter_window.h"
#include "app/document_journal_keeper.h"
#include "app/editor_transport.h"
#include "app/main_dialog.h"
#include "app/mdi_main_window.h"
#include "app/record_window.h"
#include "core/trace.h"
#include "display/document_model.h"
#include "effects/script_effect_commands.h"
#include "effects/script_runner.h"
#include "platform/qt_progress.h"

namespace osmera {

void MainDialog::CmBatchConverter() {
    // One window for the editor's life: shown again as the user left it.
    if (!batchConverter_)
        batchConverter_ = new LOMBatchConverter(&frame_);
    batchConverter_->show();
    batchConverter_->raise();
    batchConverter_->activateWindow();
}

void MainDialog::RunBatchScript(const QString& path) {
    if (busy_ > 0) {
        // A script handed over while a job runs waits for it to end.
        QTimer::singleShot(200, this, [this, path]() { RunBatchScript(path); });
        return;
    }
    const QString script = QFileInfo(path).absoluteFilePath();
    LTracef("MainDialog::RunBatchScript %s", script.toUtf8().constData());
    QStringList failures;  // "SCRIPT:LINE: message" and notes about the run
    QStringList printed;   // what commands print for the user (info, get, repairs)
    LScriptOutput output;
    output.print = [&printed](const std::string& line) { printed << QString::fromStdString(line); };
    output.report = [&failures](const std::string& line) {
        failures << QString::fromStdString(line);
    };
    output.note = [&failures](const std::string& line) {
        failures << QString::fromStdString(line);
    };

    std::set<const LOMFile*> before;
    for (const auto& doc : controller_.GetDocuments())
        before.insert(doc.get());
    int result;
    {
        ++busy_;
        LQtProgress progress(&frame_, QStringLiteral("Batch Script"));
        progress.SetLine(0, "Running " + QFileInfo(script).fileName().toStdString());
        SetScriptSettings(&settings_);
        const LScriptCommandTable table = MakeScriptCommandTable();
        LScriptRunner runner(table, controller_, progress, output);
        result = runner.Run(script.toStdString());
        SetScriptSettings(nullptr);
        --busy_;
    }

    // Files the script opened or made get windows, in the order they were opened; the
    // script's last current file ends up active.
    LOMFile* current = controller_.GetCurrent();
    for (const auto& doc : controller_.GetDocuments()) {
        if (!Find(doc.get()))
            AttachWindow(*doc);
    }
    if (current) {
        controller_.SetCurrent(current);
        if (QMdiSubWindow* window = WindowOf(current))
            frame_.ClientArea()->setActiveSubWindow(window);
    }
    // Every window shows its file's name and modified mark as the script left them.
    for (LOpenDocument& open : open_) {
        UpdateWindowTitle(open);
        if (before.count(open.doc))
            open.model->NotifyAudioChanged();
    }
    UpdateWindowList();
    UpdateCommandStates();

    const QString name = QFileInfo(script).fileName();
    if (result == kScriptCancelled) {
        frame_.statusBar()->showMessage(QStringLiteral("Batch script cancelled: %1").arg(name),
                                        5000);
    } else if (result != kScriptOk || !failures.isEmpty()) {
        if (failures.isEmpty())
            failures << QStringLiteral("The batch script %1 did not finish.").arg(name);
        prompts_.Warn(QStringLiteral("Batch Script"), failures.join(QLatin1Char('\n')));
    } else if (!printed.isEmpty()) {
        prompts_.Inform(QStringLiteral("Batch Script"), printed.join(QLatin1Char('\n')));
    } else {
        frame_.statusBar()->showMessage(QStringLiteral("Batch script done: %1").arg(name), 5000);
    }
}

void MainDialog::DocumentClosing(LOMFile& doc) {
    if (recordWindow_)
        recordWindow_->ForgetDocument(&doc);
    const auto it = std::find_if(open_.begin(), open_.end(),
                                 [&doc](const LOpenDocument& open) { return open.doc == &doc; });
    if (it == open_.end())
        return;
    transport_->Forget(&doc);
    journal_->Closed(&doc);
    // A script closed the file: its window goes without asking (the script said so), the
    // file window before the model it borrows, the model before the document.
    QPointer<QMdiSubWindow> window = it->window;
    if (window)
        delete window->widget();
    open_.erase(it);
    delete window.data();
}

}  // namespace osmera
