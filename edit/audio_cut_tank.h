#pragma once
// The cut tank: the one process-wide store in which all audio of all open files lives.
//
// Every stretch of audio that was loaded, recorded or produced by an effect is a "cut": two
// headerless files in the working folder named by the cut's number, "<n>.aud" (the samples,
// see audio_cut_file.h) and "<n>.grf" (the waveform graph the views draw from). Cuts are
// written once and never change; cut lists only point into them. Each number carries a
// reference count: a count of 0 means the number is free, and the release of the last
// reference deletes both files.
//
// Threads: the counts are shared by the GUI thread, the threads that write cuts and the
// threads that read cut lists (player, views); every change of a count and the search for a
// free number happen under the tank's lock, and so does the deletion of a released cut's
// files (so a number is never handed out while its old files are still being removed).
// The folder is set once at start-up, before any cut exists, and then only read.

#include <array>
#include <cstdint>
#include <mutex>
#include <string>

#include "core/settings_store.h"

namespace osmera {

// The cut number that stands for silence: never a file, reads as zeros.
constexpr uint16_t SILENT_CUT = 65535;

class LAudioCutTank {
  public:
    // Numbers 0 to 65534 can name cuts.
    static constexpr uint32_t kCutNumbers = 65535;

    // The process-wide tank. Its destruction at exit deletes every cut file of the folder.
    static LAudioCutTank& Instance();

    // Sets the working folder (a separator is appended when missing). Call at start-up,
    // before any cut is written; "" means no folder, and then no cut file can be created.
    void SetFolder(const std::string& folder);
    // The folder, ending in a separator, or "".
    const std::string& GetFolder() const { return folder_; }

    // Takes the lowest free number and gives it a count of 1. When all 65535 numbers are in
    // use it returns 0 without changing any count: the new cut then overwrites cut 0's files.
    // A full tank is not an error anywhere.
    uint16_t GetNewRefAndIncRef();
    // Adds a reference; a count that reached 65535 stays there. Numbers from 65535 up
    // (silence) are ignored.
    void IncRef(uint32_t number);
    // Drops a reference. A count below 2 becomes 0 and both files of the cut are deleted
    // (failures to delete are ignored). Numbers from 65535 up are ignored.
    void DecRef(uint32_t number);
    // The count of `number` (0 for silence and out-of-range numbers).
    uint16_t GetRefCount(uint32_t number) const;
    // How many numbers are in use.
    uint32_t GetCutsInUse() const;

    // The folder joined with "<number>.aud" / "<number>.grf"; "" for silence (65535 and up)
    // and while no folder is set.
    std::string GetAudFilePath(uint32_t number) const;
    std::string GetGrfFilePath(uint32_t number) const;

    // Deletes every "*.aud" and "*.grf" file of the folder, whatever is still referenced.
    // Runs at exit; counts are left as they are.
    void DeleteAllCutFiles();

    // Deletes every cut file, sets every count to 0 and forgets the folder. Only while no
    // list, source or sink names a cut: between tests, or between runs of a tool.
    void Reset();

    LAudioCutTank() = default;
    ~LAudioCutTank();
    LAudioCutTank(const LAudioCutTank&) = delete;
    LAudioCutTank& operator=(const LAudioCutTank&) = delete;

  private:
    std::string PathOf(uint32_t number, const char* extension) const;
    void DeleteFilesOf(uint32_t number) const;
    void DeleteAllCutFilesLocked();

    mutable std::mutex mutex_;
    std::string folder_;
    std::array<uint16_t, kCutNumbers> refCount_{};
    // Every number below this one is in use, so the search for a free number starts here.
    uint32_t firstMaybeFree_ = 0;
};

// The per-user application data folder: $XDG_DATA_HOME when set, else ~/.local/share
// ("" when neither is known).
std::string UserAppDataFolder();

// The working folder chosen at start-up. The remembered folder "Folders"/"Current" is built
// when empty as `appDataFolder`/Quillon/Osmera/Current (each missing folder created) and
// stored back; then "Settings"/"WorkingFolder" with that default is the result (created
// when missing). A changed "WorkingFolder" therefore takes effect at the next start.
// An empty `appDataFolder` stands for the system's temporary folder.
std::string ChooseWorkingFolder(LSettingsStore& settings, const std::string& appDataFolder);

}  // namespace osmera
