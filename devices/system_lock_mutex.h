#pragma once
// LSystemLockMutex: a lock that is named system-wide, so separate processes of the same
// user can exclude each other. It is an exclusive flock on a lock file: the name "X"
// is the file "X.lock" in the user's runtime folder ($XDG_RUNTIME_DIR), or
// "X-<user id>.lock" in the temporary folder when there is none. The system drops the
// lock when its holder exits, however it exits; the file itself stays.
//
// Each object is one holder: two objects of the same name exclude each other even in
// one process. An object is used by one thread at a time.

#include <cstdint>
#include <string>

#include "devices/event.h"

namespace osmera {

// The lock a starting editor takes while it looks for a running one.
inline constexpr char kRunMutexName[] = "OsmeraRunMutex";

class LSystemLockMutex {
  public:
    // Opens the lock file of `name` (created when missing), in `folder` when given.
    // Not locked yet. "LSystemLockMutex::LSystemLockMutex CreateMutex FAILED" when the
    // file cannot be opened; every Lock then fails.
    explicit LSystemLockMutex(const std::string& name, const std::string& folder = {});
    // Closes the file, which releases a lock still held.
    ~LSystemLockMutex();
    LSystemLockMutex(const LSystemLockMutex&) = delete;
    LSystemLockMutex& operator=(const LSystemLockMutex&) = delete;

    bool IsOpen() const { return fd_ >= 0; }
    const std::string& Path() const { return path_; }

    // Waits up to `timeoutMs` (kWaitInfinite: as long as it takes, 0: only tries) until
    // no other holder has the lock, and takes it. True when this object holds it; true at
    // once when it already did. ("LSystemLockMutex::Lock()", then
    // "LSystemLockMutex::Lock() Locked OK" or "LSystemLockMutex::Lock() FAILED".)
    bool Lock(uint32_t timeoutMs = kWaitInfinite);
    // Releases the lock; false ("LSystemLockMutex::Unlock() FAILED") when this object
    // does not hold it.
    bool Unlock();
    bool IsLocked() const { return held_; }

  private:
    std::string path_;
    int fd_ = -1;
    bool held_ = false;
};

}  // namespace osmera
