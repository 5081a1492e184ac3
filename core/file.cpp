#include "core/file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <utility>

namespace osmera {

namespace {

// Open failures that have no errno of their own: the path names something that is not a
// regular file.
constexpr int kNotRegularPipe = -1;
constexpr int kNotRegularDevice = -2;
constexpr int kNotRegularSocket = -3;
constexpr int kNotRegularOther = -4;

}  // namespace

int LFile::NotRegularError(unsigned mode) {
    if (S_ISDIR(mode))
        return EISDIR;
    if (S_ISFIFO(mode))
        return kNotRegularPipe;
    if (S_ISCHR(mode) || S_ISBLK(mode))
        return kNotRegularDevice;
    if (S_ISSOCK(mode))
        return kNotRegularSocket;
    return kNotRegularOther;
}

LFile::LFile(LFile&& other) noexcept
    : fd_(std::exchange(other.fd_, -1)), error_(std::exchange(other.error_, 0)) {}

LFile& LFile::operator=(LFile&& other) noexcept {
    if (this != &other) {
        Close();
        fd_ = std::exchange(other.fd_, -1);
        error_ = std::exchange(other.error_, 0);
    }
    return *this;
}

bool LFile::Open(const std::string& path, Mode mode) {
    Close();
    int flags = O_CLOEXEC;
    switch (mode) {
        case Mode::kRead:
            flags |= O_RDONLY;
            break;
        case Mode::kReadWrite:
            flags |= O_RDWR | O_CREAT;
            break;
        case Mode::kCreate:
            flags |= O_RDWR | O_CREAT | O_TRUNC;
            break;
    }
    // Non-blocking, so that a pipe without a writer does not hold the open; the flag is
    // cleared again once the file is known to be a regular one.
    do {
        fd_ = ::open(path.c_str(), flags | O_NONBLOCK, 0666);
    } while (fd_ < 0 && errno == EINTR);
    if (fd_ < 0) {
        error_ = errno;
        return false;
    }
    struct stat st {};
    if (::fstat(fd_, &st) != 0) {
        error_ = errno;
        Close();
        return false;
    }
    // Reading wants a file with an end (a device may never end, a pipe may never start);
    // writing accepts devices (the full and null devices serve in tests) but nothing that
    // can hold a writer up.
    const bool usable =
        mode == Mode::kRead ? S_ISREG(st.st_mode) : S_ISREG(st.st_mode) || S_ISCHR(st.st_mode);
    if (!usable) {
        error_ = NotRegularError(st.st_mode);
        Close();
        return false;
    }
    const int status = ::fcntl(fd_, F_GETFL);
    if (status < 0 || ::fcntl(fd_, F_SETFL, status & ~O_NONBLOCK) != 0) {
        error_ = errno;
        Close();
        return false;
    }
    error_ = 0;
    return true;
}

std::string LFile::DescribeError(int error) {
    switch (error) {
        case 0:
            return {};
        case EISDIR:
            return "It is a folder, not a file.";
        case kNotRegularPipe:
            return "It is a pipe (FIFO), not a regular file.";
        case kNotRegularDevice:
            return "It is a device, not a regular file.";
        case kNotRegularSocket:
            return "It is a socket, not a regular file.";
        case kNotRegularOther:
            return "It is not a regular file.";
        default:
            return std::string(std::strerror(error)) + ".";
    }
}

void LFile::Close() {
    if (fd_ >= 0)
        ::close(std::exchange(fd_, -1));
}

int64_t LFile::Read(void* buffer, int64_t bytes) {
    if (fd_ < 0 || bytes < 0)
        return -1;
    auto* p = static_cast<char*>(buffer);
    int64_t got = 0;
    while (got < bytes) {
        const ssize_t n = ::read(fd_, p + got, static_cast<size_t>(bytes - got));
        if (n < 0) {
            if (errno == EINTR)
                continue;
            return got > 0 ? got : -1;
        }
        if (n == 0)
            break;
        got += n;
    }
    return got;
}

bool LFile::Write(const void* buffer, int64_t bytes) {
    if (fd_ < 0 || bytes < 0)
        return false;
    const auto* p = static_cast<const char*>(buffer);
    int64_t done = 0;
    while (done < bytes) {
        const ssize_t n = ::write(fd_, p + done, static_cast<size_t>(bytes - done));
        if (n < 0) {
            if (errno == EINTR)
                continue;
            return false;
        }
        done += n;
    }
    return true;
}

bool LFile::Seek(int64_t offset) {
    return fd_ >= 0 && offset >= 0 && ::lseek(fd_, offset, SEEK_SET) == offset;
}

int64_t LFile::Tell() const {
    return fd_ >= 0 ? ::lseek(fd_, 0, SEEK_CUR) : -1;
}

int64_t LFile::Size() const {
    struct stat st {};
    if (fd_ < 0 || ::fstat(fd_, &st) != 0)
        return -1;
    return st.st_size;
}

bool LFile::Truncate() {
    const int64_t at = Tell();
    return at >= 0 && ::ftruncate(fd_, at) == 0;
}

bool LFile::Sync() {
    return fd_ >= 0 && ::fsync(fd_) == 0;
}

}  // namespace osmera
