#include "edit/audio_cut_tank.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "core/trace.h"

namespace osmera {

namespace fs = std::filesystem;

const char* const kCutTankFullMessage =
    "Too many edits are held at once (at most 65535 pieces of audio). Save the file, which "
    "writes it as one piece, then close it and open it again.";

LAudioCutTank& LAudioCutTank::Instance() {
    static LAudioCutTank tank;
    return tank;
}

LAudioCutTank::~LAudioCutTank() {
    // Every cut file of ours goes, whatever is still referenced, and so does our folder.
    std::lock_guard<std::mutex> lock(mutex_);
    LeaveFolderLocked();
}

void LAudioCutTank::LeaveFolderLocked() {
    DeleteAllCutFilesLocked();
    taken_.reset();
    ownFolder_.reset();
    folder_.clear();
}

bool LAudioCutTank::OpenFolderIn(const std::string& parent, std::string* message) {
    std::lock_guard<std::mutex> lock(mutex_);
    LeaveFolderLocked();
    ownFolder_ = LCutFolder::Create(parent, message);
    if (!ownFolder_)
        return false;
    folder_ = ownFolder_->Path() + '/';
    return true;
}

void LAudioCutTank::SetFolder(const std::string& folder) {
    std::lock_guard<std::mutex> lock(mutex_);
    LeaveFolderLocked();
    folder_ = folder;
    if (!folder_.empty() && folder_.back() != '/')
        folder_ += '/';
}

bool LAudioCutTank::TakeNewRef(uint16_t& number) {
    std::lock_guard<std::mutex> lock(mutex_);
    for (uint32_t n = firstMaybeFree_; n < kCutNumbers; ++n) {
        if (refCount_[n] == 0) {
            refCount_[n] = 1;
            taken_.set(n);
            firstMaybeFree_ = n + 1;
            number = static_cast<uint16_t>(n);
            return true;
        }
    }
    firstMaybeFree_ = kCutNumbers;
    return false;
}

uint16_t LAudioCutTank::GetNewRefAndIncRef() {
    uint16_t n = 0;
    if (TakeNewRef(n))
        return n;
    LTrace("LAudioCutTank::GetNewRefAndIncRef tank full, reusing cut 0");
    return 0;
}

void LAudioCutTank::IncRef(uint32_t number) {
    if (number >= kCutNumbers)
        return;
    std::lock_guard<std::mutex> lock(mutex_);
    if (refCount_[number] < kMaxCount)
        ++refCount_[number];
}

void LAudioCutTank::DecRef(uint32_t number) {
    if (number >= kCutNumbers)
        return;
    std::lock_guard<std::mutex> lock(mutex_);
    if (refCount_[number] == kMaxCount)
        return;
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
    // Only numbers this tank handed out: the folder may hold files of the user's that are
    // named like cuts ("project.aud", or "3.aud" of some other program).
    for (uint32_t n = 0; n < kCutNumbers; ++n) {
        if (taken_.test(n))
            DeleteFilesOf(n);
    }
}

void LAudioCutTank::KeepReferencedCutFiles() {
    std::lock_guard<std::mutex> lock(mutex_);
    if (folder_.empty())
        return;
    for (uint32_t n = 0; n < kCutNumbers; ++n) {
        if (taken_.test(n) && refCount_[n] == 0)
            DeleteFilesOf(n);
    }
    if (ownFolder_)
        ownFolder_->KeepAfterExit();
    taken_.reset();
    ownFolder_.reset();
    folder_.clear();
}

void LAudioCutTank::Reset() {
    std::lock_guard<std::mutex> lock(mutex_);
    LeaveFolderLocked();
    refCount_.fill(0);
    firstMaybeFree_ = 0;
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
