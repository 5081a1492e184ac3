#include "edit/cut_folder.h"

#include <fcntl.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <system_error>
#include <vector>

#include "core/trace.h"
#include "edit/document_journal.h"

namespace osmera {
namespace {

namespace fs = std::filesystem;

// The process id in "osmera-run-<pid>-XXXXXX"; 0 when the name has none.
pid_t PidInName(const std::string& name) {
    const size_t prefix = sizeof LCutFolder::kPrefix - 1;
    size_t i = prefix;
    long long pid = 0;
    while (i < name.size() && name[i] >= '0' && name[i] <= '9') {
        pid = pid * 10 + (name[i] - '0');
        if (pid > 2147483647)
            return 0;
        ++i;
    }
    if (i == prefix || i >= name.size() || name[i] != '-')
        return 0;
    return static_cast<pid_t>(pid);
}

bool ProcessRuns(pid_t pid) {
    return pid == getpid() || kill(pid, 0) == 0 || errno != ESRCH;
}

// A journal's temporary ("document-<id>.journal.tmp") that a killed run left.
bool IsJournalTempName(const std::string& name) {
    return name.size() > 4 && name.compare(name.size() - 4, 4, ".tmp") == 0 &&
           IsJournalFileName(name.substr(0, name.size() - 4));
}

// Deletes the cut files, journals and the lock file of `dir`, then the folder when nothing
// else is left in it.
void RemoveOurFiles(const fs::path& dir) {
    std::error_code ec;
    std::vector<fs::path> doomed;
    for (fs::directory_iterator it(dir, ec), end; !ec && it != end; it.increment(ec)) {
        const std::string name = it->path().filename().string();
        if ((LCutFolder::IsCutFileName(name) || name == LCutFolder::kLockName ||
             IsJournalFileName(name) || IsJournalTempName(name)) &&
            it->symlink_status(ec).type() == fs::file_type::regular) {
            doomed.push_back(it->path());
        }
    }
    for (const fs::path& p : doomed)
        fs::remove(p, ec);
    if (::rmdir(dir.c_str()) != 0)
        LTracef("LCutFolder::CleanDeadFolders %s keeps files of others", dir.c_str());
}

// True when `dir` (an "osmera-run-*" folder) had no living owner and was cleaned.
bool RemoveIfDead(const fs::path& dir) {
    const fs::path lock = dir / LCutFolder::kLockName;
    const int fd = ::open(lock.c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW);
    if (fd >= 0) {
        // Its owner holds this lock until it has removed the folder; taking it means the
        // owner is gone. Holding it while deleting keeps a second cleaner out.
        const bool dead = ::flock(fd, LOCK_EX | LOCK_NB) == 0;
        // A dead run whose journals describe unsaved documents keeps its folder: the
        // editor offers to recover them (journal_recovery.h).
        const bool keep = dead && !ListJournals(dir.string()).empty();
        if (dead && !keep)
            RemoveOurFiles(dir);
        ::close(fd);
        return dead && !keep;
    }
    if (errno != ENOENT)
        return false;
    // No lock file: an owner between making its folder and locking it, or one that died
    // right there. Only the process in the name can tell.
    const pid_t pid = PidInName(dir.filename().string());
    if (pid <= 0 || ProcessRuns(pid) || !ListJournals(dir.string()).empty())
        return false;
    RemoveOurFiles(dir);
    return true;
}

}  // namespace

bool LCutFolder::IsCutFileName(const std::string& name) {
    const size_t dot = name.find('.');
    if (dot == 0 || dot == std::string::npos || dot + 4 != name.size())
        return false;
    for (size_t i = 0; i < dot; ++i) {
        if (name[i] < '0' || name[i] > '9')
            return false;
    }
    return name.compare(dot, 4, ".aud") == 0 || name.compare(dot, 4, ".grf") == 0;
}

int LCutFolder::LockIfDead(const std::string& dir) {
    const int fd = ::open((fs::path(dir) / kLockName).c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW);
    if (fd < 0)
        return -1;
    if (::flock(fd, LOCK_EX | LOCK_NB) != 0) {
        ::close(fd);
        return -1;
    }
    return fd;
}

void LCutFolder::RemoveFolder(const std::string& dir) {
    RemoveOurFiles(dir);
}

int LCutFolder::CleanDeadFolders(const std::string& parent) {
    std::error_code ec;
    std::vector<fs::path> candidates;
    for (fs::directory_iterator it(parent, ec), end; !ec && it != end; it.increment(ec)) {
        const std::string name = it->path().filename().string();
        if (name.rfind(kPrefix, 0) == 0 &&
            it->symlink_status(ec).type() == fs::file_type::directory) {
            candidates.push_back(it->path());
        }
    }
    int removed = 0;
    for (const fs::path& dir : candidates) {
        if (RemoveIfDead(dir)) {
            LTracef("LCutFolder::CleanDeadFolders removed %s", dir.c_str());
            ++removed;
        }
    }
    return removed;
}

std::unique_ptr<LCutFolder> LCutFolder::Create(const std::string& parent, std::string* message) {
    auto fail = [&](const std::string& why) -> std::unique_ptr<LCutFolder> {
        LTracef("LCutFolder::Create %s: %s", parent.c_str(), why.c_str());
        if (message)
            *message = "cannot make a working folder in " + parent + " (" + why + ")";
        return nullptr;
    };
    if (parent.empty())
        return fail("no folder given");
    std::error_code ec;
    fs::create_directories(parent, ec);
    if (!fs::is_directory(parent, ec))
        return fail(ec ? ec.message() : "not a folder");
    CleanDeadFolders(parent);

    std::string path =
        (fs::path(parent) / (std::string(kPrefix) + std::to_string(getpid()) + "-XXXXXX")).string();
    if (::mkdtemp(path.data()) == nullptr)
        return fail(std::strerror(errno));
    // Close-on-exec: a coder program started by the editor must not keep the lock alive
    // after the editor has ended.
    const int fd = ::open((fs::path(path) / kLockName).c_str(),
                          O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600);
    if (fd < 0) {
        const std::string why = std::strerror(errno);
        ::rmdir(path.c_str());
        return fail(why);
    }
    // A file system without flock still works; only the process id in the name then tells
    // a cleaner that this folder is in use (a cleaner never takes a lock it cannot get).
    if (::flock(fd, LOCK_EX | LOCK_NB) != 0)
        LTracef("LCutFolder::Create cannot lock %s", path.c_str());
    return std::unique_ptr<LCutFolder>(new LCutFolder(std::move(path), fd));
}

LCutFolder::~LCutFolder() {
    // Lock file first, folder next, lock last: a cleaner that finds the lock file also
    // finds it held, and one that finds none sees this process still running.
    if (keep_) {
        ::close(lockFd_);
        return;
    }
    ::unlink((fs::path(path_) / kLockName).c_str());
    if (::rmdir(path_.c_str()) != 0)
        LTracef("LCutFolder::~LCutFolder %s not removed", path_.c_str());
    ::close(lockFd_);
}

}  // namespace osmera
