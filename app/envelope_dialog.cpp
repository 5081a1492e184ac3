#include "app/envelope_dialog.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include "display/envelope_editor.h"
#include "edit/src_cut_list_audio.h"
#include "effects/effect_job.h"
#include "effects/level_effects.h"

namespace osmera {

LEnvelopeDialog::LEnvelopeDialog(QWidget* parent, LUserPrompts& prompts,
                                 LEditorTransport* transport, const LOMFile& doc)
    : LOMPreviewDialog(parent, transport, doc),
      prompts_(prompts),
      editor_(new LEnvelopeEditor(this)) {
    setWindowTitle(QStringLiteral("Envelope"));
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(new QLabel(QStringLiteral("Click to add a point, drag a point to move it, "
                                                "right-click it or press Delete to remove it."),
                                 this));
    layout->addWidget(editor_, 1);
    QDialogButtonBox* buttons = OkCancelButtons();
    QPushButton* reset = buttons->addButton(QStringLiteral("Reset"), QDialogButtonBox::ResetRole);
    reset->setObjectName(QStringLiteral("reset"));
    layout->addWidget(buttons);
    connect(reset, &QPushButton::clicked, this, &LEnvelopeDialog::Reset);
    connect(editor_, &LEnvelopeEditor::pointsChanged, this, &LEnvelopeDialog::ParameterChanged);
    buttons->button(QDialogButtonBox::Ok)->setDefault(true);
    editor_->setFocus();
}

// The envelope written into cuts of the copy's own: the document is not touched.
LSourceRef LEnvelopeDialog::BuildPreviewSource() {
    int32_t length = 0;
    LCutListAudio copy = SelectionCopy(length);
    LNullProgress quiet;
    const LEffectRequest request{&copy, length, 0, {}};
    if (Envelope(quiet, request, editor_->Points(), "") != kJobDone)
        return {};
    return LSourceRef(new LSRCCutListAudio(copy));
}

void LEnvelopeDialog::Reset() {
    editor_->SetPoints(FlatPoints());
}

bool LEnvelopeDialog::Ask(const LEffectInfo&, std::vector<int32_t>&) {
    return true;
}

void LEnvelopeDialog::ShowMessage(const std::string& title, const std::string& text) {
    prompts_.Warn(QString::fromStdString(title), QString::fromStdString(text));
}

LPointsAnswer LEnvelopeDialog::AskPoints(const LEffectInfo& info, const LOMFile& doc,
                                         LPointList& points) {
    setWindowTitle(QString::fromUtf8(info.command));
    editor_->SetRange(doc.audio, doc.selStart, doc.selEnd);
    editor_->SetPoints(points);
    if (exec() != QDialog::Accepted)
        return LPointsAnswer::kCancel;
    points = editor_->Points();
    return LPointsAnswer::kOk;
}

}  // namespace osmera
