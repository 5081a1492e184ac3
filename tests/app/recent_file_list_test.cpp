#include "app/recent_file_list.h"

#include <gtest/gtest.h>

namespace osmera {
namespace {

std::vector<std::string> Paths(const LRecentFileList& list) {
    std::vector<std::string> paths;
    for (const LRecentFile& item : list.Items())
        paths.push_back(item.path);
    return paths;
}

// Eleven slots: a listed path only gets a new date, the twelfth distinct path replaces the
// oldest, and the menu shows newest first.
TEST(RecentFileList, OrderAndReplacementOfTheOldest) {
    LMemorySettingsStore settings;
    LRecentFileList list(settings);
    list.Add("", 5);
    EXPECT_TRUE(list.Items().empty());
    for (int i = 1; i <= 11; ++i)
        list.Add("/f" + std::to_string(i), 100 + i);
    list.Add("/f1", 200);  // refreshed: now the newest, f2 the oldest
    EXPECT_EQ(settings.GetText("Recent", "RecentFile 1", ""), "/f1");
    EXPECT_EQ(settings.GetInt("Recent", "RecentFileDate1", 0), 200);
    list.Add("/f12", 300);
    EXPECT_EQ(settings.GetText("Recent", "RecentFile 2", ""), "/f12");
    const std::vector<std::string> paths = Paths(list);
    ASSERT_EQ(paths.size(), 11u);
    EXPECT_EQ(paths[0], "/f12");
    EXPECT_EQ(paths[1], "/f1");
    EXPECT_EQ(paths[2], "/f11");
    EXPECT_EQ(paths.back(), "/f3");
    // The menu shows as many as the user asked for, newest first; the list keeps all.
    settings.SetInt("Settings", "RecentFileCount", 2);
    ASSERT_EQ(list.ShownItems().size(), 2u);
    EXPECT_EQ(list.ShownItems()[1].path, "/f1");
    EXPECT_EQ(list.Items().size(), 11u);
}

// A path of 24 characters shows whole; from 25 on, three characters, ".../" and the name.
TEST(RecentFileList, MenuTextsShortenLongPaths) {
    const std::string path24 = "/home/ann/music/take.wav";
    const std::string path25 = "/home/ann/music/take1.wav";
    ASSERT_EQ(path24.size(), 24u);
    EXPECT_EQ(LRecentFileList::MenuItemText(0, path24), "&1./home/ann/music/take.wav");
    EXPECT_EQ(LRecentFileList::MenuItemText(1, path25), "&2./ho.../take1.wav");
    EXPECT_EQ(LRecentFileList::MenuItemText(2, "/a/R&B.wav"), "&3./a/R&&B.wav");
}

}  // namespace
}  // namespace osmera
