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
//
// The folder: programs give the tank a parent folder (OpenFolderIn) and it works in a
// locked folder of its own inside it (cut_folder.h), so that two programs given the same
// folder never see each other's cuts, and what a dead program left there is cleaned at the
// next start. The tank deletes only cut files it created itself, never other files that
// happen to be named like cuts.
//
// A full tank: when all 65535 numbers are in use a new cut would reuse number 0 and
// overwrite audio still in use. That rule stays (GetNewRefAndIncRef), but nothing of ours
// gets there: the sink takes its number with TakeNewRef, which refuses when none is free,
// and commands that make new cuts ask HasFreeCuts first and refuse with
// kCutTankFullMessage.

#include <array>
#include <atomic>
#include <bitset>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

#include "core/settings_store.h"
#include "edit/cut_folder.h"

namespace osmera {

// The cut number that stands for silence: never a file, reads as zeros.
constexpr uint16_t SILENT_CUT = 65535;

class LAudioCutTank {
  public:
    // Numbers 0 to 65534 can name cuts.
    static constexpr uint32_t kCutNumbers = 65535;
    // The largest count; one that got there stays there.
    static constexpr uint16_t kMaxCount = 65535;

    // The process-wide tank. Its destruction at exit deletes every cut file it made and the
    // folder OpenFolderIn made for it.
    static LAudioCutTank& Instance();

    // Makes a locked folder of this tank inside `parent` (created when missing) and works
    // there; first removes the folders that dead programs of ours left in `parent`. Call at
    // start-up, before any cut is written. False (no folder, `message` set when given)
    // when the folder cannot be made. A folder the tank had before is left as Reset does.
    bool OpenFolderIn(const std::string& parent, std::string* message = nullptr);
    // Works in exactly `folder` (a separator is appended when missing), which must belong
    // to this tank alone: nothing locks it. For tests and tools that made a private folder
    // themselves. Call before any cut is written; "" means no folder, and then no cut file
    // can be created. A folder of the tank's own made earlier is given up as Reset does.
    void SetFolder(const std::string& folder);
    // The folder, ending in a separator, or "".
    const std::string& GetFolder() const { return folder_; }

    // On: every cut's files are flushed to the disk when its writer closes, so a journal
    // (document_journal.h) written after that never names audio a power cut could lose.
    // Off by default (tools and tests that keep nothing after a crash). Any thread.
    void SetSyncCutFiles(bool sync) { syncCutFiles_ = sync; }
    bool SyncsCutFiles() const { return syncCutFiles_; }

    // Takes the lowest free number and gives it a count of 1. When all 65535 numbers are in
    // use it returns 0 without changing any count: the new cut then overwrites cut 0's files.
    // Nothing of ours calls it when full: see TakeNewRef and HasFreeCuts.
    uint16_t GetNewRefAndIncRef();
    // Takes the lowest free number into `number` with a count of 1; false, with nothing
    // changed, when all are in use. What every writer of a cut uses.
    bool TakeNewRef(uint16_t& number);
    // Adds a reference; a count that reached 65535 stays there for good (see DecRef).
    // Numbers from 65535 up (silence) are ignored.
    void IncRef(uint32_t number);
    // Drops a reference. A count below 2 becomes 0 and both files of the cut are deleted
    // (failures to delete are ignored). Numbers from 65535 up are ignored, and so is a cut
    // whose count reached 65535: the references it lost count of are unknown, so counting
    // down would delete it while lists still read it (a cut split 8000 times, times the
    // eight undo steps that copy the list, gets there). Its files go at exit.
    void DecRef(uint32_t number);
    // The count of `number` (0 for silence and out-of-range numbers).
    uint16_t GetRefCount(uint32_t number) const;
    // How many numbers are in use, and how many are free.
    uint32_t GetCutsInUse() const;
    uint32_t GetFreeCutNumbers() const { return kCutNumbers - GetCutsInUse(); }
    // True when at least `needed` numbers are free. A command that makes `needed` new cuts
    // asks first, and refuses with kCutTankFullMessage when not; the answer may change
    // at once if other threads take numbers, so the writer's TakeNewRef still decides.
    bool HasFreeCuts(uint32_t needed = 1) const { return GetFreeCutNumbers() >= needed; }

    // The folder joined with "<number>.aud" / "<number>.grf"; "" for silence (65535 and up)
    // and while no folder is set.
    std::string GetAudFilePath(uint32_t number) const;
    std::string GetGrfFilePath(uint32_t number) const;

    // Deletes the files of every cut this tank made in its folder, whatever is still
    // referenced; other files stay, also those named like cuts. Runs at exit; counts are
    // left as they are.
    void DeleteAllCutFiles();
    // The exit that keeps unsaved work (a termination signal, the end of the session with
    // journals kept, document_journal.h): deletes the files of the cuts nothing references
    // any more and leaves the rest, the journals and the lock file in the folder, which the
    // next start then finds as a dead run's. The tank has no folder afterwards.
    void KeepReferencedCutFiles();

    // Deletes every cut file, sets every count to 0 and forgets the folder; a folder of
    // the tank's own (OpenFolderIn) is removed and its lock released. Only while no list,
    // source or sink names a cut: between tests, between runs of a tool, at exit.
    void Reset();

    LAudioCutTank() = default;
    ~LAudioCutTank();
    LAudioCutTank(const LAudioCutTank&) = delete;
    LAudioCutTank& operator=(const LAudioCutTank&) = delete;

  private:
    std::string PathOf(uint32_t number, const char* extension) const;
    void DeleteFilesOf(uint32_t number) const;
    void DeleteAllCutFilesLocked();
    void LeaveFolderLocked();

    mutable std::mutex mutex_;
    std::string folder_;
    std::unique_ptr<LCutFolder> ownFolder_;  // the folder when OpenFolderIn made it
    std::array<uint16_t, kCutNumbers> refCount_{};
    // Numbers handed out since the folder was set: the cuts whose files this tank made.
    std::bitset<kCutNumbers> taken_;
    // Every number below this one is in use, so the search for a free number starts here.
    uint32_t firstMaybeFree_ = 0;
    std::atomic<bool> syncCutFiles_{false};
};

// What a command that needs new cuts says when the tank has too few free numbers.
extern const char* const kCutTankFullMessage;

// The per-user application data folder: $XDG_DATA_HOME when set, else ~/.local/share
// ("" when neither is known).
std::string UserAppDataFolder();

// The working folder chosen at start-up. The remembered folder "Folders"/"Current" is built
// when empty as `appDataFolder`/Quillon/Osmera/Current (each missing folder created) and
// stored back; then "Settings"/"WorkingFolder" with that default is the result (created
// when missing). A changed "WorkingFolder" therefore takes effect at the next start.
// An empty `appDataFolder` stands for the system's temporary folder. The result is the
// parent the tank is given at start-up:
//
//     LAudioCutTank::Instance().OpenFolderIn(ChooseWorkingFolder(settings, UserAppDataFolder()),
//                                            &message);
std::string ChooseWorkingFolder(LSettingsStore& settings, const std::string& appDataFolder);

}  // namespace osmera
