// Bookmarks and regions follow the audio through the editing commands and come back with it on
// undo.

#include "edit/marker_list.h"

#include <gtest/gtest.h>

#include "core/settings_store.h"
#include "edit/document_controller.h"
#include "tests/edit/edit_test_support.h"

namespace osmera {
namespace {

using testing::CutTankTest;
using testing::Ramp;

using MarkerTest = CutTankTest;

std::vector<int32_t> Positions(const LMarkerList& m) {
    std::vector<int32_t> out;
    for (const LBookmark& b : m.Bookmarks())
        out.push_back(b.position);
    return out;
}

std::vector<std::pair<int32_t, int32_t>> Ranges(const LMarkerList& m) {
    std::vector<std::pair<int32_t, int32_t>> out;
    for (const LRegion& r : m.Regions())
        out.emplace_back(r.start, r.end);
    return out;
}

struct Doc {
    explicit Doc(LCutListAudio audio) {
        settings.SetInt("Settings", "AutoPlaybackAfterEffects", 0);
        LOMFile& d = controller.NewDocument(44100, 1);
        d.audio = std::move(audio);
        // Bookmarks at 10, 50, 90; regions [20,40), [45,60), [70,100).
        for (int32_t p : {90, 10, 50})
            d.markers.AddBookmark(d.markers.NextBookmarkName(), p);
        d.markers.AddRegion("a", 20, 40);
        d.markers.AddRegion("b", 60, 45);
        d.markers.AddRegion("c", 70, 100);
    }
    LOMFile& doc() { return *controller.GetCurrent(); }
    LMemorySettingsStore settings;
    LDocumentController controller{settings};
};

TEST_F(MarkerTest, CutMovesLaterMarkersBackAndClipsOrDropsTheOnesInside) {
    Doc d(Written(Ramp(100, 1), 1));
    EXPECT_EQ(d.doc().markers.Bookmarks()[1].name, "Bookmark 3");  // sorted by position
    const LMarkerList before = d.doc().markers;
    d.doc().SetSelection(42, 65);  // holds bookmark 50 and the whole of region b
    ASSERT_EQ(d.controller.CmCut(), LEditResult::kDone);
    EXPECT_EQ(Positions(d.doc().markers), (std::vector<int32_t>{10, 42, 67}));
    EXPECT_EQ(Ranges(d.doc().markers),
              (std::vector<std::pair<int32_t, int32_t>>{{20, 40}, {47, 77}}));

    d.doc().SetSelection(30, 50);  // the end of region a and the start of c's old place
    ASSERT_EQ(d.controller.CmDelete(), LEditResult::kDone);
    EXPECT_EQ(Positions(d.doc().markers), (std::vector<int32_t>{10, 30, 47}));
    EXPECT_EQ(Ranges(d.doc().markers),
              (std::vector<std::pair<int32_t, int32_t>>{{20, 30}, {30, 57}}));

    d.controller.CmUndo();
    d.controller.CmUndo();
    EXPECT_EQ(d.doc().markers, before);
}

TEST_F(MarkerTest, PasteAndInsertSilenceMoveWhatLiesAtOrAfterTheInsertPoint) {
    Doc d(Written(Ramp(100, 1), 1));
    const LMarkerList before = d.doc().markers;
    d.doc().SetSelection(0, 5);
    ASSERT_EQ(d.controller.CmCopy(), LEditResult::kDone);
    d.doc().cursor = 50;  // on bookmark "Bookmark 3"; inside region b
    ASSERT_EQ(d.controller.CmPaste(), LEditResult::kDone);
    EXPECT_EQ(Positions(d.doc().markers), (std::vector<int32_t>{10, 55, 95}));
    EXPECT_EQ(Ranges(d.doc().markers),
              (std::vector<std::pair<int32_t, int32_t>>{{20, 40}, {45, 65}, {75, 105}}));

    // Silence inserted at the end of region a does not join it; at c's start moves c whole.
    ASSERT_EQ(d.controller.CmInsertSilence(40, 3), LEditResult::kDone);
    ASSERT_EQ(d.controller.CmInsertSilence(78, 2), LEditResult::kDone);
    EXPECT_EQ(Ranges(d.doc().markers),
              (std::vector<std::pair<int32_t, int32_t>>{{20, 40}, {48, 68}, {80, 110}}));

    // Paste over a selection of another length scales what lies inside it.
    d.doc().SetSelection(48, 68);  // exactly region b, 20 frames, replaced by 5
    ASSERT_EQ(d.controller.CmPasteOver(), LEditResult::kDone);
    EXPECT_EQ(Ranges(d.doc().markers),
              (std::vector<std::pair<int32_t, int32_t>>{{20, 40}, {48, 53}, {65, 95}}));

    for (int i = 0; i < 4; ++i)
        d.controller.CmUndo();
    EXPECT_EQ(d.doc().markers, before);
}

TEST_F(MarkerTest, TrimsKeepMarkersOnTheAudioTheyMark) {
    Doc d(Written(Ramp(100, 1), 1));
    d.doc().SetSelection(15, 80);
    ASSERT_EQ(d.controller.CmTrim(), LEditResult::kDone);
    EXPECT_EQ(Positions(d.doc().markers), (std::vector<int32_t>{0, 35, 65}));
    EXPECT_EQ(Ranges(d.doc().markers),
              (std::vector<std::pair<int32_t, int32_t>>{{5, 25}, {30, 45}, {55, 65}}));
    d.doc().cursor = 40;
    ASSERT_EQ(d.controller.CmTrimEnd(), LEditResult::kDone);
    EXPECT_EQ(Positions(d.doc().markers), (std::vector<int32_t>{0, 35}));
    EXPECT_EQ(Ranges(d.doc().markers),
              (std::vector<std::pair<int32_t, int32_t>>{{5, 25}, {30, 40}}));
}

TEST(MarkerListTest, ScalesMarkersInsideALengthChangeAndNamesNewOnes) {
    LMarkerList m;
    m.AddBookmark("x", 150);
    m.AddRegion("r", 100, 200);
    m.AddRegion("s", 300, 400);
    m.MoveAlong(100, 200, 300);  // the range doubled in length (a speed change to half)
    EXPECT_EQ(Positions(m), (std::vector<int32_t>{200}));
    EXPECT_EQ(Ranges(m), (std::vector<std::pair<int32_t, int32_t>>{{100, 300}, {400, 500}}));
    EXPECT_EQ(m.NextRegionName(), "Region 1");
    EXPECT_EQ(m.AddRegion("Region 1", 0, 5), 0);  // its index, also when the list grows
    EXPECT_EQ(m.NextRegionName(), "Region 2");
    EXPECT_EQ(m.AddRegion("empty", 7, 7), -1);
}

}  // namespace
}  // namespace osmera
