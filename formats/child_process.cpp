#include "formats/child_process.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <sstream>

#include "core/trace.h"

extern char** environ;

namespace osmera {

std::string LChildProcess::FindProgram(const std::string& program) {
    const char* path = std::getenv("PATH");
    std::istringstream folders(path ? path : "");
    std::string folder;
    while (std::getline(folders, folder, ':')) {
        if (folder.empty())
            continue;
        const std::string candidate = folder + "/" + program;
        if (::access(candidate.c_str(), X_OK) == 0)
            return candidate;
    }
    return {};
}

bool LChildProcess::Start(const std::vector<std::string>& argv) {
    Kill();
    int fds[2];
    if (argv.empty() || ::pipe2(fds, O_CLOEXEC) != 0)
        return false;
    out_ = fds[0];
    err_ = ::memfd_create("osmera-child-stderr", MFD_CLOEXEC);

    std::vector<char*> args;
    for (const std::string& a : argv)
        args.push_back(const_cast<char*>(a.c_str()));
    args.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, fds[1], STDOUT_FILENO);
    if (err_ >= 0)
        posix_spawn_file_actions_adddup2(&actions, err_, STDERR_FILENO);
    pid_t pid = -1;
    const int started = posix_spawn(&pid, args[0], &actions, nullptr, args.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    ::close(fds[1]);
    if (started != 0) {
        LTracef("LChildProcess::Start unable to start %s: errno %d", args[0], started);
        CloseFds();
        return false;
    }
    pid_ = pid;
    return true;
}

int64_t LChildProcess::Read(void* buffer, int64_t bytes, int timeoutMs) {
    if (out_ < 0)
        return 0;
    pollfd p{out_, POLLIN, 0};
    int ready;
    do {
        ready = ::poll(&p, 1, timeoutMs);
    } while (ready < 0 && errno == EINTR);
    if (ready == 0) {
        LTrace("LChildProcess::Read the child produced nothing in time; killed");
        Kill();
        return -1;
    }
    ssize_t got;
    do {
        got = ::read(out_, buffer, static_cast<size_t>(bytes));
    } while (got < 0 && errno == EINTR);
    return got < 0 ? 0 : got;
}

bool LChildProcess::ReadAll(std::string& out, int64_t limit, int timeoutMs) {
    char block[4096];
    while (static_cast<int64_t>(out.size()) < limit) {
        const int64_t got = Read(block, sizeof block, timeoutMs);
        if (got < 0)
            return false;
        if (got == 0)
            break;
        out.append(block, static_cast<size_t>(got));
    }
    // A child with more to say than `limit` would block on the full pipe: it is stopped
    // (its error output stays readable).
    if (static_cast<int64_t>(out.size()) >= limit && pid_ > 0)
        ::kill(pid_, SIGKILL);
    Wait();
    return true;
}

int LChildProcess::Wait() {
    int status = -1;
    if (pid_ > 0) {
        // A child that closed its output ends at once; one that lingers is stopped after
        // 5 seconds rather than waited for without end.
        int ws = 0;
        pid_t done = 0;
        for (int waited = 0; waited < 5000 && done == 0; waited += 10) {
            done = ::waitpid(pid_, &ws, WNOHANG);
            if (done == 0)
                ::usleep(10000);
        }
        if (done == 0) {
            LTrace("LChildProcess::Wait the child did not end; killed");
            ::kill(pid_, SIGKILL);
        }
        while (done <= 0 && ::waitpid(pid_, &ws, 0) < 0 && errno == EINTR) {
        }
        status = WIFEXITED(ws) ? WEXITSTATUS(ws) : -1;
        pid_ = -1;
    }
    if (out_ >= 0) {
        ::close(out_);
        out_ = -1;
    }
    return status;
}

int LChildProcess::Kill() {
    if (pid_ > 0)
        ::kill(pid_, SIGKILL);
    const int status = Wait();
    CloseFds();
    return status;
}

void LChildProcess::CloseFds() {
    if (out_ >= 0)
        ::close(out_);
    if (err_ >= 0)
        ::close(err_);
    out_ = err_ = -1;
}

std::string LChildProcess::ErrorText() const {
    if (err_ < 0)
        return {};
    char text[4096];
    const ssize_t n = ::pread(err_, text, sizeof text, 0);
    if (n <= 0)
        return {};
    std::string joined;
    std::istringstream lines(std::string(text, static_cast<size_t>(n)));
    std::string line;
    while (std::getline(lines, line)) {
        if (!line.empty())
            joined += (joined.empty() ? "" : "; ") + line;
    }
    return joined;
}

}  // namespace osmera
