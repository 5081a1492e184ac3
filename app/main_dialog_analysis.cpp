// MainDialog: Frequency Analysis (FFT) and Temporal Frequency Analysis (TFFT). Each opens a
// child window of the frame beside the file's own, on the current document's view-model;
// it closes with the document.
#include <QMdiSubWindow>

#include "app/command_table.h"
#include "app/main_dialog.h"
#include "app/mdi_main_window.h"
#include "display/document_model.h"
#include "display/spectrogram_window.h"
#include "display/spectrum_window.h"

namespace osmera {

namespace {

// A child window of the frame holding `content`, titled after the command and the file,
// whose content is deleted at once when `model` goes (it borrows the model).
void ShowAnalysisWindow(LMDIMainWindow& frame, LDocumentModel& model, QWidget* content,
                        const QString& title, QSize size) {
    auto* window = new QMdiSubWindow;
    window->setAttribute(Qt::WA_DeleteOnClose);
    window->setWidget(content);
    window->setWindowTitle(title);
    // The content goes at once; the frame itself closes the usual way (later), so that
    // loops over the frame's windows never meet a deleted one.
    QObject::connect(&model, &QObject::destroyed, window, [window]() {
        delete window->widget();
        window->close();
    });
    frame.ClientArea()->addSubWindow(window);
    window->resize(size);
    window->show();
    frame.ClientArea()->setActiveSubWindow(window);
}

}  // namespace

void MainDialog::CmFft() {
    LDocumentModel* model = CurrentModel();
    QMdiSubWindow* file = model ? WindowOf(&model->Document()) : nullptr;
    if (!model || !file)
        return;
    const QString title = FeatureName(*FindCommand(kIdFft)) + " - " + file->windowTitle();
    ShowAnalysisWindow(frame_, *model, new LOMSpectrumWindow(*model), title, QSize(760, 420));
}

void MainDialog::CmTfft() {
    LDocumentModel* model = CurrentModel();
    QMdiSubWindow* file = model ? WindowOf(&model->Document()) : nullptr;
    if (!model || !file)
        return;
    const QString title = FeatureName(*FindCommand(kIdTfft)) + " - " + file->windowTitle();
    ShowAnalysisWindow(frame_, *model, new LOMSpectrogramWindow(*model), title, QSize(820, 420));
}

}  // namespace osmera
