#include "app/command_table.h"

#include <gtest/gtest.h>

#include <QAction>
#include <QMenu>
#include <set>

#include "app/command_menus.h"
#include "tests/app/app_fixture.h"

namespace osmera {
namespace {

// One pass over the table: identifiers and keys are unique, every key parses, every
// identifier reaches a handler and is found again by its word.
TEST(CommandTable, IdentifiersAndKeysAreUniqueAndHandled) {
    std::set<uint16_t> ids;
    std::set<QString> keys;
    for (const LCommandRow& row : CommandTable()) {
        SCOPED_TRACE(row.id);
        EXPECT_EQ(FindCommand(row.id), &row);
        EXPECT_TRUE(ids.insert(row.id).second);
        EXPECT_TRUE(MainDialog::HasHandler(row.id));
        EXPECT_EQ(FindCommandByName(QString::fromLatin1(row.name)), &row);
        if (*row.keys) {
            EXPECT_TRUE(keys.insert(QString::fromLatin1(row.keys)).second) << row.keys;
            EXPECT_EQ(Shortcut(row).count(), 1) << row.keys;
        }
    }
    EXPECT_EQ(Shortcut(*FindCommand(kIdZoomIn)), QKeySequence(Qt::CTRL | Qt::Key_Plus));
}

// The frame's actions are the table's: text, shortcut, identifier and word.
using MenuTest = testing::EditorTest;
TEST_F(MenuTest, MenusAreBuiltFromTheTable) {
    for (const LCommandRow& row : CommandTable()) {
        QAction* action = main->Menus().Action(row.id);
        ASSERT_NE(action, nullptr) << row.id;
        EXPECT_EQ(action->text(), MenuText(row));
        EXPECT_EQ(action->data().toUInt(), row.id);
        EXPECT_EQ(action->objectName(), QLatin1String(row.name));
        EXPECT_EQ(action->shortcut(), Shortcut(row));
    }
    auto* submenu = qobject_cast<QMenu*>(main->Menus().Action(kIdConvertMono)->parent());
    ASSERT_NE(submenu, nullptr);
    EXPECT_EQ(submenu->title(), "Convert Channels");
}

}  // namespace
}  // namespace osmera
