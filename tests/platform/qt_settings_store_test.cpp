#include "platform/qt_settings_store.h"

#include <gtest/gtest.h>

#include "tests/support/test_support.h"

namespace osmera {
namespace {

// Both stores keep values per section with a default on every read; the Qt one must
// also keep them in its file across instances.
TEST(SettingsStores, ValuesPerSectionWithDefaults) {
    testing::TempDir dir;
    LMemorySettingsStore memory;
    LQtSettingsStore qt(dir.File("osmera.ini"));
    for (LSettingsStore* store :
         {static_cast<LSettingsStore*>(&memory), static_cast<LSettingsStore*>(&qt)}) {
        EXPECT_EQ(store->GetInt("Player", "Device", 7), 7);
        EXPECT_EQ(store->GetText("Folders", "Open", "none"), "none");
        store->SetInt("Player", "Device", -3);
        store->SetText("Folders", "Open", "/tmp/a b");
        store->SetText("Settings", "Name", "x");
        EXPECT_EQ(store->GetInt("Player", "Device", 7), -3);
        EXPECT_EQ(store->GetInt("Recorder", "Device", 7), 7);  // sections are apart
        EXPECT_EQ(store->GetText("Folders", "Open", "none"), "/tmp/a b");
        EXPECT_EQ(store->GetInt("Settings", "Name", 5), 5);  // not a number: the default
    }
    LQtSettingsStore again(dir.File("osmera.ini"));
    EXPECT_EQ(again.GetInt("Player", "Device", 0), -3);
}

}  // namespace
}  // namespace osmera
