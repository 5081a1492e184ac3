// The filter, delay, dynamics and pan effects run through the effect driver and scripts.
#include <gtest/gtest.h>

#include <memory>

#include "effects/effect_driver.h"
#include "effects/filter_effects.h"
#include "tests/edit/edit_test_support.h"

namespace osmera {
namespace {

using testing::RecordingProgress;

class SignalDriverTest : public testing::CutTankTest {
  protected:
    void TearDown() override {
        controller_.reset();
        CutTankTest::TearDown();
    }
    LOMFile& Open(int32_t frames, uint8_t channels) {
        for (int32_t i = 0; i < frames * channels; ++i)
            samples_.push_back((i * 7919) % 200001 - 100000);
        LOMFile& doc = controller_->NewDocument(44100, channels);
        doc.audio = Written(samples_, channels);
        return doc;
    }
    LEffectResult Run(LEffectId id, std::vector<int32_t> values = {}, int cancelAt = 0,
                      LEffectDriver* driver = nullptr) {
        progress_ = RecordingProgress(cancelAt);
        LPresetEffectDialog dialog(std::move(values));
        LEffectDriver own(*controller_, settings_, progress_);
        return (driver ? *driver : own).Run(id, &dialog);
    }
    LEffectDriver MakeDriver() { return LEffectDriver(*controller_, settings_, progress_); }

    std::vector<int32_t> samples_;
    LMemorySettingsStore settings_;
    RecordingProgress progress_;
    std::unique_ptr<LDocumentController> controller_ =
        std::make_unique<LDocumentController>(settings_);
};

TEST_F(SignalDriverTest, EchoTailLengthensTheRangeAndStopsAtTheFollowingAudio) {
    LOMFile& doc = Open(44100, 1);
    doc.SetSelection(0, 4410);
    ASSERT_EQ(Run(LEffectId::kEcho, {100, 10}).status, LEffectStatus::kApplied);
    // Three repeats of 100 ms reach -60 dB at 10 %: 4410 * 3 frames of tail.
    EXPECT_EQ(doc.audio.GetLength(), 44100 + 3 * 4410);
    EXPECT_EQ(ReadList(doc.audio, 4410 * 4, 44100 - 4410),
              std::vector<int32_t>(samples_.begin() + 4410, samples_.end()));
}

TEST_F(SignalDriverTest, CompressorIndexPastThePresetsChangesNothing) {
    LOMFile& doc = Open(20000, 1);
    settings_.SetInt("StoredValues", "CompressorRatio", 8);
    EXPECT_EQ(Run(LEffectId::kCompressor).status, LEffectStatus::kDialogCancelled);
    EXPECT_FALSE(controller_->GetUndoMenuItem().enabled);
    EXPECT_EQ(ReadAll(doc.audio), samples_);
}

TEST_F(SignalDriverTest, StereoPanRefusesMonoAndEqualizerReadsItsFile) {
    Open(20000, 1);
    const LEffectResult r = Run(LEffectId::kStereoPan, {0});
    EXPECT_EQ(r.status, LEffectStatus::kRefused);
    EXPECT_EQ(r.title, "Convert to Stereo Required");

    // A file of gains that cuts everything it can: the audio changes; a flat one (or none)
    // leaves it exactly.
    settings_.SetText("Folders", "Current", dir_.Path().string());
    LEffectDriver driver = MakeDriver();
    ASSERT_TRUE(SaveEqualizerGains(driver.EqualizerFilePath(), EqualizerPreset("flat")));
    ASSERT_EQ(Run(LEffectId::kEqualizer, {}, 0, &driver).status, LEffectStatus::kApplied);
    EXPECT_EQ(ReadAll(controller_->GetCurrent()->audio), samples_);
    ASSERT_TRUE(SaveEqualizerGains(driver.EqualizerFilePath(),
                                   std::vector<int32_t>(kEqualizerBands, -120)));
    ASSERT_EQ(Run(LEffectId::kEqualizer, {}, 0, &driver).status, LEffectStatus::kApplied);
    EXPECT_NE(ReadAll(controller_->GetCurrent()->audio), samples_);
}

}  // namespace
}  // namespace osmera
