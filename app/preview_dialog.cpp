#include "app/preview_dialog.h"

#include <QDialogButtonBox>
#include <QPushButton>
#include <algorithm>

#include "app/editor_transport.h"
#include "effects/effect_job.h"

namespace osmera {

LOMPreviewDialog::LOMPreviewDialog(QWidget* parent, LEditorTransport* transport, const LOMFile& doc)
    : QDialog(parent), transport_(transport), doc_(doc) {
    if (!transport_)
        return;
    button_ = new QPushButton(QStringLiteral("Preview"), this);
    button_->setObjectName(QStringLiteral("preview"));
    button_->setAutoDefault(false);
    connect(button_, &QPushButton::clicked, this, &LOMPreviewDialog::TogglePreview);
    connect(transport_, &LEditorTransport::stateChanged, this, &LOMPreviewDialog::EvTransportState);
}

LOMPreviewDialog::~LOMPreviewDialog() {
    StopPreview();
}

void LOMPreviewDialog::done(int result) {
    StopPreview();
    QDialog::done(result);
}

void LOMPreviewDialog::TogglePreview() {
    if (previewing_)
        StopPreview();
    else
        StartPreview();
}

LCutListAudio LOMPreviewDialog::SelectionCopy(int32_t& length) const {
    const int32_t start = std::max(doc_.selStart, 0);
    const int32_t end = std::max(doc_.selEnd, start);
    length = end - start;
    return CopyRange(doc_.audio, start, end);
}

void LOMPreviewDialog::ParameterChanged() {
    if (previewing_)
        StartPreview();
}

void LOMPreviewDialog::StartPreview() {
    if (!transport_)
        return;
    const LSourceRef source = BuildPreviewSource();
    if (!source) {
        StopPreview();
        return;
    }
    // The transport reports the old playback's end while the new one starts.
    starting_ = true;
    previewing_ = transport_->PlaySource(source);
    starting_ = false;
    UpdateButton();
}

void LOMPreviewDialog::StopPreview() {
    if (!previewing_)
        return;
    previewing_ = false;
    // Only our own playback: a document may have started playing since.
    if (transport_ && transport_->IsActive() && !transport_->PlayingModel())
        transport_->Stop();
    UpdateButton();
}

// The preview ended (its end reached, or another playback took the player over).
void LOMPreviewDialog::EvTransportState() {
    if (previewing_ && !starting_ && !(transport_->IsActive() && !transport_->PlayingModel())) {
        previewing_ = false;
        UpdateButton();
    }
}

void LOMPreviewDialog::UpdateButton() {
    if (button_)
        button_->setText(previewing_ ? QStringLiteral("Stop") : QStringLiteral("Preview"));
}

QDialogButtonBox* LOMPreviewDialog::OkCancelButtons() {
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    if (button_)
        buttons->addButton(button_, QDialogButtonBox::ActionRole);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    return buttons;
}

}  // namespace osmera
