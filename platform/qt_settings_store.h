#pragma once
// The settings store the programs use: the user's settings of "Quillon"/"Osmera", one
// group per section. A store over an explicit INI file serves scripts and tests that
// must not touch the user's settings.
//
// Thread-safety: each call opens its own QSettings, so calls from any thread are safe;
// values written are visible to every later read in this process.

#include <memory>
#include <mutex>
#include <string>

#include "core/settings_store.h"

class QSettings;

namespace osmera {

class LQtSettingsStore : public LSettingsStore {
  public:
    // The user's settings.
    LQtSettingsStore();
    // An INI file at `iniPath`, created when first written.
    explicit LQtSettingsStore(std::string iniPath);
    ~LQtSettingsStore() override;

    int32_t GetInt(const std::string& section, const std::string& key, int32_t def) override;
    std::string GetText(const std::string& section, const std::string& key,
                        const std::string& def) override;
    void SetInt(const std::string& section, const std::string& key, int32_t value) override;
    void SetText(const std::string& section, const std::string& key,
                 const std::string& value) override;

    // True when nothing at all is stored yet (the program's first start).
    bool IsEmpty();

  private:
    std::unique_ptr<QSettings> Open() const;

    std::string iniPath_;
    std::mutex mutex_;
};

}  // namespace osmera
