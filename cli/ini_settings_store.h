#pragma once
// A settings store kept in an INI-like text file, for osmera-cli scripts (`run --settings
// FILE`): "[Section]" lines open a section, "Key=Value" lines hold values, blank lines and
// lines starting with ';' or '#' are skipped. The file is read when the store is made and
// rewritten (through a temporary file and a rename) after every change, so a script that
// stops half-way keeps what it set. A missing file is an empty store; it is created by the
// first change. Values are text; integers are read the way LMemorySettingsStore reads them.
//
// Every name and value reads back exactly as it was set: a backslash escapes what the
// file's syntax would otherwise take ("\\" a backslash, "\=" an equals sign, "\n" and
// "\r" line ends, "\s" and "\t" a blank or tab at either end, "\;" "\#" "\[" at the
// start of a key). A backslash before any other character is kept as it stands, so a
// hand-written "C:\dir" stays as it is.
//
// Any thread (one lock around the values and the file).

#include <map>
#include <mutex>
#include <string>

#include "core/settings_store.h"

namespace osmera::cli {

class LIniSettingsStore : public LSettingsStore {
  public:
    explicit LIniSettingsStore(std::string path);

    int32_t GetInt(const std::string& section, const std::string& key, int32_t def) override;
    std::string GetText(const std::string& section, const std::string& key,
                        const std::string& def) override;
    void SetInt(const std::string& section, const std::string& key, int32_t value) override;
    void SetText(const std::string& section, const std::string& key,
                 const std::string& value) override;

    // False when the file could not be read, or the last write failed; Problem() then
    // says why ("... is a folder", "cannot write ...").
    bool IsGood() const;
    std::string Problem() const;
    // Every value, by section and key (for checks of what the file held).
    std::map<std::string, std::map<std::string, std::string>> Values() const;
    // The file's text for the values now held.
    std::string Text() const;

  private:
    void Load();
    void Save();  // with the lock held
    std::string TextLocked() const;

    std::string path_;
    LMemorySettingsStore values_;
    mutable std::mutex mutex_;
    std::map<std::string, std::map<std::string, std::string>> sections_;
    std::string problem_;
};

}  // namespace osmera::cli
