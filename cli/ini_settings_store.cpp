#include "cli/ini_settings_store.h"

#include <filesystem>
#include <fstream>
#include <system_error>

#include "core/safe_replace.h"
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

// `text` as it is written in the file; `isKey` also escapes '=' and a leading comment or
// section character.
std::string Escape(const std::string& text, bool isKey) {
    std::string out;
    for (size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        const bool end = i == 0 || i + 1 == text.size();
        if (c == '\\') {
            out += "\\\\";
        } else if (c == '\n') {
            out += "\\n";
        } else if (c == '\r') {
            out += "\\r";
        } else if (c == '=' && isKey) {
            out += "\\=";
        } else if (end && c == ' ') {
            out += "\\s";
        } else if (end && c == '\t') {
            out += "\\t";
        } else if (i == 0 && isKey && (c == ';' || c == '#' || c == '[')) {
            out += '\\';
            out += c;
        } else {
            out += c;
        }
    }
    return out;
}

std::string Unescape(const std::string& text) {
    std::string out;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\\' || i + 1 == text.size()) {
            out += text[i];
            continue;
        }
        const char c = text[i + 1];
        switch (c) {
            case 'n':
                out += '\n';
                break;
            case 'r':
                out += '\r';
                break;
            case 's':
                out += ' ';
                break;
            case 't':
                out += '\t';
                break;
            case '\\':
            case '=':
            case ';':
            case '#':
            case '[':
            case ']':
                out += c;
                break;
            default:
                out += '\\';
                out += c;
                break;
        }
        ++i;
    }
    return out;
}

// The first '=' that no backslash escapes, or npos.
size_t FindSeparator(const std::string& line) {
    for (size_t i = 0; i < line.size(); ++i) {
        if (line[i] == '\\')
            ++i;
        else if (line[i] == '=')
            return i;
    }
    return std::string::npos;
}

}  // namespace

LIniSettingsStore::LIniSettingsStore(std::string path) : path_(std::move(path)) {
    Load();
}

void LIniSettingsStore::Load() {
    std::error_code ec;
    const auto status = std::filesystem::status(path_, ec);
    if (std::filesystem::is_directory(status)) {
        problem_ = path_ + " is a folder";
        return;
    }
    if (!std::filesystem::exists(status)) {
        const std::filesystem::path folder = std::filesystem::absolute(path_, ec).parent_path();
        if (!std::filesystem::is_directory(folder, ec))
            problem_ = "the folder " + folder.string() + " does not exist";
        return;
    }
    std::ifstream in(path_);
    if (!in) {
        LTracef("LIniSettingsStore::Load cannot read %s", path_.c_str());
        problem_ = "cannot read " + path_;
        return;
    }
    std::string line;
    std::string section;
    while (std::getline(in, line)) {
        line = Trim(line);
        if (line.empty() || line[0] == ';' || line[0] == '#')
            continue;
        if (line.front() == '[' && line.back() == ']' && line.size() >= 2) {
            section = Unescape(Trim(line.substr(1, line.size() - 2)));
            continue;
        }
        const auto eq = FindSeparator(line);
        if (eq == std::string::npos) {
            LTracef("LIniSettingsStore::Load line without '=' in %s", path_.c_str());
            continue;
        }
        const std::string key = Unescape(Trim(line.substr(0, eq)));
        const std::string value = Unescape(Trim(line.substr(eq + 1)));
        sections_[section][key] = value;
        values_.SetText(section, key, value);
    }
    if (in.bad())
        problem_ = "cannot read " + path_;
}

std::string LIniSettingsStore::TextLocked() const {
    std::string text;
    for (const auto& [section, keys] : sections_) {
        text += '[' + Escape(section, false) + "]\n";
        for (const auto& [key, value] : keys)
            text += Escape(key, true) + '=' + Escape(value, false) + '\n';
        text += '\n';
    }
    return text;
}

std::string LIniSettingsStore::Text() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return TextLocked();
}

void LIniSettingsStore::Save() {
    LSafeReplace replace(path_);
    {
        std::ofstream out(replace.TempPath(), std::ios::trunc | std::ios::binary);
        out << TextLocked();
        out.flush();
        if (!out) {
            LTracef("LIniSettingsStore::Save cannot write %s", replace.TempPath().c_str());
            problem_ = "cannot write " + path_;
            return;
        }
    }
    if (!replace.Commit()) {
        LTracef("LIniSettingsStore::Save cannot replace %s", path_.c_str());
        problem_ = "cannot replace " + path_;
        return;
    }
    problem_.clear();
}

bool LIniSettingsStore::IsGood() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return problem_.empty();
}

std::string LIniSettingsStore::Problem() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return problem_;
}

std::map<std::string, std::map<std::string, std::string>> LIniSettingsStore::Values() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return sections_;
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
    sections_[section][key] = value;
    Save();
}

}  // namespace osmera::cli
