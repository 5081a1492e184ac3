#include "core/settings_store.h"

#include <charconv>

namespace osmera {

int32_t LMemorySettingsStore::GetInt(const std::string& section, const std::string& key,
                                     int32_t def) {
    std::lock_guard<std::mutex> lock(mutex_);
    auto it = values_.find({section, key});
    if (it == values_.end())
        return def;
    int32_t v = 0;
    const std::string& s = it->second;
    auto [end, ec] = std::from_chars(s.data(), s.data() + s.size(), v);
    return ec == std::errc() && end == s.data() + s.size() ? v : def;
}

std::string LMemorySettingsStore::GetText(const std::string& section, const std::string& key,
                                          const std::string& def) {
    std::lock_guard<std::mutex> lock(mutex_);
    auto it = values_.find({section, key});
    return it == values_.end() ? def : it->second;
}

void LMemorySettingsStore::SetInt(const std::string& section, const std::string& key,
                                  int32_t value) {
    SetText(section, key, std::to_string(value));
}

void LMemorySettingsStore::SetText(const std::string& section, const std::string& key,
                                   const std::string& value) {
    std::lock_guard<std::mutex> lock(mutex_);
    values_[{section, key}] = value;
}

}  // namespace osmera
