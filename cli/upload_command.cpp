// osmera-cli upload FILE URL [--user U] [--create-dirs] [--resume] [--require-tls]
//                  [--name NAME] [--format NAME ...] [--ca-file FILE] [--timeout S]
//
// Puts FILE (as it is, or encoded with --format) on an FTP, FTPS or SFTP server. A URL that
// ends in '/' names the folder, and the file keeps its name (or takes --name). The password
// comes from OSMERA_PASSWORD or is asked on the terminal.

#include "cli/args.h"
#include "cli/commands.h"
#include "cli/send_options.h"
#include "cli/terminal_progress.h"
#include "devices/file_uploader.h"
#include "devices/send_accounts.h"

namespace osmera::cli {

int RunUpload(int argc, char** argv) {
    std::set<std::string> names = SendOptionNames();
    names.insert({"user", "name"});
    LArgs args(argc, argv, names, {"create-dirs", "resume", "require-tls"});
    if (!args.Error().empty()) {
        PrintError(args.Error());
        return kExitUsage;
    }
    if (args.Positional().size() != 2) {
        PrintError("upload needs a file and a server address (see osmera-cli upload --help)");
        return kExitUsage;
    }
    LUploadRequest request;
    std::string error;
    if (!ReadTransferLimits(args, request.limits, error)) {
        PrintError(error);
        return kExitUsage;
    }
    const std::string path = args.Positional()[0];
    request.url = args.Positional()[1];
    request.user = args.Value("user").value_or("");
    request.createFolders = args.Has("create-dirs");
    request.resume = args.Has("resume");
    request.requireTls = args.Has("require-tls");

    LSendAttachment attachment;
    std::string type;
    const int prepared =
        PrepareAttachment(args, path, attachment, request.localPath, request.remoteName, type);
    if (prepared != kExitOk)
        return prepared;
    request.remoteName = args.Value("name").value_or(request.remoteName);
    request.password = ReadPassword(request.user, ServerOf(request.url));
    LTerminalProgress progress;
    progress.SetLine(0, "Uploading");
    const LTransferOutcome outcome = UploadFile(request, &progress);
    progress.Done();
    return ReportOutcome(outcome);
}

}  // namespace osmera::cli
