#pragma once
// A file handle whose operations report failure by result, never by exception.
// Offsets are 64-bit. Owns the descriptor; closes it in the destructor. Movable, not
// copyable. One thread at a time.
//
// Only regular files are opened for reading: a folder, a pipe (FIFO), a device or a socket
// is refused at once, so that opening never waits for a writer that may never come.
// Writing also accepts character devices (the null and full devices).

#include <cstdint>
#include <string>

namespace osmera {

class LFile {
  public:
    enum class Mode {
        kRead,       // existing file, read only
        kReadWrite,  // read and write, created when missing, contents kept
        kCreate,     // read and write, created or emptied
    };

    LFile() = default;
    ~LFile() { Close(); }
    LFile(LFile&& other) noexcept;
    LFile& operator=(LFile&& other) noexcept;
    LFile(const LFile&) = delete;
    LFile& operator=(const LFile&) = delete;

    // False when the file could not be opened or is not a regular file; ErrorText()
    // then says why.
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

    // Why the last Open failed, as a sentence for the user ("No such file or directory.",
    // "It is a pipe (FIFO), not a regular file."); empty after a successful Open.
    std::string ErrorText() const { return DescribeError(error_); }

    // The failure code for a path whose file type is `mode` (st_mode) and not a regular
    // file: EISDIR for a folder, a negative code of this class for pipes, devices and
    // sockets.
    static int NotRegularError(unsigned mode);
    // `error` (an errno or a NotRegularError code) as a sentence; empty for 0.
    static std::string DescribeError(int error);

  private:
    int fd_ = -1;
    // errno of the last failed Open, or a NotRegularError code; 0 after success.
    int error_ = 0;
};

}  // namespace osmera
