#include "effects/effect_driver.h"

#include <gtest/gtest.h>

#include <memory>

#include "tests/edit/edit_test_support.h"

namespace osmera {
namespace {

using testing::RecordingProgress;

struct PlaybackLog : LDocumentListener {
    void StopPlayback() override { ++stops; }
    void StartPlayback(LOMFile&, int32_t position) override { starts.push_back(position); }
    int stops = 0;
    std::vector<int32_t> starts;
};

class DriverTest : public testing::CutTankTest {
  protected:
    // The documents hold cuts: they go before the fixture checks that none is left.
    void TearDown() override {
        controller_.reset();
        CutTankTest::TearDown();
    }
    LOMFile& Open(const std::vector<int32_t>& samples, uint8_t channels, int32_t rate = 44100) {
        LOMFile& doc = controller_->NewDocument(rate, channels);
        doc.audio = Written(samples, channels, rate);
        return doc;
    }
    LEffectResult Run(LEffectId id, std::vector<int32_t> values = {}) {
        LPresetEffectDialog dialog(std::move(values));
        LEffectDriver driver(*controller_, settings_, progress_, &log_);
        return driver.Run(id, &dialog);
    }

    LMemorySettingsStore settings_;
    PlaybackLog log_;
    RecordingProgress progress_;
    std::unique_ptr<LDocumentController> controller_ =
        std::make_unique<LDocumentController>(settings_, &log_);
};

TEST(EffectTable, ValidationMessagesAndBounds) {
    struct Case {
        LEffectId id;
        std::vector<int32_t> values;
        std::string message;
    };
    const Case cases[] = {
        {LEffectId::kAmplify, {400}, ""},
        {LEffectId::kAmplify, {401}, "Amplify Gain must be less than 400%. Please try again."},
        {LEffectId::kNormalize, {100}, ""},
        {LEffectId::kNormalize,
         {101},
         "Normailze Peak Level must be less than 100%. Please try again."},
        {LEffectId::kEcho,
         {3000, 50},
         "Echo time must be between 10 and 3000ms. Please try again."},
        {LEffectId::kEcho, {800, 100}, "Echo Gain must be less than 100%. Please try again."},
        {LEffectId::kEcho, {5, 100}, "Echo time must be between 10 and 3000ms. Please try again."},
        {LEffectId::kReverb, {100, 1000}, ""},
        {LEffectId::kSimpleSpeedPitch, {301}, "Speed Change Percent must be less than 300."},
        {LEffectId::kPasteMix,
         {101, 0, 250},
         "Mix Volume must be less than 100%. Please try again."},
    };
    for (const Case& c : cases)
        EXPECT_EQ(ValidateEffectParams(GetEffectInfo(c.id), c.values), c.message);
}

TEST_F(DriverTest, AmplifyWithoutSelectionCoversTheFileAndUndoRestoresIt) {
    LOMFile& doc = Open(std::vector<int32_t>(1000, 3000), 1);
    const auto entries = doc.audio.GetEntries();
    const LEffectResult r = Run(LEffectId::kAmplify, {200});
    EXPECT_EQ(r.status, LEffectStatus::kApplied);
    EXPECT_EQ(doc.audio.GetEntries()[0].gain, 33554400);
    EXPECT_EQ(settings_.GetInt("StoredValues", "AmplifyGain", 0), 200);
    EXPECT_EQ(log_.stops, 1);
    EXPECT_EQ(controller_->GetUndoMenuItem().text, "Undo Amplify\tCtrl+Z");
    controller_->CmUndo();
    EXPECT_EQ(doc.audio.GetEntries(), entries);
}

TEST_F(DriverTest, InvalidValuesAreRefusedWithTheTableMessage) {
    LOMFile& doc = Open(std::vector<int32_t>(100, 3000), 1);
    LPresetEffectDialog dialog({401});
    LEffectDriver driver(*controller_, settings_, progress_);
    const LEffectResult r = driver.Run(LEffectId::kAmplify, &dialog);
    EXPECT_EQ(r.status, LEffectStatus::kDialogCancelled);
    EXPECT_EQ(dialog.Title(), "Invalid value");
    EXPECT_EQ(dialog.Message(), "Amplify Gain must be less than 400%. Please try again.");
    EXPECT_EQ(doc.audio.GetEntries()[0].gain, kUnityGain);
    EXPECT_EQ(settings_.GetInt("StoredValues", "AmplifyGain", 100), 100);
    EXPECT_FALSE(controller_->GetUndoMenuItem().enabled);
}

TEST_F(DriverTest, PlaybackStartsOneSecondBeforeTheChange) {
    LOMFile& doc = Open(std::vector<int32_t>(44100 * 12, 100), 1);
    doc.SetSelection(22050, 30000);
    Run(LEffectId::kFadeIn);
    doc.SetSelection(441000, 450000);
    Run(LEffectId::kFadeOut);
    EXPECT_EQ(log_.starts, (std::vector<int32_t>{0, 441000 - 44100}));
    settings_.SetInt("Settings", "AutoPlaybackAfterEffects", 0);
    doc.SetSelection(441000, 450000);
    Run(LEffectId::kReverse);
    EXPECT_EQ(log_.starts.size(), 2u);
    EXPECT_EQ(doc.cursor, 441000);
}

TEST_F(DriverTest, RefusalsChangeNothing) {
    LOMFile& doc = Open(std::vector<int32_t>(44100, 100), 1);
    doc.SetSelection(100, 145);
    const LEffectResult r = Run(LEffectId::kManualClickPop);
    EXPECT_EQ(r.status, LEffectStatus::kRefused);
    EXPECT_EQ(r.title, "Osmera");
    EXPECT_EQ(r.message, kManualRepairTooLongMessage);
    EXPECT_FALSE(controller_->GetUndoMenuItem().enabled);
    doc.SetSelection(100, 144);
    EXPECT_EQ(Run(LEffectId::kManualClickPop).status, LEffectStatus::kApplied);
}

TEST_F(DriverTest, AFullTankIsRefusedBeforeTheUndoStep) {
    LOMFile& doc = Open(std::vector<int32_t>(1000, 100), 1);
    const std::vector<int32_t> before = ReadAll(doc.audio);
    auto& tank = LAudioCutTank::Instance();
    std::vector<int32_t> held;
    while (tank.HasFreeCuts())
        held.push_back(tank.GetNewRefAndIncRef());
    for (const LEffectId id : {LEffectId::kReverse, LEffectId::kAmplify}) {
        const LEffectResult r = Run(id, {200});
        EXPECT_EQ(r.status, LEffectStatus::kRefused);
        EXPECT_EQ(r.message, kCutTankFullMessage);
    }
    EXPECT_FALSE(controller_->GetUndoMenuItem().enabled);
    EXPECT_EQ(ReadAll(doc.audio), before);
    for (const int32_t ref : held)
        tank.DecRef(ref);
    EXPECT_EQ(Run(LEffectId::kReverse).status, LEffectStatus::kApplied);
}

TEST_F(DriverTest, EnvelopeReadsItsPointFile) {
    settings_.SetText("Folders", "Current", dir_.Path().string());
    LOMFile& doc = Open(std::vector<int32_t>(1000, 4096), 1);
    LEffectDriver driver(*controller_, settings_, progress_);
    EXPECT_EQ(driver.Run(LEffectId::kEnvelope).status, LEffectStatus::kJobFailed);  // no file
    ASSERT_TRUE(SavePointList(driver.EnvelopeFilePath(), {{0, 64}, {255, 64}}));
    EXPECT_EQ(driver.Run(LEffectId::kEnvelope).status, LEffectStatus::kApplied);
    EXPECT_EQ(ReadAll(doc.audio)[500], 2048);
}

}  // namespace
}  // namespace osmera
