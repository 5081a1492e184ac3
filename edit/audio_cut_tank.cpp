#include "edit/audio_cut_tank.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <system_error>
#include <vector>

#include "core/trace.h"

namespace osmera {

namespace fs = std::filesystem;

LAudioCutTank& LAudioCutTank::Instance() {
    static LAudioCutTank tank;
    return tank;
}

LAudioCutTank::~LAudioCutTank() {
    DeleteAllCutFiles();
}

void LAudioCutTank::SetFolder(const std::string& folder) {
    std::lock_guard<std::mutex> lock(mutex_);
    folder_ = folder;
    if (!folder_.empty() && folder_.back() != '/')
        folder_ += '/';
}

uint16_t LAudioCutTank::GetNewRefAndIncRef() {
    std::lock_guard<std::mutex> lock(mutex_);
    for (uint32_t n = firstMaybeFree_; n < kCutNumbers; ++n) {
        if (refCount_[n] == 0) {
            refCount_[n] = 1;
            firstMaybeFree_ = n + 1;
            return static_cast<uint16_t>(n);
        }
    }
    firstMaybeFree_ = kCutNumbers;
    LTrace("LAudioCutTank::GetNewRefAndIncRef tank full, reusing cut 0");
    return 0;
}

void LAudioCutTank::IncRef(uint32_t number) {
    if (number >= kCutNumbers)
        return;
    std::lock_guard<std::mutex> lock(mutex_);
    if (refCount_[number] < 65535)
        ++refCount_[number];
}

void LAudioCutTank::DecRef(uint32_t number) {
    if (number >= kCutNumbers)
        return;
    std::lock_guard<std::mutex> lock(mutex_);
    if (refCount_[number] < 2) {
        DeleteFilesOf(number);
        refCount_[number] = 0;
        if (number < firstMaybeFree_)
            firstMaybeFree_ = number;
    } else {
        --refCount_[number];
    }
}

uint16_t LAudioCutTank::GetRefCount(uint32_t number) const {
    if (number >= kCutNumbers)
        return 0;
    std::lock_guard<std::mutex> lock(mutex_);
    return refCount_[number];
}

uint32_t LAudioCutTank::GetCutsInUse() const {
    std::lock_guard<std::mutex> lock(mutex_);
    uint32_t used = 0;
    for (uint16_t c : refCount_)
        used += c != 0;
    return used;
}

std::string LAudioCutTank::PathOf(uint32_t number, const char* extension) const {
    if (number >= kCutNumbers || folder_.empty())
        return {};
    char name[32];
    std::snprintf(name, sizeof name, "%u%s", number, extension);
    return folder_ + name;
}

std::string LAudioCutTank::GetAudFilePath(uint32_t number) const {
    return PathOf(number, ".aud");
}

std::string LAudioCutTank::GetGrfFilePath(uint32_t number) const {
    return PathOf(number, ".grf");
}

void LAudioCutTank::DeleteFilesOf(uint32_t number) const {
    if (folder_.empty())
        return;
    std::remove(PathOf(number, ".aud").c_str());
    std::remove(PathOf(number, ".grf").c_str());
}

void LAudioCutTank::DeleteAllCutFiles() {
    std::lock_guard<std::mutex> lock(mutex_);
    DeleteAllCutFilesLocked();
}

void LAudioCutTank::DeleteAllCutFilesLocked() {
    if (folder_.empty())
        return;
    std::error_code ec;
    std::vector<fs::path> doomed;
    for (fs::directory_iterator it(folder_, ec), end; !ec && it != end; it.increment(ec)) {
        const fs::path& p = it->path();
        const auto ext = p.extension();
        if ((ext == ".aud" || ext == ".grf") && !it->is_directory(ec))
            doomed.push_back(p);
    }
    if (ec)
        LTracef("LAudioCutTank::DeleteAllCutFiles cannot list %s", folder_.c_str());
    for (const auto& p : doomed)
        fs::remove(p, ec);
}

void LAudioCutTank::Reset() {
    std::lock_guard<std::mutex> lock(mutex_);
    DeleteAllCutFilesLocked();
    refCount_.fill(0);
    firstMaybeFree_ = 0;
    folder_.clear();
}

std::string UserAppDataFolder() {
    const char* xdg = std::getenv("XDG_DATA_HOME");
    if (xdg != nullptr && xdg[0] == '/')
        return xdg;
    const char* home = std::getenv("HOME");
    if (home != nullptr && home[0] != '\0')
        return std::string(home) + "/.local/share";
    return {};
}

std::string ChooseWorkingFolder(LSettingsStore& settings, const std::string& appDataFolder) {
    std::error_code ec;
    std::string current = settings.GetText("Folders", "Current", "");
    if (current.empty()) {
        fs::path path =
            appDataFolder.empty() ? fs::temp_directory_path(ec) : fs::path(appDataFolder);
        for (const char* part : {"Quillon", "Osmera", "Current"}) {
            path /= part;
            if (!fs::is_directory(path, ec) && !fs::create_directories(path, ec)) {
                LTracef("ChooseWorkingFolder cannot create %s", path.string().c_str());
            }
        }
        current = path.string();
        settings.SetText("Folders", "Current", current);
    }
    std::string folder = settings.GetText("Settings", "WorkingFolder", current);
    if (folder.empty())
        folder = current;
    if (!fs::is_directory(folder, ec) && !fs::create_directories(folder, ec)) {
        LTracef("ChooseWorkingFolder cannot create %s", folder.c_str());
    }
    return folder;
}

}  // namespace osmera
