#include "app/command_menus.h"

#include <QActionGroup>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>
#include <QToolBar>

#include "app/tool_icons.h"

namespace osmera {

namespace {

constexpr LMenu kMenuOrder[] = {LMenu::kFile,  LMenu::kEdit,      LMenu::kEffects, LMenu::kControl,
                                LMenu::kTools, LMenu::kBookmarks, LMenu::kWindow,  LMenu::kHelp};

// The tool bar's buttons, left to right; 0 is a gap.
constexpr uint16_t kToolBarIds[] = {kIdNewFile, kIdOpenFile, kIdSaveFile, 0,
                                    kIdCut,     kIdCopy,     kIdPaste,    kIdUndo,
                                    0,          kIdPlay,     kIdStop,     kIdRecord,
                                    0,          kIdZoomIn,   kIdZoomOut,  kIdZoomToSelection,
                                    kIdZoomFull};

}  // namespace

LCommandMenus::LCommandMenus(QMainWindow& frame) : QObject(&frame) {
    QMenuBar* bar = frame.menuBar();
    for (LMenu menu : kMenuOrder) {
        QMenu* m = bar->addMenu(MenuTitle(menu));
        menus_[menu] = m;
    }
    std::map<QString, QMenu*> submenus;
    auto* displayModes = new QActionGroup(this);
    for (const LCommandRow& row : CommandTable()) {
        QMenu* menu = menus_[row.menu];
        if (row.separatorBefore)
            menu->addSeparator();
        if (row.id == kIdExit)
            recentSeparator_ = menu->addSeparator();
        if (*row.submenu) {
            QMenu*& sub = submenus[QString::fromUtf8(row.submenu)];
            if (!sub)
                sub = menu->addMenu(QString::fromUtf8(row.submenu));
            menu = sub;
        }
        QAction* action = menu->addAction(MenuText(row));
        action->setData(row.id);
        action->setObjectName(QString::fromLatin1(row.name));
        action->setStatusTip(QString::fromUtf8(row.description));
        if (*row.keys)
            action->setShortcut(Shortcut(row));
        if (row.id == kIdDisplayPlusMinus || row.id == kIdDisplayLeftRight) {
            action->setCheckable(true);
            action->setChecked(row.id == kIdDisplayPlusMinus);
            displayModes->addAction(action);
        }
        const uint16_t id = row.id;
        connect(action, &QAction::triggered, this, [this, id]() { emit commandTriggered(id); });
        connect(action, &QAction::hovered, this, [this, id]() { emit commandHovered(id); });
        actions_[id] = action;
    }
    recentSeparator_->setVisible(false);
    windowSeparator_ = menus_[LMenu::kWindow]->addSeparator();
    windowSeparator_->setVisible(false);
    BuildToolBar(frame);
}

void LCommandMenus::BuildToolBar(QMainWindow& frame) {
    toolBar_ = frame.addToolBar(QStringLiteral("Tools"));
    toolBar_->setObjectName(QStringLiteral("MainToolBar"));
    toolBar_->setMovable(false);
    toolBar_->setIconSize(QSize(22, 22));
    for (uint16_t id : kToolBarIds) {
        if (id == 0) {
            toolBar_->addSeparator();
            continue;
        }
        QAction* action = actions_.at(id);
        action->setIcon(ToolIcon(id, frame.style()));
        toolBar_->addAction(action);
    }
}

QAction* LCommandMenus::Action(uint16_t id) const {
    const auto it = actions_.find(id);
    return it == actions_.end() ? nullptr : it->second;
}

QMenu* LCommandMenus::Menu(LMenu menu) const {
    return menus_.at(menu);
}

void LCommandMenus::ApplyStates(uint32_t state) {
    for (const LCommandRow& row : CommandTable())
        actions_.at(row.id)->setEnabled((row.needs & ~state) == 0);
}

void LCommandMenus::SetUndoText(const QString& text) {
    actions_.at(kIdUndo)->setText(text);
}

QAction* LCommandMenus::NewDynamicAction(QMenu* menu, uint16_t id, const QString& text) {
    auto* action = new QAction(text, menu);
    action->setData(id);
    action->setStatusTip(CommandDescription(id));
    connect(action, &QAction::triggered, this, [this, id]() { emit commandTriggered(id); });
    connect(action, &QAction::hovered, this, [this, id]() { emit commandHovered(id); });
    return action;
}

void LCommandMenus::SetRecentFiles(const QStringList& texts) {
    QMenu* file = menus_.at(LMenu::kFile);
    qDeleteAll(recent_);
    recent_.clear();
    for (int k = 0; k < texts.size() && kRecentFileFirstId + k <= kRecentFileLastId; ++k) {
        QAction* action =
            NewDynamicAction(file, static_cast<uint16_t>(kRecentFileFirstId + k), texts.at(k));
        file->insertAction(recentSeparator_, action);
        recent_ << action;
    }
    recentSeparator_->setVisible(!recent_.isEmpty());
}

void LCommandMenus::SetWindowItems(const QStringList& titles, int active) {
    QMenu* window = menus_.at(LMenu::kWindow);
    qDeleteAll(windows_);
    windows_.clear();
    for (int k = 0; k < titles.size() && kWindowItemFirstId + k <= kWindowItemLastId; ++k) {
        QAction* action = NewDynamicAction(window, static_cast<uint16_t>(kWindowItemFirstId + k),
                                           QStringLiteral("&%1 %2").arg(k + 1).arg(titles.at(k)));
        action->setCheckable(true);
        action->setChecked(k == active);
        window->addAction(action);
        windows_ << action;
    }
    windowSeparator_->setVisible(!windows_.isEmpty());
}

}  // namespace osmera
