#include "cli/ini_settings_store.h"

#include <filesystem>
#include <fstream>
#include <system_error>

#include "core/trace.h"

namespace osmera::cli {

namespace {

std::string Trim(const std::string& s) {
    const auto first = s.find_first_not_of(" \t\r");
    if (first == std::string::npos)
        return {};
    const auto last = s.find_last_not_of(" \t\r");
    return s.substr(first, last - first + 1);
}

}  // namespace

LIniSettingsStore::LIniSettingsStore(std::string path) : path_(std::move(path)) {
    Load();
}

void LIniSettingsStore::Load() {
    std::error_code ec;
    if (!std::filesystem::exists(path_, ec))
        return;
    std::ifstream in(path_);
    if (!in) {
        LTracef("LIniSettingsStore::Load cannot read %s", path_.c_str());
        good_ = false;
        return;
    }
    std::string line;
    std::string section;
    while (std::getline(in, line)) {
        line = Trim(line);
        if (line.empty() || line[0] == ';' || line[0] == '#')
            continue;
        if (line.front() == '[' && line.back() == ']') {
            section = Trim(line.substr(1, line.size() - 2));
            continue;
        }
        const auto eq = line.find('=');
        if (eq == std::string::npos) {
            LTracef("LIniSettingsStore::Load line without '=' in %s", path_.c_str());
            continue;
        }
        const std::string key = Trim(line.substr(0, eq));
        const std::string value = Trim(line.substr(eq + 1));
        sections_[section][key] = value;
        values_.SetText(section, key, value);
    }
}

void LIniSettingsStore::Save() {
    const std::string temp = path_ + ".tmp";
    {
        std::ofstream out(temp, std::ios::trunc);
        for (const auto& [section, keys] : sections_) {
            out << '[' << section << "]\n";
            for (const auto& [key, value] : keys)
                out << key << '=' << value << '\n';
            out << '\n';
        }
        out.flush();
        if (!out) {
            LTracef("LIniSettingsStore::Save cannot write %s", temp.c_str());
            good_ = false;
            return;
        }
    }
    std::error_code ec;
    std::filesystem::rename(temp, path_, ec);
    if (ec) {
        LTracef("LIniSettingsStore::Save cannot replace %s", path_.c_str());
        good_ = false;
    }
}

int32_t LIniSettingsStore::GetInt(const std::string& section, const std::string& key, int32_t def) {
    std::lock_guard<std::mutex> lock(mutex_);
    return values_.GetInt(section, key, def);
}

std::string LIniSettingsStore::GetText(const std::string& section, const std::string& key,
                                       const std::string& def) {
    std::lock_guard<std::mutex> lock(mutex_);
    return values_.GetText(section, key, def);
}

void LIniSettingsStore::SetInt(const std::string& section, const std::string& key, int32_t value) {
    SetText(section, key, std::to_string(value));
}

void LIniSettingsStore::SetText(const std::string& section, const std::string& key,
                                const std::string& value) {
    std::lock_guard<std::mutex> lock(mutex_);
    values_.SetText(section, key, value);
    sections_[section][key] = Trim(value);
    Save();
}

}  // namespace osmera::cli
