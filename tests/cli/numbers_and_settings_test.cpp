// Numbers of scripts and command lines beyond what they may be, and the settings file of
// `run --settings`: refused with the allowed range, never wrapped or silently lost.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "cli/ini_settings_store.h"
#include "core/generator_sources.h"
#include "core/pr_source_to_sink.h"
#include "effects/script_words.h"
#include "formats/wave_file.h"
#include "tests/cli/cli_runner.h"
#include "tests/support/test_support.h"

namespace osmera {
namespace {

namespace fs = std::filesystem;
using testing::Q;

// stdout and stderr together.
testing::CliResult CliAll(const std::string& args) {
    return testing::RunShell(std::string(OSMERA_CLI) + " " + args + " 2>&1");
}

TEST(ScriptNumbers, TimesAreExactUpTo32BitFramesAndRefusedBeyond) {
    // 2147483647 frames at 44100 Hz are 13:31:35.774.
    EXPECT_EQ(TimeWordToFrames("48695", 44100), 48695 * 44100);
    EXPECT_EQ(TimeWordToFrames("13:31:35.774", 44100), 2147483633);
    EXPECT_EQ(TimeWordToFrames("-13:31:35.774", 44100), -2147483633);
    EXPECT_EQ(TimeWordToFrames("48696", 44100), std::nullopt);
    EXPECT_EQ(TimeWordToFrames("-50000", 44100), std::nullopt);
    EXPECT_EQ(TimeWordToFrames("50000", 8000), 400000000);
    EXPECT_EQ(TimeWordToFrames("2147483647f", 8000), 2147483647);
    // Beyond 32-bit milliseconds or frames whatever the rate.
    EXPECT_EQ(TimeWordRangeError("596:31:23.647"), "");
    EXPECT_NE(TimeWordRangeError("596:31:23.648"), "");
    EXPECT_NE(TimeWordRangeError("99999999999999"), "");
    EXPECT_EQ(TimeWordRangeError("-2147483647f"), "");
    EXPECT_NE(TimeWordRangeError("2147483648f"), "");
    EXPECT_NE(TimeWordRangeError("99999999999999999999999f"), "");
}

class CliNumbers : public ::testing::Test {
  protected:
    void SetUp() override {
        auto sink = LWaveFile::CreateSink(dir.File("in.wav"), 8000, 0, 2, 1);
        LPRSourceToSink(MakeRef<LSRCTone>(8000, 1, 8000, 441.0, 300000), sink).Process();
    }
    testing::CliResult Script(const std::string& text, const std::string& options = "") {
        std::ofstream(dir.File("s.txt")) << text;
        return CliAll("run " + Q(dir.File("s.txt")) + " " + options);
    }
    testing::TempDir dir;
};

TEST_F(CliNumbers, ScriptLinesBeyondTheirRangeStopTheScriptWithTheRange) {
    struct Case {
        const char* line;
        const char* message;
    };
    const Case cases[] = {
        {"select 0 100000",
         "'100000' lies beyond 2147483647 frames at 44100 Hz: times at this "
         "rate run from -13:31:35.774 to 13:31:35.774"},
        {"cursor 3000000000f", "frame counts run from -2147483647f to 2147483647f"},
        {"select 0 999999:00:00", "times run from -596:31:23.647 to 596:31:23.647"},
        {"amplify 4294967396", "(PERCENT is 0 to 400)"},
        {"amplify -5", "a percentage cannot be negative: PERCENT is 0 to 400"},
        {"normalize -1", "a percentage cannot be negative: PERCENT is 0 to 100"},
        {"click-repair 50 99999999999", "MAXLEN_US must be 1 to 100000"},
        {"auto-trim 3", "DB must be -127 to 0"},
        {"insert-silence-start -1", "the length of silence cannot be negative"},
    };
    for (const Case& c : cases) {
        const testing::CliResult r =
            Script("new 44100 1\ninsert-silence 0 1f\n" + std::string(c.line) + "\nsave out.wav\n");
        EXPECT_NE(r.code, 0) << c.line;
        EXPECT_NE(r.out.find(c.message), std::string::npos) << c.line << "\n" << r.out;
        EXPECT_FALSE(fs::exists(dir.File("out.wav"))) << c.line;
    }
    // The largest time that fits is taken as it is.
    const testing::CliResult r =
        Script("new 44100 1\ninsert-silence 0 1f\nselect 1f 48695\ninfo\n");
    EXPECT_EQ(r.code, 0) << r.out;
    EXPECT_NE(r.out.find(" selection=1-2147449500 "), std::string::npos) << r.out;
}

TEST_F(CliNumbers, CommandLineNumbersBeyondTheirRangeAreRefused) {
    const std::string in = Q(dir.File("in.wav"));
    const std::string rec = Q(dir.File("r.wav"));
    struct Case {
        std::string args;
        const char* message;
    };
    const Case cases[] = {
        // 2000000 s at 196000 Hz would be 3.9e11 frames.
        {"record " + rec + " --input-file " + in + " --fast --seconds 2000000 --rate 196000",
         "--seconds must be from 1 to 10956 at 196000 Hz"},
        {"record " + rec + " --seconds 4294967297", "--seconds must be a whole number from 1"},
        {"record " + rec + " --device 99999999999", "from 0 to 1000000"},
        {"play " + in + " --device file:" + Q(dir.File("o.wav")) + " --fast --from 50000",
         "--from must be a time from 0:00:00.000 to 0:00:01.000"},
        {"play " + in + " --device file:" + Q(dir.File("o.wav")) + " --fast --from -1",
         "--from must be a time"},
    };
    for (const Case& c : cases) {
        const testing::CliResult r = CliAll(c.args);
        EXPECT_EQ(r.code, 2) << c.args << "\n" << r.out;
        EXPECT_NE(r.out.find(c.message), std::string::npos) << c.args << "\n" << r.out;
    }
    EXPECT_FALSE(fs::exists(dir.File("r.wav")));
    EXPECT_FALSE(fs::exists(dir.File("o.wav")));
}

TEST_F(CliNumbers, RunRefusesAFolderAsScriptAndASettingsFileItCannotSave) {
    fs::create_directories(dir.Path() / "folder");
    const testing::CliResult asScript = CliAll("run " + Q(dir.File("folder")));
    EXPECT_EQ(asScript.code, 1);
    EXPECT_NE(asScript.out.find("it is a folder"), std::string::npos) << asScript.out;

    for (const std::string& settings : {dir.File("no/such/folder/s.ini"), dir.File("folder")}) {
        const testing::CliResult r = Script("set A b 1\n", "--settings " + Q(settings));
        EXPECT_EQ(r.code, 1) << settings;
        EXPECT_NE(r.out.find("cannot use the settings file"), std::string::npos) << r.out;
    }
    EXPECT_FALSE(fs::exists(dir.Path() / "no"));
    EXPECT_TRUE(fs::is_empty(dir.Path() / "folder"));
    EXPECT_FALSE(fs::exists(dir.File("folder.tmp")));
}

TEST_F(CliNumbers, SettingsReadBackExactlyFromOneRunToTheNext) {
    const std::string ini = "--settings " + Q(dir.File("s.ini"));
    ASSERT_EQ(Script("set A b=c 5\nset \" x \" \"[k\" \" v=w\\\\ \"\n", ini).code, 0);
    const testing::CliResult r = Script("get A b=c\nget \" x \" \"[k\"\n", ini);
    EXPECT_EQ(r.code, 0) << r.out;
    EXPECT_EQ(r.out, "5\n v=w\\ \n");
}

TEST(IniSettingsStore, NamesAndValuesOfAnyTextSurviveTheFile) {
    testing::TempDir dir;
    const std::string path = dir.File("s.ini");
    const std::string texts[] = {"plain",
                                 "a=b",
                                 "=",
                                 "  spaced  ",
                                 "\tTab",
                                 "line\nbreak\r",
                                 "back\\slash\\",
                                 "\\n",
                                 ";comment",
                                 "#hash",
                                 "[section]",
                                 "]",
                                 "",
                                 "C:\\dir"};
    {
        cli::LIniSettingsStore store(path);
        for (const std::string& t : texts) {
            store.SetText(t, t, t);
            store.SetText("S", t, t);
        }
        ASSERT_TRUE(store.IsGood()) << store.Problem();
    }
    cli::LIniSettingsStore again(path);
    ASSERT_TRUE(again.IsGood()) << again.Problem();
    for (const std::string& t : texts) {
        EXPECT_EQ(again.GetText(t, t, "missing"), t) << t;
        EXPECT_EQ(again.GetText("S", t, "missing"), t) << t;
    }
    // A hand-written backslash that escapes nothing stays.
    std::ofstream(dir.File("hand.ini")) << "[F]\nPath = C:\\dir\\x \nN=12\n";
    cli::LIniSettingsStore hand(dir.File("hand.ini"));
    EXPECT_EQ(hand.GetText("F", "Path", ""), "C:\\dir\\x");
    EXPECT_EQ(hand.GetInt("F", "N", 0), 12);
}

}  // namespace
}  // namespace osmera
