#pragma once
// A helper program run with an argument vector (never through a shell), its standard
// output read through a pipe and its standard error caught in a memory file, so a chatty
// child can never block on a full error pipe. Used by the ffmpeg reader.
//
// The object owns the child: the destructor (or Kill) ends it with SIGKILL if it still
// runs and always reaps it, so no zombie is left behind. One thread at a time.

#include <sys/types.h>

#include <cstdint>
#include <string>
#include <vector>

namespace osmera {

class LChildProcess {
  public:
    LChildProcess() = default;
    ~LChildProcess() { Kill(); }
    LChildProcess(const LChildProcess&) = delete;
    LChildProcess& operator=(const LChildProcess&) = delete;

    // The full path of `program` found in the folders of PATH; "" when it is not there.
    static std::string FindProgram(const std::string& program);

    // Starts `argv[0]` (a full path) with `argv`; stdin reads /dev/null. False when it
    // could not be started.
    bool Start(const std::vector<std::string>& argv);
    bool IsRunning() const { return pid_ > 0; }

    // Reads up to `bytes` of the child's output, waiting at most `timeoutMs` for the first
    // byte. Returns the bytes read; 0 at the end of the output; -1 when the child
    // produced nothing for `timeoutMs` (it is then killed).
    int64_t Read(void* buffer, int64_t bytes, int timeoutMs);
    // Reads the whole output (at most `limit` bytes; a child with more is killed), giving
    // up after `timeoutMs` without output; then reaps the child. False on a time-out.
    bool ReadAll(std::string& out, int64_t limit, int timeoutMs);

    // Ends the child (SIGKILL when it still runs) and reaps it. Returns its exit status
    // (0 for success), or -1 when it was killed or never started.
    int Kill();
    // Waits up to 5 seconds for the child to end by itself (then kills it) and returns its
    // exit status (-1 if killed).
    int Wait();

    // What the child wrote on its standard error so far (at most 4096 bytes), lines
    // joined by "; ".
    std::string ErrorText() const;

  private:
    void CloseFds();

    pid_t pid_ = -1;
    int out_ = -1;
    int err_ = -1;
};

}  // namespace osmera
