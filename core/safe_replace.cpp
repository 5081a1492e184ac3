#include "core/safe_replace.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string_view>

#include "core/file.h"
#include "core/trace.h"

namespace osmera {

namespace {

constexpr std::string_view kTempInfix = ".osmera-";
constexpr std::string_view kTempSuffix = ".tmp";
// Symbolic links followed before giving up (the system's own limit is 40).
constexpr int kMaxLinks = 40;
// Attempts at a free temporary name before giving up.
constexpr int kMaxNameAttempts = 100;
// The boot time the kernel reports is whole seconds, and file times may be coarse: a
// process counts as started after a file's last change only beyond this margin.
constexpr double kStartMarginSeconds = 2.0;

std::string FolderOf(const std::filesystem::path& path) {
    const std::string parent = path.parent_path().string();
    return parent.empty() ? "." : parent;
}

// The file `path` leads to through symbolic links: `path` itself when it is not a link
// or does not exist. Sets `error` to ELOOP when the links go round.
std::string FollowLinks(const std::string& path, int& error) {
    std::filesystem::path p(path);
    for (int i = 0; i < kMaxLinks; ++i) {
        struct stat st {};
        if (::lstat(p.c_str(), &st) != 0 || !S_ISLNK(st.st_mode))
            return p.string();
        char buffer[PATH_MAX];
        const ssize_t n = ::readlink(p.c_str(), buffer, sizeof buffer - 1);
        if (n < 0)
            return p.string();
        const std::filesystem::path next(std::string(buffer, static_cast<size_t>(n)));
        p = next.is_absolute() ? next : p.parent_path() / next;
    }
    error = ELOOP;
    return path;
}

// The process id in a name made by LSafeReplace (".NAME.osmera-PID-N.tmp"), or 0 when
// the name is not one of ours.
pid_t LeftoverPid(std::string_view name) {
    if (name.size() < 2 || name[0] != '.' || !name.ends_with(kTempSuffix))
        return 0;
    name.remove_suffix(kTempSuffix.size());
    const size_t infix = name.rfind(kTempInfix);
    if (infix == std::string_view::npos || infix < 2)
        return 0;
    // What is left is "PID-N": digits, one dash, digits.
    const std::string_view rest = name.substr(infix + kTempInfix.size());
    const size_t dash = rest.find('-');
    if (dash == 0 || dash == std::string_view::npos || dash > 9 || dash + 1 == rest.size() ||
        rest.find_first_not_of("0123456789-") != std::string_view::npos ||
        rest.find('-', dash + 1) != std::string_view::npos)
        return 0;
    pid_t pid = 0;
    for (char c : rest.substr(0, dash))
        pid = pid * 10 + (c - '0');
    return pid;
}

// When process `pid` started, in seconds since the epoch; negative when unknown.
double ProcessStartTime(pid_t pid) {
    std::ifstream statFile("/proc/" + std::to_string(pid) + "/stat");
    std::string line;
    if (!std::getline(statFile, line))
        return -1;
    // Fields after the command name (which may hold spaces) start with field 3; the
    // start time, in clock ticks after boot, is field 22.
    const size_t close = line.rfind(')');
    if (close == std::string::npos)
        return -1;
    std::istringstream fields(line.substr(close + 1));
    std::string field;
    for (int i = 3; i <= 22; ++i)
        fields >> field;
    if (!fields)
        return -1;
    std::ifstream procStat("/proc/stat");
    while (std::getline(procStat, line)) {
        long long bootTime = 0;
        if (std::sscanf(line.c_str(), "btime %lld", &bootTime) == 1) {
            const long ticks = ::sysconf(_SC_CLK_TCK);
            return ticks > 0 ? static_cast<double>(bootTime) + std::stod(field) / ticks : -1;
        }
    }
    return -1;
}

// False only when process `pid` cannot have written a file last changed at `mtime`: no
// such process runs, or the one that does started after that change (its id was reused).
bool MayBeWriting(pid_t pid, time_t mtime) {
    if (::kill(pid, 0) != 0 && errno == ESRCH)
        return false;
    const double start = ProcessStartTime(pid);
    return start < 0 || start <= static_cast<double>(mtime) + kStartMarginSeconds;
}

void SyncFolder(const std::string& folder) {
    const int fd = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0 || ::fsync(fd) != 0)
        LTracef("LSafeReplace::Commit cannot flush the folder %s", folder.c_str());
    if (fd >= 0)
        ::close(fd);
}

}  // namespace

LSafeReplace::LSafeReplace(std::string target) : target_(std::move(target)) {
    final_ = FollowLinks(target_, error_);
    // Permissions for group and others come from the file replaced (a new file gets the
    // usual ones); the owner may always read and write the temporary while it is written.
    unsigned mode = 0666;
    struct stat st {};
    if (::stat(final_.c_str(), &st) == 0) {
        if (!S_ISREG(st.st_mode) && error_ == 0)
            error_ = LFile::NotRegularError(st.st_mode);
        mode = (st.st_mode & 0777) | 0600;
    }
    const std::filesystem::path finalPath(final_);
    const std::string folder = FolderOf(finalPath);
    RemoveLeftovers(folder);
    CreateTemp(folder, finalPath.filename().string(), mode);
}

LSafeReplace::~LSafeReplace() {
    if (created_ && !committed_)
        std::remove(temp_.c_str());
}

void LSafeReplace::CreateTemp(const std::string& folder, const std::string& name, unsigned mode) {
    static std::atomic<unsigned> counter{0};
    for (int attempt = 0; attempt < kMaxNameAttempts; ++attempt) {
        // Built by appending: GCC 12 at -O3 warns falsely (-Wrestrict) on chained operator+.
        std::string tempName = ".";
        tempName.append(name);
        tempName.append(kTempInfix);
        tempName.append(std::to_string(::getpid()));
        tempName.append("-");
        tempName.append(std::to_string(counter++));
        tempName.append(kTempSuffix);
        temp_ = (std::filesystem::path(folder) / tempName).string();
        const int fd = ::open(temp_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode);
        if (fd >= 0) {
            ::close(fd);
            created_ = true;
            return;
        }
        if (errno != EEXIST)
            break;
    }
    LTracef("LSafeReplace::LSafeReplace cannot create %s", temp_.c_str());
    if (error_ == 0)
        error_ = errno;
}

void LSafeReplace::CopyOwnerAndMode(int fd) {
    struct stat old {};
    if (::stat(final_.c_str(), &old) != 0 || !S_ISREG(old.st_mode))
        return;  // a new file keeps the usual permissions
    otherLinks_ = old.st_nlink > 1 ? static_cast<int>(old.st_nlink - 1) : 0;
    struct stat now {};
    if (::fstat(fd, &now) == 0 && (now.st_uid != old.st_uid || now.st_gid != old.st_gid)) {
        // Only a privileged user may give a file away; anyone may pass it to a group of
        // their own. Failing both keeps this user's ownership.
        if (::fchown(fd, old.st_uid, old.st_gid) != 0 && ::fchown(fd, -1, old.st_gid) != 0)
            LTracef("LSafeReplace::Commit cannot keep the owner of %s", final_.c_str());
    }
    // After fchown, which may clear the set-id bits.
    if (::fchmod(fd, old.st_mode & 07777) != 0)
        LTracef("LSafeReplace::Commit cannot keep the mode of %s", final_.c_str());
}

bool LSafeReplace::Commit() {
    if (error_ == 0 && !created_)
        error_ = ENOENT;
    const int fd = error_ == 0 ? ::open(temp_.c_str(), O_RDONLY | O_CLOEXEC) : -1;
    if (error_ == 0 && fd < 0)
        error_ = errno;
    if (fd >= 0) {
        CopyOwnerAndMode(fd);
        // The data reaches the disk before the name does.
        if (::fsync(fd) != 0)
            error_ = errno;
        ::close(fd);
    }
    if (error_ == 0 && std::rename(temp_.c_str(), final_.c_str()) != 0)
        error_ = errno;
    if (error_ != 0) {
        LTracef("LSafeReplace::Commit cannot replace %s", final_.c_str());
        if (created_)
            std::remove(temp_.c_str());
        created_ = false;
        return false;
    }
    committed_ = true;
    SyncFolder(FolderOf(std::filesystem::path(final_)));
    return true;
}

std::string LSafeReplace::ErrorText() const {
    return LFile::DescribeError(error_);
}

int LSafeReplace::RemoveLeftovers(const std::string& folder) {
    int removed = 0;
    std::error_code ec;
    std::filesystem::directory_iterator it(folder.empty() ? "." : folder, ec);
    for (; !ec && it != std::filesystem::directory_iterator(); it.increment(ec)) {
        const std::string name = it->path().filename().string();
        const pid_t pid = LeftoverPid(name);
        if (pid <= 0)
            continue;
        struct stat st {};
        if (::lstat(it->path().c_str(), &st) != 0 || !S_ISREG(st.st_mode) ||
            st.st_uid != ::geteuid() || MayBeWriting(pid, st.st_mtime))
            continue;
        if (::unlink(it->path().c_str()) == 0) {
            ++removed;
            LTracef("LSafeReplace::RemoveLeftovers removed %s", it->path().c_str());
        }
    }
    return removed;
}

}  // namespace osmera
