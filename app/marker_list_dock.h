#pragma once
// The bookmark list and the region list: dockable windows beside the file windows that list
// the current document's markers (name, then position or start and end as time). The user
// double-clicks (or presses Enter on) a row to go there, edits a name in place, presses Delete
// to remove a row, and exports or imports a label file from the context menu. The dock only
// shows and asks: every change goes out as a signal and comes back through Show, so the
// controller can make it an undoable step.
//
// Ownership: a child of the frame; it borrows nothing (Show copies what it lists).
// Threads: GUI thread only.

#include <QDockWidget>
#include <cstdint>

#include "edit/marker_list.h"

class QTreeWidget;
class QTreeWidgetItem;

namespace osmera {

class LOMMarkerDock : public QDockWidget {
    Q_OBJECT
  public:
    enum class Kind { kBookmarks, kRegions };

    LOMMarkerDock(Kind kind, QWidget* parent = nullptr);

    // Lists `markers` of audio at `sampleRate` (null: no document, an empty list). Does
    // nothing when they are what is shown already, so an edit in place is not cut short.
    void Show(const LMarkerList* markers, uint32_t sampleRate);
    Kind GetKind() const { return kind_; }
    QTreeWidget* List() const { return list_; }

  signals:
    void activated(int index);
    void renamed(int index, const QString& name);
    void removeRequested(int index);
    void exportRequested();
    void importRequested();

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    void ShowMenu(const QPoint& at);
    void EvItemChanged(QTreeWidgetItem* item, int column);

    Kind kind_;
    QTreeWidget* list_;
    bool shownAny_ = false;
    LMarkerList shown_;
    uint32_t shownRate_ = 0;
    bool filling_ = false;
};

}  // namespace osmera
