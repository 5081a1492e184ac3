#include "edit/audio_cut_tank.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <thread>

#include "tests/edit/edit_test_support.h"

namespace osmera {
namespace {

namespace fs = std::filesystem;
using testing::CutTankTest;

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
    EXPECT_EQ(tank.GetAudFilePath(17), dir_.File("17.aud"));
    EXPECT_EQ(tank.GetGrfFilePath(65534), dir_.File("65534.grf"));
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

TEST_F(TankTest, CountsSaturateAndFullTankReusesCutZero) {
    auto& tank = Tank();
    for (uint32_t i = 0; i < LAudioCutTank::kCutNumbers; ++i) {
        ASSERT_EQ(tank.GetNewRefAndIncRef(), i);
    }
    EXPECT_EQ(tank.GetNewRefAndIncRef(), 0);  // full: no count changes
    EXPECT_EQ(tank.GetRefCount(0), 1);
    EXPECT_EQ(tank.GetCutsInUse(), LAudioCutTank::kCutNumbers);
    tank.DecRef(300);
    EXPECT_EQ(tank.GetNewRefAndIncRef(), 300);

    for (int i = 0; i < 70000; ++i)
        tank.IncRef(5);
    EXPECT_EQ(tank.GetRefCount(5), 65535);
    tank.Reset();
    tank.SetFolder(dir_.Path().string());
    EXPECT_EQ(tank.GetCutsInUse(), 0u);
    EXPECT_EQ(tank.GetNewRefAndIncRef(), 0);
    tank.DecRef(0);
}

TEST_F(TankTest, DeleteAllCutFilesTakesOnlyCutFiles) {
    auto& tank = Tank();
    const uint16_t held = tank.GetNewRefAndIncRef();  // still referenced: goes anyway
    Touch(tank.GetAudFilePath(held));
    Touch(tank.GetGrfFilePath(held));
    Touch(dir_.File("notes.aud"));
    Touch(dir_.File("keep.txt"));
    Touch(dir_.File("keep.aud.txt"));
    fs::create_directory(dir_.File("folder.aud"));
    tank.DeleteAllCutFiles();
    EXPECT_EQ(CutFilesInFolder(), 1u);  // the folder named like a cut file
    EXPECT_TRUE(fs::exists(dir_.File("keep.txt")));
    EXPECT_TRUE(fs::exists(dir_.File("keep.aud.txt")));
    EXPECT_TRUE(fs::is_directory(dir_.File("folder.aud")));
    tank.DecRef(held);
    fs::remove(dir_.File("folder.aud"));
}

TEST_F(TankTest, SeparatorIsAddedToTheFolder) {
    Tank().SetFolder("/some/where");
    EXPECT_EQ(Tank().GetFolder(), "/some/where/");
    EXPECT_EQ(Tank().GetAudFilePath(3), "/some/where/3.aud");
    Tank().SetFolder("");
    EXPECT_EQ(Tank().GetAudFilePath(3), "");
    Tank().SetFolder(dir_.Path().string());
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
