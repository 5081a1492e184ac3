#pragma once
// Running osmera-cli (OSMERA_CLI, set by the build) from the CLI tests, as a user would.

#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <string>
#include <vector>

#include "formats/open_audio_source.h"

namespace osmera::testing {

struct CliResult {
    int code;         // exit code, -1 when the program did not exit normally
    std::string out;  // what the command printed on stdout
};

// Runs `command` through the shell.
inline CliResult RunShell(const std::string& command) {
    FILE* p = popen(command.c_str(), "r");
    if (p == nullptr)
        return {-1, {}};
    std::string out;
    std::array<char, 4096> buf;
    size_t n;
    while ((n = fread(buf.data(), 1, buf.size(), p)) > 0)
        out.append(buf.data(), n);
    const int status = pclose(p);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, out};
}

// osmera-cli with `args` (already shell-quoted); stderr is dropped.
inline CliResult Cli(const std::string& args) {
    return RunShell(std::string(OSMERA_CLI) + " " + args + " 2>/dev/null");
}

// Every sample of an audio file as the program opens it (empty when it does not open).
inline std::vector<int32_t> ReadAll(const std::string& path) {
    LSourceRef s = OpenAudioSource(path);
    std::vector<int32_t> v(static_cast<size_t>(s->GetLengthSample()) * s->GetChannels());
    if (!v.empty())
        s->Read(v.data(), s->GetLengthSample());
    return v;
}

// Single-quotes a path for the shell.
inline std::string Q(const std::string& s) {
    return "'" + s + "'";
}

}  // namespace osmera::testing
