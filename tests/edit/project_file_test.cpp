#include "edit/project_file.h"

#include <filesystem>
#include <fstream>
#include <random>
#include <set>

#include "tests/edit/edit_test_support.h"

namespace osmera::testing {
namespace {

namespace fs = std::filesystem;

class ProjectFileTest : public CutTankTest {
  protected:
    // Every value a document can hold, not just multiples of 16.
    static std::vector<int32_t> Noise(int32_t frames, uint8_t channels) {
        std::mt19937 random(7);
        std::uniform_int_distribution<int32_t> value(-524272, 524271);
        std::vector<int32_t> s(static_cast<size_t>(frames) * channels);
        for (int32_t& v : s)
            v = value(random);
        s[0] = -524272;
        s[1] = 524271;
        return s;
    }

    void WriteFile(const fs::path& path, const std::string& text) {
        std::ofstream(path, std::ios::binary) << text;
    }
    static std::string ReadText(const fs::path& path) { return testing::ReadText(path.string()); }

    // Three documents: an edited stereo file with a path, an untitled mono one and an empty
    // one (which needs no data file).
    void MakeProject(LProject& project, std::vector<LCutListAudio>& audio) {
        audio.push_back(Written(Noise(30000, 2), 2, 48000));
        audio[0].EfDelete(1000, 2000);  // an edit that is not saved to its file
        audio.push_back(Written(Ramp(5000, 1), 1, 8000));
        audio.emplace_back(22050, 2);
        LProjectDocument first;
        first.path = (dir_.Path() / "proj" / "sources" / "take.wav").string();
        first.modified = 1;
        first.bytesPerSample = 3;
        first.cursor = 1234;
        first.selStart = 100;
        first.selEnd = 900;
        first.viewStart = 50;
        first.viewEnd = 20000;
        first.tags.title = "Take\none";
        first.markers.AddBookmark("Intro, take 2", 700);
        first.markers.AddRegion("Verse\n1", 2000, 9000);
        first.markers.AddRegion("Chorus", 9000, 15000);
        first.window = {10, 20, 400, 300, LWindowState::kNormal};
        first.leftRight = true;
        first.verticalZoom = 4;
        LProjectDocument second;
        second.untitledIdx = 2;
        second.cursor = 4999;
        second.window = {0, 0, 500, 250, LWindowState::kMaximized};
        LProjectDocument empty;
        empty.untitledIdx = 3;
        empty.window.state = LWindowState::kMinimized;
        project.documents = {first, second, empty};
        project.active = 1;
    }
};

TEST_F(ProjectFileTest, SavedProjectOpensBitForBitAfterItsFolderMoved) {
    fs::create_directories(dir_.Path() / "proj" / "sources");
    WriteFile(dir_.Path() / "proj" / "sources" / "take.wav", "stands in for the user's file");
    LProject project;
    std::vector<LCutListAudio> audio;
    MakeProject(project, audio);
    const std::string manifest = (dir_.Path() / "proj" / "Session.omp").string();
    std::string message;
    ASSERT_EQ(SaveProject(manifest, project, {&audio[0], &audio[1], &audio[2]}, nullptr, &message),
              kJobDone)
        << message;
    // Saved again: the earlier data files go, the manifest names the new ones only.
    ASSERT_EQ(SaveProject(manifest, project, {&audio[0], &audio[1], &audio[2]}, nullptr, &message),
              kJobDone);
    EXPECT_EQ(std::distance(fs::directory_iterator(dir_.Path() / "proj" / "Session_data"),
                            fs::directory_iterator()),
              2);

    fs::rename(dir_.Path() / "proj", dir_.Path() / "moved");
    LProject opened;
    std::vector<LCutListAudio> loaded;
    ASSERT_EQ(LoadProject((dir_.Path() / "moved" / "Session.omp").string(), opened, loaded, nullptr,
                          &message),
              kJobDone)
        << message;
    ASSERT_EQ(loaded.size(), 3u);
    for (size_t k = 0; k < 3; ++k) {
        EXPECT_EQ(loaded[k].GetSampleRate(), audio[k].GetSampleRate());
        EXPECT_EQ(loaded[k].GetChannels(), audio[k].GetChannels());
        EXPECT_EQ(ReadAll(loaded[k]), ReadAll(audio[k])) << "document " << k;
    }
    // The document's own file moved with the folder, and its path follows it.
    EXPECT_EQ(fs::path(opened.documents[0].path),
              (dir_.Path() / "moved" / "sources" / "take.wav").lexically_normal());
    opened.documents[0].path = project.documents[0].path;
    EXPECT_EQ(opened, project);
}

TEST_F(ProjectFileTest, DamagedProjectOpensNothing) {
    LProject project;
    std::vector<LCutListAudio> audio;
    MakeProject(project, audio);
    const fs::path manifest = dir_.Path() / "Broken.omp";
    ASSERT_EQ(SaveProject(manifest.string(), project, {&audio[0], &audio[1], &audio[2]}, nullptr),
              kJobDone);
    const std::string good = ReadText(manifest);

    const auto fails = [&](const std::string& text, const std::string& expected) {
        WriteFile(manifest, text);
        LProject opened;
        opened.active = 42;
        std::vector<LCutListAudio> loaded(1);
        std::string message;
        EXPECT_EQ(LoadProject(manifest.string(), opened, loaded, nullptr, &message), kJobFailed);
        EXPECT_NE(message.find(expected), std::string::npos) << message;
        EXPECT_EQ(opened.active, 42);
        EXPECT_EQ(loaded.size(), 1u);
    };
    fails("RIFF\x01\x02 not a project", "is damaged");
    fails(good.substr(0, good.find("[document 2]")), "[document 2] is missing");
    std::string badNumber = good;
    badNumber.replace(badNumber.find("cursor=1234"), 11, "cursor=12x4");
    fails(badNumber, "\"cursor\" is not valid");
    std::string wrongLength = good;
    wrongLength.replace(wrongLength.find("length=5000"), 11, "length=5001");
    fails(wrongLength, "does not hold what the project says");
    fs::remove_all(dir_.Path() / "Broken_data");
    fails(good, "is missing");
}

// Cancels once the audio of the second document starts.
class CancelAtSecondDocument : public LProgress {
  public:
    void SetLine(int line, const std::string&) override { starts += line == 0; }
    void SetFraction(double) override {}
    bool IsCancelled() override { return starts >= 2; }
    int starts = 0;
};

TEST_F(ProjectFileTest, CancelledSaveLeavesTheEarlierProjectAsItWas) {
    LProject project;
    std::vector<LCutListAudio> audio;
    MakeProject(project, audio);
    const fs::path manifest = dir_.Path() / "Kept.omp";
    ASSERT_EQ(SaveProject(manifest.string(), project, {&audio[0], &audio[1], &audio[2]}, nullptr),
              kJobDone);
    const std::string before = ReadText(manifest);
    const auto listing = [&]() {
        std::set<std::string> names;
        for (const auto& entry : fs::directory_iterator(dir_.Path() / "Kept_data"))
            names.insert(entry.path().filename().string());
        return names;
    };
    const std::set<std::string> files = listing();

    audio[1].EfDelete(0, 10);
    CancelAtSecondDocument progress;
    EXPECT_EQ(SaveProject(manifest.string(), project, {&audio[0], &audio[1], &audio[2]}, &progress),
              kJobCancelled);
    EXPECT_GE(progress.starts, 2);  // the first document's new file was written, then removed
    EXPECT_EQ(ReadText(manifest), before);
    EXPECT_EQ(listing(), files);
}

}  // namespace
}  // namespace osmera::testing
