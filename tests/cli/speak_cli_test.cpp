// osmera-cli speak and voices: a sentence becomes a WAV file with a bookmark per sentence,
// a text file speaks as its text does, and an empty text or a bad voice writes nothing.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "formats/open_audio_source.h"
#include "tests/cli/cli_runner.h"
#include "tests/support/test_support.h"

namespace osmera {
namespace {

using testing::Cli;
using testing::Q;
using testing::RunShell;

TEST(SpeakCli, SpeaksTextAndFilesAndRefusesNothingToSay) {
    testing::TempDir dir;
    const std::string out = dir.File("speech.wav");
    ASSERT_EQ(Cli("speak 'Good morning. How are you today?' " + Q(out) +
                  " --out-rate 44100 --voice en-us --work-dir " + Q(dir.Path().string()))
                  .code,
              0);
    LSourceRef speech = OpenAudioSource(out);
    ASSERT_TRUE(speech->IsOk());
    EXPECT_EQ(speech->GetSampleRate(), 44100);
    const double seconds = speech->GetLengthSample() / 44100.0;
    EXPECT_GT(seconds, 0.2 * 6);
    EXPECT_LT(seconds, 1.5 * 6);
    const std::string marks = Cli("markers " + Q(out)).out;
    EXPECT_NE(marks.find("name=\"Good morning\" start=0.000000"), std::string::npos) << marks;
    EXPECT_NE(marks.find("name=\"How are you today\""), std::string::npos) << marks;
    // The run's cut folder went with the run.
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.Path()), {}), 1);

    std::ofstream(dir.File("text.txt")) << "Good morning. How are you today?\n";
    const std::string fromFile = dir.File("file.wav");
    EXPECT_EQ(Cli("speak --file " + Q(dir.File("text.txt")) + " " + Q(fromFile)).code, 0);
    EXPECT_EQ(OpenAudioSource(fromFile)->GetSampleRate(), 22050);

    // Nothing to say, or no such voice: a message, and OUT is left as it was.
    std::ofstream(dir.File("blank.txt")) << " \n\n";
    for (const std::string& args :
         {"speak '   ' " + Q(out), "speak --file " + Q(dir.File("blank.txt")) + " " + Q(out),
          "speak hello " + Q(out) + " --voice nobody"}) {
        const testing::CliResult r = RunShell(std::string(OSMERA_CLI) + " " + args + " 2>&1");
        EXPECT_EQ(r.code, 1) << args;
        EXPECT_NE(r.out.find(args.find("nobody") != std::string::npos
                                 ? "There is no installed voice called \"nobody\"."
                                 : "There is no text to speak: the text is empty."),
                  std::string::npos)
            << r.out;
    }
    EXPECT_EQ(OpenAudioSource(out)->GetSampleRate(), 44100);
    EXPECT_FALSE(std::filesystem::exists(dir.File("never.wav")));
    EXPECT_EQ(Cli("speak '' " + Q(dir.File("never.wav"))).code, 1);
    EXPECT_FALSE(std::filesystem::exists(dir.File("never.wav")));

    const std::string voices = Cli("voices").out;
    EXPECT_NE(voices.find("name=\"English (America)\" language=en-us identifier=gmw/en-US "
                          "gender=male\n"),
              std::string::npos);
}

}  // namespace
}  // namespace osmera
