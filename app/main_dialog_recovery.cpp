// MainDialog: documents recovered after a crash (start_up_recovery.h).

#include "app/document_journal_keeper.h"
#include "app/main_dialog.h"
#include "display/document_model.h"

namespace osmera {

void MainDialog::OpenRecovered(std::unique_ptr<LOMFile> doc) {
    LOMFile& adopted = controller_.AdoptDocument(std::move(doc));
    // The window shows the document where it was: the model keeps the recovered view.
    const int32_t viewStart = adopted.viewStart, viewEnd = adopted.viewEnd;
    AttachWindow(adopted);
    if (LDocumentModel* model = ModelOf(&adopted)) {
        if (viewEnd > viewStart)
            model->SetView(viewStart, viewEnd);
    }
    controller_.UpdateUndoMenuItem();
    controller_.SetCurrent(&adopted);
    journal_->Changed(&adopted);
}

}  // namespace osmera
