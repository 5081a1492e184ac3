// End-to-end checks of `osmera-cli run`: scripts of edits compared with a model of the same
// edits on plain sample vectors, how a bad line stops a script, and that no cut file
// outlives a run.

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <random>

#include "core/generator_sources.h"
#include "core/pr_source_to_sink.h"
#include "formats/open_audio_source.h"
#include "formats/wave_file.h"
#include "tests/cli/cli_runner.h"
#include "tests/support/test_support.h"

namespace osmera {
namespace {

namespace fs = std::filesystem;

// stdout and stderr together in `out`.
testing::CliResult RunCli(const std::string& prefix, const std::string& args) {
    return testing::RunShell(prefix + " " + OSMERA_CLI + " " + args + " 2>&1");
}

size_t CutFiles(const fs::path& folder) {
    size_t n = 0;
    for (const auto& e : fs::recursive_directory_iterator(folder))
        n += e.path().extension() == ".aud" || e.path().extension() == ".grf";
    return n;
}

class ScriptTest : public ::testing::Test {
  protected:
    void SetUp() override {
        fs::create_directories(dir.Path() / "work");
        fs::create_directories(dir.Path() / "tmp");
        fs::create_directories(dir.Path() / "in dir");
        auto sink = LWaveFile::CreateSink(dir.File("in dir/tone in.wav"), 8000, 0, 2, 2);
        LPRSourceToSink(MakeRef<LSRCTone>(8000, 2, 4000, 441.0, 300000), sink).Process();
    }
    void Write(const std::string& script) { std::ofstream(dir.File("s.txt")) << script; }
    testing::CliResult Go() {
        return RunCli("TMPDIR='" + dir.File("tmp") + "'",
                      "run '" + dir.File("s.txt") + "' --work-dir '" + dir.File("work") + "'");
    }
    testing::TempDir dir;
};

// The edits of a script applied to interleaved stereo samples, with an undo stack.
struct Model {
    using Frames = std::vector<int32_t>;
    Frames audio, clipboard;
    std::vector<Frames> undo;

    static Frames Slice(const Frames& a, int32_t from, int32_t to) {
        return Frames(a.begin() + 2 * from, a.begin() + 2 * to);
    }
    void Remove(int32_t from, int32_t to) {
        audio.erase(audio.begin() + 2 * from, audio.begin() + 2 * to);
    }
    void Insert(int32_t at, const Frames& f) {
        audio.insert(audio.begin() + 2 * at, f.begin(), f.end());
    }
    int32_t Length() const { return static_cast<int32_t>(audio.size() / 2); }
};

TEST_F(ScriptTest, TwentyEditsAndEightUndosGiveTheModelsSamples) {
    Model m;
    m.audio = testing::ReadAll(dir.File("in dir/tone in.wav"));
    std::string script = "# twenty edits\nopen \"in dir/tone in.wav\"\n";
    std::mt19937 rng(7);
    auto pick = [&rng](int32_t lo, int32_t hi) {
        return std::uniform_int_distribution<int32_t>(lo, hi)(rng);
    };
    int edits = 0;
    while (edits < 20) {
        const int32_t len = m.Length();
        int32_t a = pick(0, len - 1), b = pick(0, len);
        if (a == b)
            continue;
        const int32_t lo = std::min(a, b), hi = std::max(a, b);
        const std::string sel = "select " + std::to_string(a) + "f " + std::to_string(b) + "f\n";
        const Model::Frames before = m.audio;
        switch (pick(0, 6)) {
            case 0:
                script += sel + "cut\n";
                m.clipboard = Model::Slice(m.audio, lo, hi);
                m.Remove(lo, hi);
                break;
            case 1:
                script += sel + "copy\n";
                m.clipboard = Model::Slice(m.audio, lo, hi);
                continue;  // not an edit
            case 2:
                if (m.clipboard.empty())
                    continue;
                script += "cursor " + std::to_string(lo) + "f\npaste\n";
                m.Insert(lo, m.clipboard);
                break;
            case 3:
                if (m.clipboard.empty())
                    continue;
                script += sel + "paste-over\n";
                m.Remove(lo, hi);
                m.Insert(lo, m.clipboard);
                break;
            case 4:
                script += sel + "delete\n";
                m.Remove(lo, hi);
                break;
            case 5: {
                // Whole milliseconds at 8000 Hz are whole multiples of 8 frames.
                const int32_t ms = pick(0, len / 8), n = pick(1, 50);
                script += "insert-silence 0:00:" + std::to_string(ms / 1000) + "." +
                          std::to_string(1000 + ms % 1000).substr(1) + " " + std::to_string(n) +
                          "f\n";
                m.Insert(ms * 8, Model::Frames(static_cast<size_t>(n) * 2, 0));
                break;
            }
            case 6:
                script += sel + (hi - lo < 200 ? "repeat 1\n" : "silence\n");
                if (hi - lo < 200) {
                    m.Insert(lo, Model::Slice(m.audio, lo, hi));
                } else {
                    std::fill(m.audio.begin() + 2 * lo, m.audio.begin() + 2 * hi, 0);
                }
                break;
        }
        m.undo.push_back(before);
        ++edits;
    }
    for (int i = 0; i < 8; ++i) {
        script += "undo\n";
        m.audio = m.undo.back();
        m.undo.pop_back();
    }
    script += "info\nsave ../out.wav\n";
    fs::create_directories(dir.Path() / "scripts");
    std::ofstream(dir.File("scripts/s.txt")) << script;
    fs::copy(dir.File("in dir"), dir.File("scripts/in dir"));  // paths resolve from the script

    const testing::CliResult r =
        RunCli("", "run '" + dir.File("scripts/s.txt") + "' --work-dir '" + dir.File("work") + "'");
    ASSERT_EQ(r.code, 0) << r.out;
    EXPECT_NE(r.out.find("frames=" + std::to_string(m.Length()) + " "), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("modified=1 undo=\"Undo "), std::string::npos) << r.out;
    EXPECT_EQ(testing::ReadAll(dir.File("out.wav")), m.audio);
    EXPECT_EQ(CutFiles(dir.Path() / "work"), 0u);
}

TEST_F(ScriptTest, InfoLineAfterACut) {
    Write("open \"in dir/tone in.wav\"\nselect 0.1 0.2\ncut\ninfo\n");
    const testing::CliResult r = Go();
    ASSERT_EQ(r.code, 0) << r.out;
    EXPECT_NE(r.out.find("rate=8000 channels=2 frames=3200 time=0:00:00.40 entries=2 "),
              std::string::npos)
        << r.out;
    EXPECT_NE(r.out.find(" modified=1 undo=\"Undo Cut\\tCtrl+Z\"\n"), std::string::npos) << r.out;
}

TEST_F(ScriptTest, BadLinesStopWithTheirNumberAndNoOutput) {
    struct Case {
        const char* script;
        const char* where;
    };
    const Case cases[] = {
        // Wrong words are found before anything runs, so the save never happens.
        {"open \"in dir/tone in.wav\"\nsave out.wav\n\n# note\nselect 1 x\n", "s.txt:5: "},
        {"open \"in dir/tone in.wav\"\nsave out.wav\nfrobnicate\n", "s.txt:3: unknown command"},
        {"open \"in dir/tone in.wav\nsave out.wav\n", "s.txt:1: missing closing quote"},
        {"open \"in dir/tone in.wav\"\nsave out.wav --bits 12\n", "s.txt:2: --bits"},
        // Failures while running stop the script at their line.
        {"open missing.wav\nsave out.wav\n", "s.txt:1: "},
        {"new 8000 1\ncut\nsave out.wav\n", "s.txt:2: nothing is selected"},
        {"select 0 1\n", "s.txt:1: no document is open"},
    };
    for (const Case& c : cases) {
        Write(c.script);
        const testing::CliResult r = Go();
        EXPECT_NE(r.code, 0) << c.script;
        EXPECT_NE(r.out.find(c.where), std::string::npos) << c.script << "\n" << r.out;
        EXPECT_FALSE(fs::exists(dir.File("out.wav"))) << c.script;
        EXPECT_EQ(CutFiles(dir.Path() / "work"), 0u) << c.script;
    }
}

TEST_F(ScriptTest, RunsSharingAWorkDirKeepTheirCutsAndTheUsersFiles) {
    std::ofstream(dir.File("work/project.aud")) << "mine";
    std::ofstream(dir.File("work/0.aud")) << "mine too";
    {
        auto sink = LWaveFile::CreateSink(dir.File("in dir/other.wav"), 8000, 0, 2, 2);
        LPRSourceToSink(MakeRef<LSRCTone>(8000, 2, 6000, 1000.0, 200000), sink).Process();
    }
    // Two runs at once number their cuts from 0; reversing twice gives the input back.
    for (const char* name : {"a", "b"}) {
        std::string script = std::string("open \"in dir/") +
                             (name[0] == 'a' ? "tone in" : "other") + ".wav\"\nselect-all\n";
        for (int i = 0; i < 20; ++i)
            script += "reverse\n";
        std::ofstream(dir.File(std::string(name) + ".txt"))
            << script << "save " << name << ".wav\n";
    }
    const std::string work = " --work-dir '" + dir.File("work") + "'";
    const testing::CliResult r =
        testing::RunShell("(" + std::string(OSMERA_CLI) + " run '" + dir.File("a.txt") + "'" +
                          work + " & " + OSMERA_CLI + " run '" + dir.File("b.txt") + "'" + work +
                          "; b=$?; wait $!; echo \"a=$? b=$b\") 2>&1");
    ASSERT_NE(r.out.find("a=0 b=0"), std::string::npos) << r.out;
    EXPECT_EQ(testing::ReadAll(dir.File("a.wav")),
              testing::ReadAll(dir.File("in dir/tone in.wav")));
    EXPECT_EQ(testing::ReadAll(dir.File("b.wav")), testing::ReadAll(dir.File("in dir/other.wav")));
    // The user's files are as they were, and nothing of the runs is left.
    std::string text;
    std::getline(std::ifstream(dir.File("work/project.aud")), text);
    EXPECT_EQ(text, "mine");
    std::getline(std::ifstream(dir.File("work/0.aud")), text);
    EXPECT_EQ(text, "mine too");
    EXPECT_EQ(std::distance(fs::directory_iterator(dir.Path() / "work"), {}), 2);
}

TEST_F(ScriptTest, AKilledRunsFolderIsCleanedByTheNextRun) {
    std::string script = "open \"in dir/tone in.wav\"\nselect-all\n";
    for (int i = 0; i < 3000; ++i)
        script += "reverse\n";
    Write(script);
    // Killed outright once its first cuts are written (at most 10 s of waiting).
    const std::string tmp = dir.File("tmp");
    const testing::CliResult killed = testing::RunShell(
        "TMPDIR='" + tmp + "' " + OSMERA_CLI + " run '" + dir.File("s.txt") + "' & p=$!; " +
        "for i in $(seq 500); do ls '" + tmp + "'/osmera-run-*/*.aud >/dev/null 2>&1 && break; " +
        "sleep 0.02; done; kill -9 $p; wait $p; echo killed");
    ASSERT_NE(killed.out.find("killed"), std::string::npos);
    ASSERT_GT(CutFiles(dir.Path() / "tmp"), 0u);

    Write("open \"in dir/tone in.wav\"\nselect-all\nreverse\n");
    EXPECT_EQ(RunCli("TMPDIR='" + tmp + "'", "run '" + dir.File("s.txt") + "'").code, 0);
    EXPECT_TRUE(fs::is_empty(dir.Path() / "tmp"));
}

TEST_F(ScriptTest, AudioThatManyEntriesShareSurvivesTheirRelease) {
    // 70000 entries on the loaded cut, gone again with the undo: the file still reads.
    Write("open \"in dir/tone in.wav\"\nselect 0f 1f\nrepeat 70000\nundo\nsave out.wav\n");
    const testing::CliResult r = Go();
    ASSERT_EQ(r.code, 0) << r.out;
    EXPECT_EQ(testing::ReadAll(dir.File("out.wav")),
              testing::ReadAll(dir.File("in dir/tone in.wav")));
}

}  // namespace
}  // namespace osmera
