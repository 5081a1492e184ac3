#include "devices/system_lock_mutex.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <system_error>
#include <thread>

#include "core/trace.h"

namespace osmera {
namespace {

std::string LockFilePath(std::string name, const std::string& folder) {
    // A name is one file name, whatever it holds.
    std::replace(name.begin(), name.end(), '/', '_');
    if (!folder.empty())
        return (std::filesystem::path(folder) / (name + ".lock")).string();
    const char* runtime = std::getenv("XDG_RUNTIME_DIR");
    if (runtime != nullptr && *runtime != '\0') {
        return (std::filesystem::path(runtime) / (name + ".lock")).string();
    }
    // The temporary folder is shared by every user: the user id keeps the lock per user.
    std::error_code ec;
    std::filesystem::path temp = std::filesystem::temp_directory_path(ec);
    if (ec)
        temp = "/tmp";
    return (temp / (name + "-" + std::to_string(getuid()) + ".lock")).string();
}

}  // namespace

LSystemLockMutex::LSystemLockMutex(const std::string& name, const std::string& folder)
    : path_(LockFilePath(name, folder)) {
    // Close-on-exec: a coder program started by the editor must not inherit the lock and
    // keep it after the editor has ended.
    fd_ = open(path_.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (fd_ < 0)
        LTrace("LSystemLockMutex::LSystemLockMutex CreateMutex FAILED");
}

LSystemLockMutex::~LSystemLockMutex() {
    if (fd_ >= 0)
        close(fd_);
}

bool LSystemLockMutex::Lock(uint32_t timeoutMs) {
    LTrace("LSystemLockMutex::Lock()");
    bool locked = held_;
    if (!locked && fd_ >= 0) {
        if (timeoutMs == kWaitInfinite) {
            int r;
            do {
                r = flock(fd_, LOCK_EX);
            } while (r != 0 && errno == EINTR);
            locked = r == 0;
        } else {
            // flock has no time-out: try, and sleep a little between tries.
            const auto deadline =
                std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
            for (;;) {
                if (flock(fd_, LOCK_EX | LOCK_NB) == 0) {
                    locked = true;
                    break;
                }
                if (errno != EWOULDBLOCK && errno != EINTR)
                    break;
                if (std::chrono::steady_clock::now() >= deadline)
                    break;
                std::this_thread::sleep_for(std::chrono::milliseconds(5));
            }
        }
    }
    held_ = locked;
    LTrace(locked ? "LSystemLockMutex::Lock() Locked OK" : "LSystemLockMutex::Lock() FAILED");
    return locked;
}

bool LSystemLockMutex::Unlock() {
    LTrace("LSystemLockMutex::Unlock()");
    if (!held_ || flock(fd_, LOCK_UN) != 0) {
        LTrace("LSystemLockMutex::Unlock() FAILED");
        return false;
    }
    held_ = false;
    return true;
}

}  // namespace osmera
