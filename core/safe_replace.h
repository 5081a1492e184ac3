#pragma once
// Writing a file so that a failure never leaves half a file in place of the user's:
// write to a temporary sibling, then rename it over the target in one step.
//
//   LSafeReplace out(target);
//   if (out.Failed()) ... report out.ErrorText() and stop ...
//   ... write everything to out.TempPath() ...
//   if (allGood) ok = out.Commit();   // otherwise the destructor removes the temporary
//
// What the user sees of the target is kept:
// - a symbolic link is followed: the file it names is replaced and the link stays;
// - the replaced file's mode (and its owner and group, where the system permits) pass to
//   the new file;
// - the new data is flushed to the disk before the rename and the folder after it, so a
//   power cut leaves the old file or the new one, never an empty one.
// A file with other hard links is still replaced by a rename: its other names keep the
// old contents (OtherLinks() says how many there were). Copying into the linked file in
// place would keep the links but could leave a half-written file behind after a crash.
//
// The temporary is ".NAME.osmera-PID-N.tmp" in the folder of the file replaced, so the
// rename never crosses file systems. It is created at once, empty, with the group and
// other permissions the finished file will have (never wider; its owner may always read
// and write it), and is then written through its path. Building
// an LSafeReplace also removes what dead processes left in that folder (see
// RemoveLeftovers).
//
// One object is used by one thread; objects for different targets may live on several
// threads at once.

#include <string>

namespace osmera {

class LSafeReplace {
  public:
    explicit LSafeReplace(std::string target);
    ~LSafeReplace();
    LSafeReplace(const LSafeReplace&) = delete;
    LSafeReplace& operator=(const LSafeReplace&) = delete;

    const std::string& TempPath() const { return temp_; }
    // The path as given.
    const std::string& Target() const { return target_; }
    // The file that is replaced: the target, or the file its symbolic links lead to.
    const std::string& FinalPath() const { return final_; }

    // True when the target cannot be replaced (it is a folder or not a regular file, or
    // the temporary could not be created), so there is no point in writing; ErrorText()
    // says why.
    bool Failed() const { return error_ != 0; }
    // Moves the temporary over the file replaced. False (the temporary removed, the file
    // untouched, ErrorText() set) when that fails.
    bool Commit();
    // Why construction or Commit failed, as a sentence for the user; empty when nothing
    // failed.
    std::string ErrorText() const;
    // After Commit: how many other hard links the replaced file had (they keep the old
    // contents); 0 for a new file or one without other links.
    int OtherLinks() const { return otherLinks_; }

    // Removes the temporaries that processes which have ended left in `folder`: hidden
    // files named like ours, owned by this user, whose process id is no longer in use or
    // belongs to a process started after the file was last written (a reused id). Returns
    // how many were removed. Never touches files of a live writer.
    static int RemoveLeftovers(const std::string& folder);

  private:
    void CreateTemp(const std::string& folder, const std::string& name, unsigned mode);
    void CopyOwnerAndMode(int fd);

    std::string target_;
    std::string final_;
    std::string temp_;
    int error_ = 0;  // errno, or kNotRegular
    int otherLinks_ = 0;
    bool created_ = false;
    bool committed_ = false;
};

}  // namespace osmera
