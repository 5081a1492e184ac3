#pragma once
// LCommandMenus: the frame's menus, tool bar and shortcuts, built in one pass from the
// command table. Every action carries its command identifier (QAction::data), its word
// (objectName), its menu text, its shortcut and its description (statusTip); triggering
// or highlighting one is reported by identifier. Enabling is one call with the current
// state (LCommandNeeds flags that hold now).
//
// The dynamic items live here too: the recent files of the File menu (1050 onward, with
// the separator 1061 before Exit) and the list of windows of the Window menu (5017
// onward, the active one checked).
//
// Ownership: the actions and menus are children of the frame. Threads: GUI thread only.

#include <QObject>
#include <QStringList>
#include <map>

#include "app/command_table.h"

class QAction;
class QMainWindow;
class QMenu;
class QToolBar;

namespace osmera {

class LCommandMenus : public QObject {
    Q_OBJECT
  public:
    explicit LCommandMenus(QMainWindow& frame);

    QAction* Action(uint16_t id) const;
    QMenu* Menu(LMenu menu) const;
    QToolBar* ToolBar() const { return toolBar_; }
    // Every action of the table, in table order.
    const std::map<uint16_t, QAction*>& Actions() const { return actions_; }

    // Enables each table command whose needs are all in `state`.
    void ApplyStates(uint32_t state);
    void SetUndoText(const QString& text);
    // Rebuilds the recent items from `texts` (menu order, already numbered).
    void SetRecentFiles(const QStringList& texts);
    QList<QAction*> RecentActions() const { return recent_; }
    // Rebuilds the window list; `active` is the index of the checked item (-1: none).
    void SetWindowItems(const QStringList& titles, int active);
    QList<QAction*> WindowActions() const { return windows_; }

  signals:
    void commandTriggered(uint16_t id);
    void commandHovered(uint16_t id);

  private:
    QAction* NewDynamicAction(QMenu* menu, uint16_t id, const QString& text);
    void BuildToolBar(QMainWindow& frame);

    std::map<uint16_t, QAction*> actions_;
    std::map<LMenu, QMenu*> menus_;
    QToolBar* toolBar_ = nullptr;
    QAction* recentSeparator_ = nullptr;  // 1061, before Exit
    QAction* windowSeparator_ = nullptr;  // before the window list
    QList<QAction*> recent_;
    QList<QAction*> windows_;
};

}  // namespace osmera
