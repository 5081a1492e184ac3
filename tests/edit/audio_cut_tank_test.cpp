#include "edit/audio_cut_tank.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <thread>
#include <vector>

#include "edit/document_controller.h"
#include "edit/document_io.h"
#include "tests/edit/edit_test_support.h"

namespace osmera {
namespace {

namespace fs = std::filesystem;
using testing::CutTankTest;
using testing::Ramp;

void Touch(const std::string& path) {
    std::ofstream(path) << "x";
}

using TankTest = CutTankTest;

TEST_F(TankTest, NumbersAreTakenLowestFirstAndReused) {
    auto& tank = Tank();
    EXPECT_EQ(tank.GetNewRefAndIncRef(), 0);
    EXPECT_EQ(tank.GetNewRefAndIncRef(), 1);
    EXPECT_EQ(tank.GetNewRefAndIncRef(), 2);
    tank.DecRef(1);
    tank.DecRef(0);
    EXPECT_EQ(tank.GetRefCount(1), 0);
    EXPECT_EQ(tank.GetNewRefAndIncRef(), 0);
    EXPECT_EQ(tank.GetNewRefAndIncRef(), 1);
    EXPECT_EQ(tank.GetNewRefAndIncRef(), 3);
    for (uint32_t n : {0, 1, 2, 3})
        tank.DecRef(n);
}

TEST_F(TankTest, SilenceAndOutOfRangeNumbersAreIgnored) {
    auto& tank = Tank();
    for (uint32_t n : {65535u, 70000u}) {
        tank.IncRef(n);
        tank.DecRef(n);
        EXPECT_EQ(tank.GetRefCount(n), 0);
        EXPECT_EQ(tank.GetAudFilePath(n), "");
        EXPECT_EQ(tank.GetGrfFilePath(n), "");
    }
    EXPECT_EQ(tank.GetCutsInUse(), 0u);
}

TEST_F(TankTest, LastReleaseDeletesBothFiles) {
    auto& tank = Tank();
    const uint16_t n = tank.GetNewRefAndIncRef();
    Touch(tank.GetAudFilePath(n));
    Touch(tank.GetGrfFilePath(n));
    tank.IncRef(n);
    tank.DecRef(n);  // count 2 -> 1: files stay
    EXPECT_EQ(tank.GetRefCount(n), 1);
    EXPECT_TRUE(fs::exists(tank.GetAudFilePath(n)));
    EXPECT_TRUE(fs::exists(tank.GetGrfFilePath(n)));
    tank.DecRef(n);
    EXPECT_EQ(tank.GetRefCount(n), 0);
    EXPECT_FALSE(fs::exists(tank.GetAudFilePath(n)));
    EXPECT_FALSE(fs::exists(tank.GetGrfFilePath(n)));
}

// A count held at its ceiling never wraps to zero (which would delete a cut in use).
TEST_F(TankTest, CountsSaturateAndResetEmptiesTheTank) {
    auto& tank = Tank();
    const uint16_t n = tank.GetNewRefAndIncRef();
    for (int i = 0; i < 70000; ++i)
        tank.IncRef(n);
    EXPECT_EQ(tank.GetRefCount(n), 65535);
    tank.Reset();
    tank.SetFolder(dir_.Path().string());
    EXPECT_EQ(tank.GetCutsInUse(), 0u);
    EXPECT_EQ(tank.GetNewRefAndIncRef(), 0);
    tank.DecRef(0);
}

TEST_F(TankTest, DeleteAllCutFilesTakesOnlyTheTanksOwnCuts) {
    auto& tank = Tank();
    const uint16_t held = tank.GetNewRefAndIncRef();  // still referenced: goes anyway
    Touch(tank.GetAudFilePath(held));
    Touch(tank.GetGrfFilePath(held));
    // The user's files, two of them named like cuts this tank never made.
    for (const char* name : {"project.aud", "7.aud", "7.grf", "keep.txt"})
        Touch(dir_.File(name));
    tank.DeleteAllCutFiles();
    EXPECT_FALSE(fs::exists(tank.GetAudFilePath(held)));
    EXPECT_FALSE(fs::exists(tank.GetGrfFilePath(held)));
    for (const char* name : {"project.aud", "7.aud", "7.grf", "keep.txt"}) {
        EXPECT_TRUE(fs::exists(dir_.File(name))) << name;
        fs::remove(dir_.File(name));
    }
    tank.DecRef(held);
}

TEST_F(TankTest, AFullTankRefusesNewCutsInsteadOfOverwritingCutZero) {
    auto& tank = Tank();
    LCutListAudio first = Written(Ramp(300, 1), 1);
    ASSERT_EQ(first.GetEntries()[0].ref, 0);
    while (tank.GetFreeCutNumbers() > 1)
        tank.GetNewRefAndIncRef();
    LMemorySettingsStore settings;
    LDocumentController controller(settings);
    EXPECT_EQ(controller.CheckFreeCuts(), LEditResult::kDone);
    tank.GetNewRefAndIncRef();  // the last one
    EXPECT_FALSE(tank.HasFreeCuts());

    LCutListAudio refused = Written(Ramp(300, 1, 1000), 1);
    EXPECT_EQ(refused.GetLength(), 300);
    EXPECT_TRUE(refused.GetEntries()[0].IsSilent());
    EXPECT_EQ(ReadAll(first), Ramp(300, 1));  // cut 0 is as it was
    {
        auto sink = refused.MakeSink(44100, 1);
        EXPECT_TRUE(sink->IsError());
        EXPECT_EQ(sink->GetCutNumber(), SILENT_CUT);
    }

    std::string message;
    EXPECT_EQ(controller.OpenDocument(dir_.File("any.wav"), nullptr, &message), kJobFailed);
    EXPECT_EQ(message, kCutTankFullMessage);
    EXPECT_EQ(controller.CheckFreeCuts(), LEditResult::kTankFull);
    EXPECT_TRUE(controller.GetDocuments().empty());

    for (uint32_t n = 1; n < LAudioCutTank::kCutNumbers; ++n)
        tank.DecRef(n);
}

TEST_F(TankTest, ConcurrentReferencesBalance) {
    auto& tank = Tank();
    const uint16_t shared = tank.GetNewRefAndIncRef();
    auto worker = [&tank, shared] {
        for (int i = 0; i < 2000; ++i) {
            const uint16_t own = tank.GetNewRefAndIncRef();
            tank.IncRef(shared);
            tank.IncRef(own);
            tank.DecRef(own);
            tank.DecRef(shared);
            tank.DecRef(own);
        }
    };
    std::thread a(worker), b(worker);
    a.join();
    b.join();
    EXPECT_EQ(tank.GetRefCount(shared), 1);
    EXPECT_EQ(tank.GetCutsInUse(), 1u);
    tank.DecRef(shared);
}

// The cut folders in `parent` (each tank's own "osmera-run-*").
std::vector<fs::path> RunFolders(const fs::path& parent) {
    std::vector<fs::path> found;
    for (const auto& e : fs::directory_iterator(parent)) {
        if (e.path().filename().string().rfind("osmera-run-", 0) == 0)
            found.push_back(e.path());
    }
    return found;
}

TEST(CutFolder, TanksSharingAParentKeepTheirCutsApartAndLeaveTheUsersFiles) {
    testing::TempDir parent;
    Touch(parent.File("project.aud"));
    Touch(parent.File("0.aud"));
    {
        LAudioCutTank a, b;
        ASSERT_TRUE(a.OpenFolderIn(parent.Path().string()));
        ASSERT_TRUE(b.OpenFolderIn(parent.Path().string()));
        EXPECT_NE(a.GetFolder(), b.GetFolder());
        EXPECT_EQ(RunFolders(parent.Path()).size(), 2u);
        for (LAudioCutTank* t : {&a, &b}) {
            ASSERT_EQ(t->GetNewRefAndIncRef(), 0);  // both number from 0
            std::ofstream(t->GetAudFilePath(0)) << t->GetFolder();
        }
        b.Reset();  // b ends first: a's cut and the user's files stay
        std::ifstream in(a.GetAudFilePath(0));
        std::string text;
        in >> text;
        EXPECT_EQ(text, a.GetFolder());
    }
    // Both gone with their folders; the user's files are as they were.
    EXPECT_TRUE(RunFolders(parent.Path()).empty());
    EXPECT_TRUE(fs::exists(parent.File("project.aud")));
    EXPECT_TRUE(fs::exists(parent.File("0.aud")));

    LAudioCutTank c;
    std::string message;
    Touch(parent.File("file"));
    EXPECT_FALSE(c.OpenFolderIn(parent.File("file"), &message));
    EXPECT_NE(message.find("cannot make a working folder in"), std::string::npos) << message;
    EXPECT_EQ(c.GetAudFilePath(0), "");
}

TEST(CutFolder, FoldersOfDeadOwnersAreCleanedAtTheNextStart) {
    testing::TempDir parent;
    const fs::path p = parent.Path();
    auto make = [&](const std::string& name, std::initializer_list<const char*> files) {
        fs::create_directory(p / name);
        for (const char* f : files)
            Touch((p / name / f).string());
    };
    // Killed with its lock file: nobody holds the lock.
    make("osmera-run-1-aaaaaa", {"osmera.lock", "0.aud", "0.grf", "12.aud"});
    // Killed before it made its lock file; no process has this id.
    make("osmera-run-2147483646-bbbbbb", {"3.aud"});
    // Killed, but someone put a file of their own in it: only our files go.
    make("osmera-run-3-cccccc", {"osmera.lock", "1.aud", "notes.txt"});
    // Starting right now (this process), lock file not made yet.
    make("osmera-run-" + std::to_string(getpid()) + "-dddddd", {"5.aud"});
    // Not one of ours.
    make("osmera-run-old", {"7.aud"});
    LAudioCutTank alive;
    ASSERT_TRUE(alive.OpenFolderIn(p.string()));
    ASSERT_EQ(alive.GetNewRefAndIncRef(), 0);
    Touch(alive.GetAudFilePath(0));

    LAudioCutTank next;
    ASSERT_TRUE(next.OpenFolderIn(p.string()));
    EXPECT_FALSE(fs::exists(p / "osmera-run-1-aaaaaa"));
    EXPECT_FALSE(fs::exists(p / "osmera-run-2147483646-bbbbbb"));
    EXPECT_TRUE(fs::exists(p / "osmera-run-3-cccccc" / "notes.txt"));
    EXPECT_FALSE(fs::exists(p / "osmera-run-3-cccccc" / "1.aud"));
    EXPECT_TRUE(fs::exists(p / ("osmera-run-" + std::to_string(getpid()) + "-dddddd") / "5.aud"));
    EXPECT_TRUE(fs::exists(p / "osmera-run-old" / "7.aud"));
    EXPECT_TRUE(fs::exists(alive.GetAudFilePath(0)));  // a living owner keeps everything
    alive.DecRef(0);
}

TEST(WorkingFolder, BuiltOnceRememberedAndOverridden) {
    testing::TempDir appData;
    LMemorySettingsStore settings;
    const std::string built = (appData.Path() / "Quillon" / "Osmera" / "Current").string();

    EXPECT_EQ(ChooseWorkingFolder(settings, appData.Path().string()), built);
    EXPECT_TRUE(fs::is_directory(built));
    EXPECT_EQ(settings.GetText("Folders", "Current", ""), built);

    // A remembered folder is used as it is; "WorkingFolder" wins over it (and is created).
    settings.SetText("Folders", "Current", appData.File("remembered"));
    EXPECT_EQ(ChooseWorkingFolder(settings, "/nonexistent"), appData.File("remembered"));
    settings.SetText("Settings", "WorkingFolder", appData.File("chosen"));
    EXPECT_EQ(ChooseWorkingFolder(settings, appData.Path().string()), appData.File("chosen"));
    EXPECT_TRUE(fs::is_directory(appData.File("chosen")));
}

}  // namespace
}  // namespace osmera
