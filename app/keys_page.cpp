#include "app/keys_page.h"

#include <QHBoxLayout>
#include <QHeaderView>
#include <QPushButton>
#include <QTreeWidget>
#include <QVBoxLayout>
#include <algorithm>

#include "app/key_codes.h"
#include "app/key_dialogs.h"

namespace osmera {

LKeysPage::LKeysPage(LUserPrompts& prompts, std::string path, QWidget* parent)
    : QWidget(parent), prompts_(prompts), path_(std::move(path)) {
    list_ = new QTreeWidget;
    list_->setObjectName(QStringLiteral("KeysList"));
    list_->setColumnCount(2);
    list_->setHeaderLabels({QStringLiteral("Key"), QStringLiteral("Commands")});
    list_->setRootIsDecorated(false);
    list_->setSelectionMode(QAbstractItemView::ExtendedSelection);
    list_->header()->resizeSection(0, 140);
    auto* add = new QPushButton(QStringLiteral("&Add..."));
    auto* remove = new QPushButton(QStringLiteral("&Remove"));
    connect(add, &QPushButton::clicked, this, &LKeysPage::CmAdd);
    connect(remove, &QPushButton::clicked, this, &LKeysPage::RemoveSelected);
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(add);
    buttons->addWidget(remove);
    buttons->addStretch(1);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(list_, 1);
    layout->addLayout(buttons);
    Load();
}

void LKeysPage::Load() {
    if (LoadKeyMacros(path_, macros_) == LKeysLoad::kWrongVersion)
        prompts_.Warn(QStringLiteral("File Error"), QString::fromUtf8(kKeysWrongVersionMessage));
    Fill();
}

bool LKeysPage::Save() {
    if (SaveKeyMacros(path_, macros_))
        return true;
    prompts_.Warn(QStringLiteral("File Error"), QString::fromUtf8(kKeysCannotCreateMessage));
    return false;
}

void LKeysPage::Fill() {
    list_->clear();
    for (const LKeyMacro& macro : macros_) {
        QStringList names;
        for (uint32_t id : macro.commands)
            names << CommandMenuName(id);
        auto* item = new QTreeWidgetItem(list_);
        item->setText(0, KeyText(macro.key));
        item->setText(1, names.join(QStringLiteral(", ")));
        item->setToolTip(1, names.join(QLatin1Char('\n')));
    }
}

void LKeysPage::AddMacro(uint32_t key, const std::vector<uint32_t>& commands) {
    auto it = std::find_if(macros_.begin(), macros_.end(),
                           [key](const LKeyMacro& m) { return m.key == key; });
    if (it == macros_.end()) {
        macros_.push_back(LKeyMacro{key, {}});
        it = macros_.end() - 1;
    }
    it->commands.insert(it->commands.end(), commands.begin(), commands.end());
    Fill();
}

void LKeysPage::CmAdd() {
    LKeyChangeDlg capture(this);
    if (capture.exec() != QDialog::Accepted || capture.Key() == 0)
        return;
    AddKeysCommandDlg choose(this);
    if (choose.exec() != QDialog::Accepted)
        return;
    const std::vector<uint32_t> commands = choose.Commands();
    if (!commands.empty())
        AddMacro(capture.Key(), commands);
}

void LKeysPage::RemoveSelected() {
    std::vector<int> rows;
    for (int i = 0; i < list_->topLevelItemCount(); ++i) {
        if (list_->topLevelItem(i)->isSelected())
            rows.push_back(i);
    }
    if (rows.empty())
        return;
    if (prompts_.AskYesNo(QStringLiteral("Confirm Remove"),
                          QStringLiteral("Remove selected key(s)?")) != LAnswer::kYes)
        return;
    for (auto row = rows.rbegin(); row != rows.rend(); ++row)
        macros_.erase(macros_.begin() + *row);
    Fill();
}

}  // namespace osmera
