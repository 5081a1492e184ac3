#pragma once
// The file a fuzz target hands its input to a reader through: an anonymous file in memory
// (memfd), opened by the readers through /proc/self/fd. It has no name in any folder, so
// nothing is left behind however the run ends (normally, at -max_total_time, on a crash,
// a time-out or a kill), and no disk is written.
//
// One per process; the fuzzing thread only.

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

namespace osmera::fuzz {

class LFuzzInputFile {
  public:
    LFuzzInputFile() {
        fd_ = ::memfd_create("osmera-fuzz-input", 0);
        if (fd_ < 0) {
            std::perror("memfd_create");
            std::abort();
        }
        path_ = "/proc/self/fd/" + std::to_string(fd_);
    }
    ~LFuzzInputFile() { ::close(fd_); }
    LFuzzInputFile(const LFuzzInputFile&) = delete;
    LFuzzInputFile& operator=(const LFuzzInputFile&) = delete;

    // Replaces the file's contents by `data`; the path that opens it.
    const std::string& Hold(const uint8_t* data, size_t size) {
        if (::ftruncate(fd_, 0) != 0 ||
            ::pwrite(fd_, data, size, 0) != static_cast<ssize_t>(size)) {
            std::perror("writing the fuzz input");
            std::abort();
        }
        return path_;
    }

  private:
    int fd_ = -1;
    std::string path_;
};

// The process's one input file.
inline LFuzzInputFile& FuzzInputFile() {
    static LFuzzInputFile file;
    return file;
}

}  // namespace osmera::fuzz
