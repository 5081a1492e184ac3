#include "app/key_dialogs.h"

#include <QDialogButtonBox>
#include <QKeyEvent>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>

#include "app/command_table.h"
#include "app/key_codes.h"

namespace osmera {

LKeyChangeDlg::LKeyChangeDlg(QWidget* parent) : QDialog(parent) {
    setWindowTitle(QStringLiteral("Key"));
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(new QLabel(
        QStringLiteral("Press the key combination for the macro, then Enter to use it.")));
    keyText_ = new QLabel(QStringLiteral("(none)"));
    keyText_->setObjectName(QStringLiteral("KeyText"));
    keyText_->setAlignment(Qt::AlignCenter);
    QFont font = keyText_->font();
    font.setBold(true);
    keyText_->setFont(font);
    layout->addWidget(keyText_);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Cancel);
    // The buttons never take the keyboard: every key comes to the capture.
    for (QAbstractButton* button : buttons->buttons())
        button->setFocusPolicy(Qt::NoFocus);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    layout->addWidget(buttons);
    setFocusPolicy(Qt::StrongFocus);
}

bool LKeyChangeDlg::event(QEvent* event) {
    // Tab and the shortcuts of the frame's menus are keys to capture here too.
    if (event->type() == QEvent::ShortcutOverride) {
        event->accept();
        return true;
    }
    if (event->type() == QEvent::KeyPress) {
        keyPressEvent(static_cast<QKeyEvent*>(event));
        return true;
    }
    return QDialog::event(event);
}

void LKeyChangeDlg::keyPressEvent(QKeyEvent* event) {
    event->accept();
    const uint32_t vk = VirtualKeyOf(event->key(), (event->modifiers() & Qt::KeypadModifier) != 0);
    if (vk == kVkReturn) {
        if (key_ != 0)
            accept();
        else
            reject();
        return;
    }
    if (vk == 0 || vk == kVkShift || vk == kVkControl || vk == kVkMenu || vk == kVkEscape)
        return;
    key_ = vk | ModifierBitsOf(event->modifiers());
    keyText_->setText(KeyText(key_));
}

AddKeysCommandDlg::AddKeysCommandDlg(QWidget* parent) : QDialog(parent) {
    setWindowTitle(QStringLiteral("Add Commands"));
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(new QLabel(QStringLiteral("Select command(s) to add to the Macro.")));
    list_ = new QListWidget;
    list_->setSelectionMode(QAbstractItemView::ExtendedSelection);
    for (const LCommandRow& row : CommandTable()) {
        auto* item = new QListWidgetItem(CommandMenuName(row.id), list_);
        item->setData(Qt::UserRole, row.id);
    }
    layout->addWidget(list_);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    connect(list_, &QListWidget::itemDoubleClicked, this, &QDialog::accept);
    layout->addWidget(buttons);
    resize(360, 440);
}

std::vector<uint32_t> AddKeysCommandDlg::Commands() const {
    std::vector<uint32_t> ids;
    for (int i = 0; i < list_->count(); ++i) {
        if (list_->item(i)->isSelected())
            ids.push_back(list_->item(i)->data(Qt::UserRole).toUInt());
    }
    return ids;
}

QString CommandMenuName(uint32_t id) {
    const LCommandRow* row = id <= 0xffff ? FindCommand(static_cast<uint16_t>(id)) : nullptr;
    if (!row)
        return QString::number(id);
    QString text = QString::fromUtf8(row->text).trimmed();
    text.remove(QLatin1Char('&'));
    if (row->submenu[0] != '\0')
        text = QString::fromUtf8(row->submenu) + QStringLiteral(" > ") + text;
    return text;
}

}  // namespace osmera
