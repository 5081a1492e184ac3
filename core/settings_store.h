#pragma once
// Where settings and remembered effect parameters live: named integer and text values,
// grouped by section ("Settings", "StoredValues", "Folders", "Player", ...). Every read
// names the default it gives when the value is missing.
//
// The programs back this with the user's settings (platform/qt_settings_store.h); tests
// and scripts use LMemorySettingsStore so they never touch the user's. Implementations
// may be called from any thread.

#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <utility>

namespace osmera {

class LSettingsStore {
  public:
    virtual ~LSettingsStore() = default;
    virtual int32_t GetInt(const std::string& section, const std::string& key, int32_t def) = 0;
    virtual std::string GetText(const std::string& section, const std::string& key,
                                const std::string& def) = 0;
    virtual void SetInt(const std::string& section, const std::string& key, int32_t value) = 0;
    virtual void SetText(const std::string& section, const std::string& key,
                         const std::string& value) = 0;
};

// Values held in memory for the life of the object. An integer read of a value stored as
// text that is not a number gives the default, as a missing value does.
class LMemorySettingsStore : public LSettingsStore {
  public:
    int32_t GetInt(const std::string& section, const std::string& key, int32_t def) override;
    std::string GetText(const std::string& section, const std::string& key,
                        const std::string& def) override;
    void SetInt(const std::string& section, const std::string& key, int32_t value) override;
    void SetText(const std::string& section, const std::string& key,
                 const std::string& value) override;

  private:
    std::mutex mutex_;
    std::map<std::pair<std::string, std::string>, std::string> values_;
};

}  // namespace osmera
