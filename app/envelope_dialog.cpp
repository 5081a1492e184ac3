#include "app/envelope_dialog.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include "display/envelope_editor.h"

namespace osmera {

LEnvelopeDialog::LEnvelopeDialog(QWidget* parent, LUserPrompts& prompts)
    : QDialog(parent), prompts_(prompts), editor_(new LEnvelopeEditor(this)) {
    setWindowTitle(QStringLiteral("Envelope"));
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(new QLabel(QStringLiteral("Click to add a point, drag a point to move it, "
                                                "right-click it or press Delete to remove it."),
                                 this));
    layout->addWidget(editor_, 1);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    QPushButton* reset = buttons->addButton(QStringLiteral("Reset"), QDialogButtonBox::ResetRole);
    reset->setObjectName(QStringLiteral("reset"));
    layout->addWidget(buttons);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    connect(reset, &QPushButton::clicked, this, &LEnvelopeDialog::Reset);
    buttons->button(QDialogButtonBox::Ok)->setDefault(true);
    editor_->setFocus();
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
