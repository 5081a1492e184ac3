// Password, limits and attachment of `send` and `upload`.
#include "cli/send_options.h"

#include <termios.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "cli/format_options.h"
#include "cli/terminal_progress.h"
#include "devices/mime_message.h"
#include "formats/open_audio_source.h"
#include "formats/open_error_message.h"

namespace osmera::cli {

namespace {

std::string BaseName(const std::string& path) {
    const size_t slash = path.find_last_of('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

std::string WithoutExtension(const std::string& name) {
    const size_t dot = name.find_last_of('.');
    return dot == std::string::npos || dot == 0 ? name : name.substr(0, dot);
}

}  // namespace

const std::set<std::string>& SendOptionNames() {
    static const std::set<std::string> names = [] {
        std::set<std::string> n = WriteOptionNames();
        n.insert({"ca-file", "timeout"});
        return n;
    }();
    return names;
}

bool ReadTransferLimits(LArgs& args, LTransferLimits& limits, std::string& error) {
    const long seconds = args.IntValue("timeout", 30, 1, 3600);
    limits.connectTimeoutMs = static_cast<int32_t>(seconds * 1000);
    limits.stallSeconds = static_cast<int32_t>(seconds);
    limits.caFile = args.Value("ca-file").value_or("");
    error = args.Error();
    return error.empty();
}

std::string ReadPassword(const std::string& user, const std::string& server) {
    if (const char* env = std::getenv("OSMERA_PASSWORD"))
        return env;
    if (user.empty())
        return "";
    std::FILE* tty = std::fopen("/dev/tty", "r+");
    if (tty == nullptr)
        return "";
    std::fprintf(tty, "Password for %s at %s: ", user.c_str(), server.c_str());
    std::fflush(tty);
    termios old{};
    const int fd = fileno(tty);
    const bool quiet = tcgetattr(fd, &old) == 0;
    if (quiet) {
        termios silent = old;
        silent.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        tcsetattr(fd, TCSAFLUSH, &silent);
    }
    std::string password;
    for (int c; (c = std::fgetc(tty)) != EOF && c != '\n';)
        password += static_cast<char>(c);
    if (quiet)
        tcsetattr(fd, TCSAFLUSH, &old);
    std::fputc('\n', tty);
    std::fclose(tty);
    return password;
}

int PrepareAttachment(LArgs& args, const std::string& path, LSendAttachment& attachment,
                      std::string& file, std::string& name, std::string& type) {
    LWriteOptions options;
    std::string error;
    if (!ParseWriteOptions(args, options, error)) {
        PrintError(error);
        return kExitUsage;
    }
    if (options.format.empty()) {
        std::FILE* f = std::fopen(path.c_str(), "rb");
        if (f == nullptr) {
            PrintError("cannot read \"" + path + "\"");
            return kExitFailed;
        }
        std::fclose(f);
        file = path;
        name = BaseName(path);
        const LWriteFormat* format = FindWriteFormat(LowerExtension(path));
        type = ContentTypeForFormat(format ? format->name : "");
        return kExitOk;
    }
    LSourceRef source = OpenAudioSource(path);
    if (!source->IsOk()) {
        PrintError(OpenErrorMessage(*source, path));
        return kExitFailed;
    }
    LTerminalProgress progress;
    std::string message;
    const int result =
        attachment.Encode(source, WithoutExtension(BaseName(path)), options, &progress, &message);
    progress.Done();
    if (result == kJobCancelled) {
        PrintError("interrupted; nothing was sent");
        return kExitCancelled;
    }
    if (result != kJobDone) {
        PrintError("cannot encode \"" + path + "\": " + message);
        return kExitFailed;
    }
    file = attachment.Path();
    name = attachment.FileName();
    type = attachment.ContentType();
    return kExitOk;
}

int ReportOutcome(const LTransferOutcome& outcome) {
    if (outcome.result == kJobDone) {
        std::printf("%s\n", outcome.message.c_str());
        return kExitOk;
    }
    PrintError(outcome.message);
    return outcome.result == kJobCancelled ? kExitCancelled : kExitFailed;
}

}  // namespace osmera::cli
