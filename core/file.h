#pragma once
// A file handle whose operations report failure by result, never by exception.
// Offsets are 64-bit. Owns the descriptor; closes it in the destructor. Movable, not
// copyable. One thread at a time.

#include <cstdint>
#include <string>

namespace osmera {

class LFile {
public:
    enum class Mode {
        kRead,          // existing file, read only
        kReadWrite,     // read and write, created when missing, contents kept
        kCreate,        // read and write, created or emptied
    };

    LFile() = default;
    ~LFile() { Close(); }
    LFile(LFile&& other) noexcept;
    LFile& operator=(LFile&& other) noexcept;
    LFile(const LFile&) = delete;
    LFile& operator=(const LFile&) = delete;

    bool Open(const std::string& path, Mode mode);
    void Close();
    bool IsOpen() const { return fd_ >= 0; }

    // Bytes read (fewer at the end of the file, 0 there), or -1 on failure.
    int64_t Read(void* buffer, int64_t bytes);
    // True when every byte was written (false on a full disk, for instance).
    bool Write(const void* buffer, int64_t bytes);
    bool Seek(int64_t offset);
    // Current offset, or -1.
    int64_t Tell() const;
    // Size in bytes, or -1.
    int64_t Size() const;
    // Cuts the file at the current offset.
    bool Truncate();
    // Flushes to the disk.
    bool Sync();

    int Descriptor() const { return fd_; }

private:
    int fd_ = -1;
};

}  // namespace osmera
