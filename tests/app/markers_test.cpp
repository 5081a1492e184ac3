// Bookmarks and regions in the editor: Set Bookmark and Add Region ask a name and mark the
// document as one undo step each, the lists show the markers and a double-click goes there,
// an edit in place renames, the ruler draws them, and Assemble Regions makes a new file.
#include <gtest/gtest.h>

#include <QAction>
#include <QTest>
#include <QTreeWidget>

#include "app/command_menus.h"
#include "app/command_table.h"
#include "app/marker_list_dock.h"
#include "display/document_model.h"
#include "tests/app/app_fixture.h"

namespace osmera {
namespace {

using Editor = testing::EditorTest;

void DoubleClickRow(QTreeWidget* list, int row) {
    QTreeWidgetItem* item = list->topLevelItem(row);
    ASSERT_NE(item, nullptr);
    const QPoint at = list->visualItemRect(item).center();
    QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, at);
    QTest::mouseDClick(list->viewport(), Qt::LeftButton, {}, at);
}

TEST_F(Editor, SetBookmarkAddRegionAndTheListsGoThere) {
    LOMFile& doc = Open("a.wav");  // 8000 frames at 8000 Hz
    frame->show();
    doc.cursor = 2000;
    main->Dispatch(kIdSetBookmark);  // the offered name is kept
    EXPECT_EQ(prompts.asked.back(), "Set Bookmark: Bookmark 1");
    doc.cursor = 6000;
    prompts.textAnswer = "Chorus";
    main->Dispatch(kIdSetBookmark);
    prompts.textAnswer = std::nullopt;  // Cancel: nothing set
    main->Dispatch(kIdSetBookmark);
    ASSERT_EQ(doc.markers.Bookmarks().size(), 2u);
    EXPECT_EQ(doc.markers.Bookmarks()[1], (LBookmark{"Chorus", 6000}));
    EXPECT_EQ(main->Menus().Action(kIdUndo)->text(), "Undo Set Bookmark\tCtrl+Z");

    prompts.textAnswer = QString();
    doc.SetSelection(0, 0);
    main->Dispatch(kIdAddRegion);  // no selection: refused
    EXPECT_TRUE(doc.markers.Regions().empty());
    doc.SetSelection(4000, 1000);
    main->Dispatch(kIdAddRegion);
    ASSERT_EQ(doc.markers.Regions().size(), 1u);
    EXPECT_EQ(doc.markers.Regions()[0], (LRegion{"Region 1", 1000, 4000}));

    main->Dispatch(kIdRegionList);
    LOMMarkerDock* regions = main->MarkerDock(true);
    ASSERT_NE(regions, nullptr);
    ASSERT_EQ(regions->List()->topLevelItemCount(), 1);
    EXPECT_EQ(regions->List()->topLevelItem(0)->text(0), "Region 1");
    doc.SetSelection(0, 0);
    DoubleClickRow(regions->List(), 0);
    EXPECT_EQ(doc.selStart, 1000);
    EXPECT_EQ(doc.selEnd, 4000);
    EXPECT_EQ(doc.cursor, 1000);

    main->Dispatch(kIdBookmarkList);
    LOMMarkerDock* bookmarks = main->MarkerDock(false);
    ASSERT_NE(bookmarks, nullptr);
    ASSERT_EQ(bookmarks->List()->topLevelItemCount(), 2);
    DoubleClickRow(bookmarks->List(), 1);
    EXPECT_EQ(doc.cursor, 6000);

    // Renamed in place; Delete removes; both are undone like edits.
    bookmarks->List()->topLevelItem(0)->setText(0, "Intro");
    EXPECT_EQ(doc.markers.Bookmarks()[0].name, "Intro");
    bookmarks->List()->setCurrentItem(bookmarks->List()->topLevelItem(1));
    bookmarks->List()->setFocus();
    QTest::keyClick(bookmarks->List(), Qt::Key_Delete);
    EXPECT_EQ(doc.markers.Bookmarks().size(), 1u);
    EXPECT_EQ(bookmarks->List()->topLevelItemCount(), 1);
    main->Dispatch(kIdUndo);
    main->Dispatch(kIdUndo);
    EXPECT_EQ(doc.markers.Bookmarks()[0].name, "Bookmark 1");
    EXPECT_EQ(bookmarks->List()->topLevelItemCount(), 2);

    // A cut before the region moves it back, in the list too.
    const QString startText = regions->List()->topLevelItem(0)->text(1);
    doc.SetSelection(0, 500);
    main->Dispatch(kIdCut);
    EXPECT_EQ(doc.markers.Regions()[0].start, 500);
    EXPECT_NE(regions->List()->topLevelItem(0)->text(1), startText);

    // Select Region offers the regions.
    prompts.choiceAnswer = 0;
    doc.SetSelection(0, 0);
    main->Dispatch(kIdSelectRegion);
    EXPECT_EQ(prompts.offered.size(), 2);
    EXPECT_EQ(doc.selStart, 500);
    EXPECT_EQ(doc.selEnd, 3500);

    // Assemble Regions: a new document of the region's audio, with the region on it.
    main->Dispatch(kIdAssembleRegions);
    LOMFile* made = main->Controller().GetCurrent();
    ASSERT_NE(made, &doc);
    EXPECT_EQ(made->audio.GetLength(), 3000);
    EXPECT_EQ(made->markers.Regions(), (std::vector<LRegion>{{"Region 1", 0, 3000}}));

    // Split: the markers after the cursor go with their audio into the second file.
    main->Controller().SetCurrent(&doc);
    doc.cursor = 2000;
    main->Dispatch(kIdSplit);
    LOMFile* second = main->Controller().GetCurrent();
    ASSERT_NE(second, &doc);
    EXPECT_EQ(doc.markers.Regions(), (std::vector<LRegion>{{"Region 1", 500, 2000}}));
    EXPECT_EQ(second->markers.Regions(), (std::vector<LRegion>{{"Region 1", 0, 1500}}));
    EXPECT_EQ(second->markers.Bookmarks(), (std::vector<LBookmark>{{"Chorus", 3500}}));
}

}  // namespace
}  // namespace osmera
