#include "effects/speech_synth.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

#include "edit/document_controller.h"
#include "edit/document_io.h"
#include "effects/effect_driver.h"
#include "tests/edit/edit_test_support.h"

namespace osmera {
namespace {

using testing::RecordingProgress;

constexpr const char* kThreeSentences =
    "The quick brown fox jumps over the lazy dog. It was a sunny day!  Was it?";
constexpr int kThreeSentencesWords = 15;

class SpeechTest : public testing::CutTankTest {
  protected:
    // Speaks `text` and returns the result code; the audio and marks stay in the fixture.
    int Say(const std::string& text, LSpeechParams params = {}, LProgress* progress = nullptr) {
        return LSpeechSynth::Speak(text, params, audio_, marks_, progress, &message_);
    }
    static int32_t Peak(const std::vector<int32_t>& samples) {
        int32_t peak = 0;
        for (int32_t s : samples)
            peak = std::max(peak, std::abs(s));
        return peak;
    }
    void TearDown() override {
        audio_.Clear();
        CutTankTest::TearDown();
    }

    LCutListAudio audio_;
    LMarkerList marks_;
    std::string message_;
};

TEST_F(SpeechTest, SentencesBecomeAudibleSpeechWithABookmarkPerSentence) {
    ASSERT_EQ(Say(kThreeSentences), kJobDone) << message_;
    EXPECT_EQ(audio_.GetSampleRate(), 22050u);
    EXPECT_EQ(audio_.GetChannels(), 1);
    const double seconds = audio_.GetLength() / 22050.0;
    EXPECT_GT(seconds, 0.2 * kThreeSentencesWords);
    EXPECT_LT(seconds, 1.5 * kThreeSentencesWords);
    const std::vector<int32_t> normal = ReadAll(audio_);
    EXPECT_GT(Peak(normal), 524288 / 10) << "speech should be well above silence";

    ASSERT_EQ(marks_.Bookmarks().size(), 3u);
    const char* names[] = {"The quick brown fox", "It was a sunny", "Was it"};
    int32_t previous = -1;
    for (size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(marks_.Bookmarks()[i].name, names[i]);
        EXPECT_GT(marks_.Bookmarks()[i].position, previous);
        previous = marks_.Bookmarks()[i].position;
    }
    EXPECT_LT(previous, audio_.GetLength());
    const int32_t secondSentence = marks_.Bookmarks()[1].position;

    // espeak-ng varies its timing slightly from run to run: lengths are compared loosely.
    const auto near = [](double a, double b) { return std::abs(a - b) < 0.02 * b; };
    // A preview stops where the second sentence starts.
    LSpeechParams preview;
    preview.firstSentenceOnly = true;
    ASSERT_EQ(Say(kThreeSentences, preview), kJobDone);
    EXPECT_PRED2(near, audio_.GetLength(), secondSentence);
    EXPECT_EQ(marks_.Bookmarks().size(), 1u);

    // Faster speech is shorter; another voice sounds different.
    LSpeechParams fast;
    fast.rate = 350;
    ASSERT_EQ(Say(kThreeSentences, fast), kJobDone);
    EXPECT_LT(audio_.GetLength(), static_cast<int32_t>(normal.size()) * 3 / 4);
    LSpeechParams other;
    other.voice = "de";
    ASSERT_EQ(Say(kThreeSentences, other), kJobDone) << message_;
    EXPECT_FALSE(near(audio_.GetLength(), static_cast<double>(normal.size())));

    // The document's rate and channels come through the converters; marks scale with them.
    LSpeechParams cd;
    cd.outRate = 44100;
    cd.channels = 2;
    ASSERT_EQ(Say(kThreeSentences, cd), kJobDone);
    EXPECT_EQ(audio_.GetSampleRate(), 44100u);
    EXPECT_EQ(audio_.GetChannels(), 2);
    EXPECT_PRED2(near, audio_.GetLength(), 2.0 * static_cast<double>(normal.size()));
    EXPECT_PRED2(near, marks_.Bookmarks()[1].position, 2.0 * secondSentence);
    const std::vector<int32_t> stereo = ReadAll(audio_);
    EXPECT_GT(Peak(stereo), 524288 / 10);
    EXPECT_EQ(stereo[20000], stereo[20001]) << "both channels carry the speech";
}

TEST_F(SpeechTest, NothingToSpeakOrBadValuesKeepWhatWasThere) {
    audio_ = Written(std::vector<int32_t>(100, 16), 1);
    marks_.AddBookmark("mine", 5);
    struct Case {
        std::string text;
        LSpeechParams params;
        std::string message;
    };
    LSpeechParams slow, voice, rate;
    slow.rate = 79;
    voice.voice = "no such voice";
    rate.outRate = 200000;
    const Case cases[] = {
        {"", {}, "There is no text to speak: the text is empty."},
        {" \n\t ", {}, "There is no text to speak: the text is empty."},
        {"Hello.", slow, "The speaking rate must be between 80 and 450 words per minute."},
        {"Hello.", voice, "There is no installed voice called \"no such voice\"."},
        {"Hello.", rate, "The sample rate must be between 8000 and 192000 Hz."},
    };
    for (const Case& c : cases) {
        message_.clear();
        EXPECT_EQ(Say(c.text, c.params), kJobFailed) << c.text;
        EXPECT_EQ(message_, c.message);
        EXPECT_EQ(audio_.GetLength(), 100);
        EXPECT_EQ(marks_.Bookmarks().size(), 1u);
    }
}

TEST_F(SpeechTest, ACancelledLongTextLeavesNothingBehind) {
    std::string text;
    for (int i = 0; i < 40; ++i)
        text += "This is sentence number " + std::to_string(i) + " of a long text. ";
    LSpeechParams params;
    params.outRate = 48000;  // a conversion would follow the synthesis
    RecordingProgress progress(5);
    EXPECT_EQ(Say(text, params, &progress), kJobCancelled);
    EXPECT_EQ(audio_.GetLength(), 0);
    EXPECT_TRUE(marks_.Empty());
    EXPECT_EQ(Tank().GetCutsInUse(), 0u);
    EXPECT_EQ(CutFilesInFolder(), 0u);
    ASSERT_FALSE(progress.fractions.empty());
    EXPECT_LT(progress.fractions.back(), 0.5) << "it stopped early, not at the end";
}

TEST_F(SpeechTest, SpeechIsANormalDocument) {
    ASSERT_EQ(Say("Hello there. This is a test."), kJobDone);
    LMemorySettingsStore settings;
    RecordingProgress progress;
    LDocumentController controller(settings, nullptr);
    LOMFile& doc = controller.NewDocument(audio_.GetSampleRate(), audio_.GetChannels());
    ASSERT_EQ(controller.CmPasteList(audio_, 0, "Text To Speech"), LEditResult::kDone);
    doc.markers = marks_;
    const std::vector<int32_t> spoken = ReadAll(doc.audio);

    LPresetEffectDialog dialog({50});
    LEffectDriver driver(controller, settings, progress, nullptr);
    EXPECT_EQ(driver.Run(LEffectId::kAmplify, &dialog).status, LEffectStatus::kApplied);
    EXPECT_LT(Peak(ReadAll(doc.audio)), Peak(spoken));
    controller.CmUndo();
    EXPECT_EQ(ReadAll(doc.audio), spoken);

    const std::string path = dir_.File("speech.wav");
    ASSERT_EQ(SaveAudioFile(doc.audio, path, 2, nullptr), kJobDone);
    LCutListAudio loaded;
    ASSERT_EQ(LoadAudioFile(path, loaded, nullptr), kJobDone);
    EXPECT_EQ(ReadAll(loaded), spoken);
    loaded.Clear();
    controller.CmUndo();  // the paste itself
    EXPECT_EQ(doc.audio.GetLength(), 0);
}

}  // namespace
}  // namespace osmera
