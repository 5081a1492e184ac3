#pragma once
// LCutFolder: a folder that belongs to one cut tank for as long as the tank uses it.
//
// Cut files are named by number only ("0.aud", "0.grf"), so two tanks in one folder would
// overwrite each other's cuts, and a tank that swept "*.aud" from a folder it shares would
// take the user's own files with it. A tank therefore never works directly in the folder it
// is given (the editor's working folder, `osmera-cli run --work-dir DIR`, the temporary
// folder): it makes a folder of its own inside it, "osmera-run-<pid>-XXXXXX", and holds an
// exclusive flock on the file "osmera.lock" in it. Any number of programs may share one
// parent folder; each sees only its own cuts.
//
// A program that died without cleaning up (kill -9, a power cut) leaves its folder behind,
// with cuts of up to twice its audio's size. Such a folder is recognised by its lock: the
// system drops a flock when its holder ends however it ends, so a lock that can be taken
// has no owner left. The next tank that starts in the same parent removes what those
// folders hold of ours (cut files and the lock file) and the folders themselves when they
// are then empty; a file of anyone else stays, and so does the folder holding it. A dead
// folder that holds document journals (document_journal.h) is left whole: its cuts are
// unsaved work that the editor offers to recover (journal_recovery.h).
//
// The object owns its folder: its destruction removes the lock file and the folder (when
// empty; cut files are the tank's to delete first) and releases the lock. One thread at a
// time; the tank calls it under its own lock.

#include <memory>
#include <string>

namespace osmera {

class LCutFolder {
  public:
    // Removes the folders of dead owners from `parent` (created when missing), then makes
    // and locks a folder of this process there. Null, with `message` set when given, when
    // the folder cannot be made.
    static std::unique_ptr<LCutFolder> Create(const std::string& parent,
                                              std::string* message = nullptr);
    ~LCutFolder();
    LCutFolder(const LCutFolder&) = delete;
    LCutFolder& operator=(const LCutFolder&) = delete;

    // The folder, without a trailing separator.
    const std::string& Path() const { return path_; }
    // Lets the folder outlive this object as a dead run's: the destruction then only
    // releases the lock and leaves the lock file and the folder, so the next start finds
    // the folder dead and offers the journals in it.
    void KeepAfterExit() { keep_ = true; }

    // Removes from `parent` what dead programs of ours left: every "osmera-run-*" folder
    // whose "osmera.lock" nobody holds (or, while a starting owner has not yet made its
    // lock file, whose process in the name no longer runs). Only cut files and the lock
    // file are deleted. Returns how many folders were removed.
    static int CleanDeadFolders(const std::string& parent);

    // Takes the lock of the folder `dir` of another run when that run has ended: the
    // descriptor holding it (close it to let go), or -1 when the run lives or the folder
    // has no lock file.
    static int LockIfDead(const std::string& dir);
    // Deletes what a run of ours keeps in `dir` (cut files, journals, the lock file) and
    // the folder when nothing else is left in it.
    static void RemoveFolder(const std::string& dir);

    // True for the name of a cut file: decimal digits followed by ".aud" or ".grf".
    static bool IsCutFileName(const std::string& name);

    static constexpr char kPrefix[] = "osmera-run-";
    static constexpr char kLockName[] = "osmera.lock";

  private:
    LCutFolder(std::string path, int lockFd) : path_(std::move(path)), lockFd_(lockFd) {}

    std::string path_;
    int lockFd_;
    bool keep_ = false;
};

}  // namespace osmera
