// Effects that change the length move the document's markers with the audio they mark.

#include <gtest/gtest.h>

#include <memory>

#include "effects/effect_driver.h"
#include "tests/edit/edit_test_support.h"

namespace osmera {
namespace {

class EffectMarkersTest : public testing::CutTankTest {
  protected:
    void TearDown() override {
        controller_.reset();
        CutTankTest::TearDown();
    }
    LEffectResult Run(LEffectId id, std::vector<int32_t> values = {}) {
        LPresetEffectDialog dialog(std::move(values));
        LEffectDriver driver(*controller_, settings_, progress_, nullptr);
        return driver.Run(id, &dialog);
    }
    // 1000 frames of silence, 2000 loud frames of distinct values, 1000 of silence.
    LOMFile& OpenQuietEnds() {
        std::vector<int32_t> samples(4000, 0);
        for (int i = 0; i < 2000; ++i)
            samples[1000 + i] = 200000 + i * 16 * (i % 2 ? 1 : -1);
        LOMFile& doc = controller_->NewDocument(8000, 1);
        doc.audio = Written(samples, 1, 8000);
        doc.markers.AddBookmark("b", 1500);
        doc.markers.AddRegion("r", 1200, 2500);
        doc.markers.AddRegion("tail", 3500, 4000);
        return doc;
    }

    LMemorySettingsStore settings_;
    testing::RecordingProgress progress_;
    std::unique_ptr<LDocumentController> controller_ =
        std::make_unique<LDocumentController>(settings_);
};

TEST_F(EffectMarkersTest, AutoTrimKeepsMarkersOnTheirSoundAndDropsTheTrimmedOnes) {
    LOMFile& doc = OpenQuietEnds();
    const std::vector<int32_t> before = ReadAll(doc.audio);
    ASSERT_EQ(Run(LEffectId::kAutoTrim).status, LEffectStatus::kApplied);
    ASSERT_LT(doc.audio.GetLength(), 4000);
    ASSERT_EQ(doc.markers.Bookmarks().size(), 1u);
    const int32_t at = doc.markers.Bookmarks()[0].position;
    EXPECT_EQ(ReadList(doc.audio, at, 1)[0], before[1500]);
    ASSERT_EQ(doc.markers.Regions().size(), 1u);  // the one in the trimmed tail is gone
    EXPECT_EQ(ReadList(doc.audio, doc.markers.Regions()[0].start, 1)[0], before[1200]);
    EXPECT_EQ(doc.markers.Regions()[0].end - doc.markers.Regions()[0].start, 1300);
    controller_->CmUndo();
    EXPECT_EQ(doc.markers.Bookmarks()[0].position, 1500);
    EXPECT_EQ(doc.markers.Regions().size(), 2u);
}

TEST_F(EffectMarkersTest, ASpeedChangeScalesTheMarkersInsideAndMovesTheLaterOnes) {
    LOMFile& doc = OpenQuietEnds();
    doc.SetSelection(1000, 3000);
    ASSERT_EQ(Run(LEffectId::kSimpleSpeedPitch, {200}).status, LEffectStatus::kApplied);
    const int32_t shrunk = 4000 - doc.audio.GetLength();  // about 1000
    ASSERT_GT(shrunk, 900);
    ASSERT_LT(shrunk, 1100);
    const int32_t inner = 3000 - shrunk - 1000;
    EXPECT_EQ(doc.markers.Bookmarks()[0].position, 1000 + 500 * inner / 2000);
    EXPECT_EQ(doc.markers.Regions()[1].start, 3500 - shrunk);
}

}  // namespace
}  // namespace osmera
