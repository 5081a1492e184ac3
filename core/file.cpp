#include "core/file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

namespace osmera {

LFile::LFile(LFile&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}

LFile& LFile::operator=(LFile&& other) noexcept {
    if (this != &other) {
        Close();
        fd_ = std::exchange(other.fd_, -1);
    }
    return *this;
}

bool LFile::Open(const std::string& path, Mode mode) {
    Close();
    int flags = O_CLOEXEC;
    switch (mode) {
        case Mode::kRead: flags |= O_RDONLY; break;
        case Mode::kReadWrite: flags |= O_RDWR | O_CREAT; break;
        case Mode::kCreate: flags |= O_RDWR | O_CREAT | O_TRUNC; break;
    }
    do {
        fd_ = ::open(path.c_str(), flags, 0666);
    } while (fd_ < 0 && errno == EINTR);
    if (fd_ < 0) return false;
    struct stat st {};
    if (::fstat(fd_, &st) != 0 || S_ISDIR(st.st_mode)) {
        Close();
        return false;
    }
    return true;
}

void LFile::Close() {
    if (fd_ >= 0) ::close(std::exchange(fd_, -1));
}

int64_t LFile::Read(void* buffer, int64_t bytes) {
    if (fd_ < 0 || bytes < 0) return -1;
    auto* p = static_cast<char*>(buffer);
    int64_t got = 0;
    while (got < bytes) {
        const ssize_t n = ::read(fd_, p + got, static_cast<size_t>(bytes - got));
        if (n < 0) {
            if (errno == EINTR) continue;
            return got > 0 ? got : -1;
        }
        if (n == 0) break;
        got += n;
    }
    return got;
}

bool LFile::Write(const void* buffer, int64_t bytes) {
    if (fd_ < 0 || bytes < 0) return false;
    const auto* p = static_cast<const char*>(buffer);
    int64_t done = 0;
    while (done < bytes) {
        const ssize_t n = ::write(fd_, p + done, static_cast<size_t>(bytes - done));
        if (n < 0) {
            if (errno == EINTR) continue;
            return false;
        }
        done += n;
    }
    return true;
}

bool LFile::Seek(int64_t offset) {
    return fd_ >= 0 && offset >= 0 && ::lseek(fd_, offset, SEEK_SET) == offset;
}

int64_t LFile::Tell() const { return fd_ >= 0 ? ::lseek(fd_, 0, SEEK_CUR) : -1; }

int64_t LFile::Size() const {
    struct stat st {};
    if (fd_ < 0 || ::fstat(fd_, &st) != 0) return -1;
    return st.st_size;
}

bool LFile::Truncate() {
    const int64_t at = Tell();
    return at >= 0 && ::ftruncate(fd_, at) == 0;
}

bool LFile::Sync() { return fd_ >= 0 && ::fsync(fd_) == 0; }

}  // namespace osmera
