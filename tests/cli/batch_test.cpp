// End-to-end checks of `osmera-cli batch`: files converted in parallel come out byte for
// byte as `osmera-cli run` writes them one at a time, and a bad file is reported while the
// others are written.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "core/generator_sources.h"
#include "core/pr_source_to_sink.h"
#include "formats/wave_file.h"
#include "tests/cli/cli_runner.h"
#include "tests/support/test_support.h"

namespace osmera {
namespace {

namespace fs = std::filesystem;

class BatchTest : public ::testing::Test {
  protected:
    void SetUp() override {
        fs::create_directories(dir.Path() / "work");
        fs::create_directories(dir.Path() / "in");
    }
    // A short tone of its own pitch, length and width per file.
    std::string Input(int i) {
        const std::string path = dir.File("in/take " + std::to_string(i) + ".wav");
        auto sink = LWaveFile::CreateSink(path, 8000, 0, 1 + i % 2, 1 + (i % 3 == 0));
        LPRSourceToSink(
            MakeRef<LSRCTone>(8000, 1 + i % 2, 1000 + 500 * i, 100.0 + 37 * i, 6000 + 700 * i),
            sink)
            .Process();
        return path;
    }
    testing::CliResult Cli(const std::string& args) {
        return testing::RunShell(std::string(OSMERA_CLI) + " " + args + " --work-dir " +
                                 testing::Q(dir.File("work")) + " 2>" +
                                 testing::Q(dir.File("err.txt")));
    }
    std::string Errors() const { return testing::ReadText(dir.File("err.txt")); }
    testing::TempDir dir;
};

constexpr const char* kChain = "normalize 98\nselect 0.5 1\nfade-out\n";

TEST_F(BatchTest, ParallelFilesEqualOneAtATimeRuns) {
    std::ofstream(dir.File("chain.txt")) << kChain;
    std::string files;
    for (int i = 0; i < 20; ++i)
        files += " " + testing::Q(Input(i));
    const auto batch = Cli("batch " + testing::Q(dir.File("chain.txt")) + files + " --out " +
                           testing::Q(dir.File("out")) + " --jobs 4 --format flac");
    EXPECT_EQ(batch.code, 0) << Errors();
    for (int i = 0; i < 20; ++i) {
        const std::string name = "take " + std::to_string(i);
        const std::string one = dir.File(name + ".txt");
        std::ofstream(one) << "open \"in/" << name << ".wav\"\n"
                           << kChain << "save \"" << name << ".flac\"\n";
        ASSERT_EQ(Cli("run " + testing::Q(one)).code, 0) << Errors();
        const std::string batched = testing::ReadText(dir.File("out/" + name + ".flac"));
        EXPECT_FALSE(batched.empty()) << name;
        EXPECT_EQ(batched, testing::ReadText(dir.File(name + ".flac"))) << name;
        EXPECT_NE(batch.out.find("out/" + name + ".flac"), std::string::npos) << name;
    }

    // A script that saves itself: a bare save writes the batch's output name, whose
    // pattern takes the index.
    std::ofstream(dir.File("own.txt")) << kChain << "save --format flac\n";
    const auto own = Cli(
        "batch " + testing::Q(dir.File("own.txt")) + " " + testing::Q(dir.File("in/take 3.wav")) +
        " --out " + testing::Q(dir.File("own")) + " --name '{index}-{name}.{ext}' --format flac");
    EXPECT_EQ(own.code, 0) << Errors();
    EXPECT_EQ(testing::ReadText(dir.File("own/1-take 3.flac")),
              testing::ReadText(dir.File("take 3.flac")));
}

TEST_F(BatchTest, ABadFileIsLoggedAndTheOthersAreWritten) {
    std::ofstream(dir.File("chain.txt")) << kChain;
    const std::string good1 = Input(1), good2 = Input(2);
    std::ofstream(dir.File("in/broken.wav")) << "RIFF\x10\0\0\0WAVEjunk";
    const std::string in = testing::Q(dir.File("in"));
    auto result =
        Cli("batch " + testing::Q(dir.File("chain.txt")) + " " + testing::Q(good1) + " " +
            testing::Q(dir.File("in/broken.wav")) + " " + testing::Q(dir.File("in/missing.wav")) +
            " " + testing::Q(good2) + " --out " + testing::Q(dir.File("out")) + " --jobs 2");
    EXPECT_EQ(result.code, 1);
    EXPECT_TRUE(fs::exists(dir.File("out/take 1.wav")));
    EXPECT_TRUE(fs::exists(dir.File("out/take 2.wav")));
    EXPECT_FALSE(fs::exists(dir.File("out/broken.wav")));
    EXPECT_NE(Errors().find("broken.wav: "), std::string::npos) << Errors();
    EXPECT_NE(Errors().find("missing.wav: "), std::string::npos) << Errors();

    // Results never replace an input: the output folder is the inputs' own.
    const std::string before = testing::ReadText(good1);
    result = Cli("batch " + testing::Q(dir.File("chain.txt")) + " " + testing::Q(good1) +
                 " --out " + in);
    EXPECT_EQ(result.code, 1);
    EXPECT_EQ(testing::ReadText(good1), before);
    EXPECT_NE(Errors().find("would replace an input"), std::string::npos) << Errors();

    // A misspelt line stops the batch before any file is touched.
    std::ofstream(dir.File("bad.txt")) << "normalize 98\nfade-outt\n";
    result = Cli("batch " + testing::Q(dir.File("bad.txt")) + " " + testing::Q(good1) + " --out " +
                 testing::Q(dir.File("none")));
    EXPECT_EQ(result.code, 2);
    EXPECT_FALSE(fs::exists(dir.File("none/take 1.wav")));
    EXPECT_NE(Errors().find("bad.txt:2: unknown command 'fade-outt'"), std::string::npos)
        << Errors();
}

}  // namespace
}  // namespace osmera
