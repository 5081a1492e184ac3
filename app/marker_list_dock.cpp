#include "app/marker_list_dock.h"

#include <QHeaderView>
#include <QKeyEvent>
#include <QMenu>
#include <QTreeWidget>
#include <vector>

#include "app/edit_dialogs.h"
#include "core/sound_time.h"

namespace osmera {
namespace {

QString TimeOf(int32_t frames, uint32_t rate) {
    return TimeText(LSoundTime(frames, static_cast<int32_t>(rate)).GetMilliseconds());
}

}  // namespace

LOMMarkerDock::LOMMarkerDock(Kind kind, QWidget* parent)
    : QDockWidget(
          kind == Kind::kBookmarks ? QStringLiteral("Bookmarks") : QStringLiteral("Regions"),
          parent),
      kind_(kind),
      list_(new QTreeWidget(this)) {
    setObjectName(kind == Kind::kBookmarks ? QStringLiteral("bookmarkList")
                                           : QStringLiteral("regionList"));
    if (kind == Kind::kBookmarks)
        list_->setHeaderLabels({QStringLiteral("Name"), QStringLiteral("Position")});
    else
        list_->setHeaderLabels(
            {QStringLiteral("Name"), QStringLiteral("Start"), QStringLiteral("End")});
    list_->setRootIsDecorated(false);
    list_->setSelectionMode(QAbstractItemView::SingleSelection);
    list_->setEditTriggers(QAbstractItemView::EditKeyPressed | QAbstractItemView::SelectedClicked);
    list_->setContextMenuPolicy(Qt::CustomContextMenu);
    list_->header()->setStretchLastSection(false);
    list_->header()->setSectionResizeMode(0, QHeaderView::Stretch);
    list_->installEventFilter(this);
    setWidget(list_);
    connect(list_, &QTreeWidget::itemDoubleClicked, this, [this](QTreeWidgetItem* item, int) {
        emit activated(list_->indexOfTopLevelItem(item));
    });
    connect(list_, &QTreeWidget::itemChanged, this, &LOMMarkerDock::EvItemChanged);
    connect(list_, &QTreeWidget::customContextMenuRequested, this, &LOMMarkerDock::ShowMenu);
}

void LOMMarkerDock::Show(const LMarkerList* markers, uint32_t sampleRate) {
    const LMarkerList none;
    const LMarkerList& now = markers ? *markers : none;
    if (shownAny_ && now == shown_ && sampleRate == shownRate_)
        return;
    shownAny_ = true;
    shown_ = now;
    shownRate_ = sampleRate;
    const uint32_t rate = sampleRate ? sampleRate : 1;
    std::vector<QStringList> rows;
    if (kind_ == Kind::kBookmarks) {
        for (const LBookmark& mark : now.Bookmarks())
            rows.push_back({QString::fromStdString(mark.name), TimeOf(mark.position, rate)});
    } else {
        for (const LRegion& region : now.Regions())
            rows.push_back({QString::fromStdString(region.name), TimeOf(region.start, rate),
                            TimeOf(region.end, rate)});
    }
    // Rows are rewritten in place (this may run inside the list's own signal for one of
    // them, a rename), added or removed only at the end.
    filling_ = true;
    while (list_->topLevelItemCount() > static_cast<int>(rows.size()))
        delete list_->takeTopLevelItem(list_->topLevelItemCount() - 1);
    for (size_t i = 0; i < rows.size(); ++i) {
        QTreeWidgetItem* item = list_->topLevelItem(static_cast<int>(i));
        if (!item) {
            item = new QTreeWidgetItem(list_);
            item->setFlags(item->flags() | Qt::ItemIsEditable);
        }
        for (int c = 0; c < rows[i].size(); ++c)
            item->setText(c, rows[i][c]);
    }
    filling_ = false;
}

void LOMMarkerDock::EvItemChanged(QTreeWidgetItem* item, int column) {
    if (filling_ || column != 0)
        return;
    const int index = list_->indexOfTopLevelItem(item);
    const QString name = item->text(0).trimmed();
    const size_t count =
        kind_ == Kind::kBookmarks ? shown_.Bookmarks().size() : shown_.Regions().size();
    if (index < 0 || static_cast<size_t>(index) >= count)
        return;
    const std::string& old = kind_ == Kind::kBookmarks
                                 ? shown_.Bookmarks()[static_cast<size_t>(index)].name
                                 : shown_.Regions()[static_cast<size_t>(index)].name;
    if (name.isEmpty() || name.toStdString() == old) {
        // No name, or the same one: the old text comes back and nothing changes.
        filling_ = true;
        item->setText(0, QString::fromStdString(old));
        filling_ = false;
        return;
    }
    emit renamed(index, name);
}

bool LOMMarkerDock::eventFilter(QObject* watched, QEvent* event) {
    // Keys typed into a name being edited go to its editor, not to the list.
    if (watched == list_ && event->type() == QEvent::KeyPress) {
        const auto* key = static_cast<QKeyEvent*>(event);
        const int index = list_->indexOfTopLevelItem(list_->currentItem());
        if (index >= 0 && key->key() == Qt::Key_Delete) {
            emit removeRequested(index);
            return true;
        }
        if (index >= 0 && (key->key() == Qt::Key_Return || key->key() == Qt::Key_Enter)) {
            emit activated(index);
            return true;
        }
    }
    return QDockWidget::eventFilter(watched, event);
}

void LOMMarkerDock::ShowMenu(const QPoint& at) {
    QMenu menu(this);
    QTreeWidgetItem* item = list_->itemAt(at);
    if (item) {
        const int index = list_->indexOfTopLevelItem(item);
        menu.addAction(QStringLiteral("Go To"), this, [this, index] { emit activated(index); });
        menu.addAction(QStringLiteral("Rename"), this, [this, item] { list_->editItem(item, 0); });
        menu.addAction(QStringLiteral("Delete"), this,
                       [this, index] { emit removeRequested(index); });
        menu.addSeparator();
    }
    menu.addAction(QStringLiteral("Export Label File..."), this,
                   [this] { emit exportRequested(); });
    menu.addAction(QStringLiteral("Import Label File..."), this,
                   [this] { emit importRequested(); });
    menu.exec(list_->viewport()->mapToGlobal(at));
}

}  // namespace osmera
