#pragma once
// The recent-file list of the File menu: eleven slots in the settings section "Recent",
// value "RecentFile %d" holding a full path ("" for a free slot) and "RecentFileDate%d"
// the time of its last use in seconds since 1970.
//
// A path added that is already listed only gets the new date; otherwise it goes into the
// first free slot, and with none free it replaces the slot with the oldest date (the first
// such slot on ties). The menu shows the listed paths newest first, as many as the user's
// "Settings"/"RecentFileCount" allows (0 to 11, default 11).
//
// Ownership: borrows the settings store. Threads: GUI thread.

#include <QString>
#include <cstdint>
#include <string>
#include <vector>

#include "core/settings_store.h"

namespace osmera {

struct LRecentFile {
    int slot = 0;  // 1 to 11
    std::string path;
    int32_t date = 0;
};

class LRecentFileList {
  public:
    static constexpr int kSlots = 11;

    explicit LRecentFileList(LSettingsStore& settings) : settings_(settings) {}

    // Records a use of `path` at `now` (seconds since 1970). An empty path does nothing.
    void Add(const std::string& path, int32_t now);
    // The listed files, newest first (slot order on equal dates).
    std::vector<LRecentFile> Items() const;
    // The first ShownCount of Items: what the File menu shows.
    std::vector<LRecentFile> ShownItems() const;
    static int ShownCount(LSettingsStore& settings);

    // The text of the menu item at place `index` (from 0): "&<index + 1>.<path>", a path of
    // 25 characters or more shortened to its first three characters, ".../" and its file
    // name ("/ho.../Take 1.wav"; "/" is this system's folder separator). A & of the path is
    // doubled so that it shows rather than marking a mnemonic.
    static QString MenuItemText(int index, const std::string& path);
    static QString ShortName(const std::string& path);

  private:
    LSettingsStore& settings_;
};

}  // namespace osmera
