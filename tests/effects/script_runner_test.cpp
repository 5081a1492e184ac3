#include "effects/script_runner.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

#include "core/settings_store.h"
#include "effects/script_effect_commands.h"
#include "tests/edit/edit_test_support.h"

namespace osmera {
namespace {

// The runner as the editor uses it: no terminal, the caller's controller, every line of
// text collected by the caller.
class ScriptRunnerTest : public testing::CutTankTest {
  protected:
    int Run(const std::string& text) {
        const std::string path = dir_.File("edit.osc");
        std::ofstream(path) << text;
        LScriptOutput output;
        output.print = [this](const std::string& line) { printed_.push_back(line); };
        output.report = [this](const std::string& line) { reported_.push_back(line); };
        output.note = [this](const std::string& line) { notes_.push_back(line); };
        SetScriptSettings(&settings_);
        const LScriptCommandTable table = MakeScriptCommandTable();
        LScriptRunner runner(table, controller_, progress_, output);
        const int result = runner.Run(path);
        SetScriptSettings(nullptr);
        return result;
    }
    void TearDown() override {
        while (controller_.GetCurrent())
            controller_.CloseDocument(controller_.GetCurrent());
        CutTankTest::TearDown();
    }

    LMemorySettingsStore settings_;
    LDocumentController controller_{settings_};
    testing::RecordingProgress progress_;
    std::vector<std::string> printed_, reported_, notes_;
};

TEST_F(ScriptRunnerTest, LinesGoToTheCallersOutputAndDocuments) {
    EXPECT_EQ(Run("new 8000 1\n"
                  "insert-silence 0 800f\n"
                  "get StoredValues AmplifyGain\n"
                  "paste\n"
                  "info\n"),
              kScriptFailed);
    ASSERT_NE(controller_.GetCurrent(), nullptr);  // the caller's controller holds the work
    EXPECT_EQ(controller_.GetCurrent()->audio.GetLength(), 800);
    EXPECT_EQ(printed_, (std::vector<std::string>{"100"}));
    ASSERT_EQ(reported_.size(), 1u);
    EXPECT_EQ(reported_[0],
              dir_.File("edit.osc") + ":4: the clipboard is empty (use cut or copy first)");
    EXPECT_TRUE(notes_.empty());

    // A line that does not fit stops the script before anything ran.
    reported_.clear();
    EXPECT_EQ(Run("close\namplify 401\n"), kScriptBadLine);
    EXPECT_NE(controller_.GetCurrent(), nullptr);
    ASSERT_EQ(reported_.size(), 1u);
    EXPECT_EQ(
        reported_[0],
        dir_.File("edit.osc") +
            ":2: Amplify Gain must be less than 400%. Please try again. (PERCENT is 0 to 400)");

    EXPECT_EQ(Run("info\n"), kScriptOk);
    ASSERT_EQ(printed_.size(), 2u);
    EXPECT_EQ(printed_[1].rfind("name=", 0), 0u) << printed_[1];
}

// The filter, delay, dynamics and pan words run their effects and refuse values out of range.
TEST_F(ScriptRunnerTest, SignalEffectWordsRunAndRefuseBadValues) {
    EXPECT_EQ(Run("new 44100 2\n"
                  "insert-silence-start 1000f\n"
                  "high-pass 300\n"
                  "equalizer 3 0 -2.5 0 0 0 0 0 0 6\n"
                  "equalizer voice\n"
                  "echo 10 50\n"
                  "reverb 80 300\n"
                  "compressor -20 2 -1\n"
                  "agc\n"
                  "pan 30\n"),
              kScriptOk);
    EXPECT_TRUE(reported_.empty());
    EXPECT_EQ(settings_.GetInt("StoredValues", "StereoPan", 50), 30);
    EXPECT_EQ(settings_.GetInt("StoredValues", "CompressorRatio", 0), 2);
    for (const char* bad :
         {"echo 3000 50\n", "echo 800 100\n", "reverb 100 20\n", "compressor -20 8 0\n",
          "pan 101\n", "equalizer 13\n", "equalizer loud\n"}) {
        reported_.clear();
        EXPECT_NE(Run(std::string("new 44100 2\n") + bad), kScriptOk) << bad;
        EXPECT_EQ(reported_.size(), 1u) << bad;
    }
}

}  // namespace
}  // namespace osmera
