// osmera-cli send FILE --smtp URL --to ADDR [--cc ADDR] [--from ADDR] [--subject TEXT]
//                [--message TEXT] [--user U] [--plain] [--format NAME ...]
//                [--ca-file FILE] [--timeout S]
//
// Mails FILE (as it is, or encoded with --format) as an attachment. smtp:// goes over
// STARTTLS (--plain: unencrypted, for a server on this machine), smtps:// over TLS from the
// start. The password comes from OSMERA_PASSWORD or is asked on the terminal.

#include "cli/args.h"
#include "cli/commands.h"
#include "cli/send_options.h"
#include "cli/terminal_progress.h"
#include "devices/mail_sender.h"
#include "devices/send_accounts.h"

namespace osmera::cli {

int RunSend(int argc, char** argv) {
    std::set<std::string> names = SendOptionNames();
    names.insert({"smtp", "to", "cc", "from", "subject", "message", "user"});
    LArgs args(argc, argv, names, {"plain"});
    if (!args.Error().empty()) {
        PrintError(args.Error());
        return kExitUsage;
    }
    if (args.Positional().size() != 1) {
        PrintError("send needs one file (see osmera-cli send --help)");
        return kExitUsage;
    }
    if ((!args.Has("smtp") || !args.Has("to"))) {
        PrintError("send needs --smtp URL and --to ADDRESS");
        return kExitUsage;
    }
    LMailRequest request;
    std::string error;
    if (!ReadTransferLimits(args, request.limits, error)) {
        PrintError(error);
        return kExitUsage;
    }
    const std::string path = args.Positional()[0];
    request.url = *args.Value("smtp");
    request.to = SplitAddresses(*args.Value("to"));
    request.cc = SplitAddresses(args.Value("cc").value_or(""));
    request.from = args.Value("from").value_or("");
    request.user = args.Value("user").value_or("");
    request.plain = args.Has("plain");
    request.message = args.Value("message").value_or("");

    LSendAttachment attachment;
    const int prepared = PrepareAttachment(args, path, attachment, request.attachmentPath,
                                           request.attachmentName, request.contentType);
    if (prepared != kExitOk)
        return prepared;
    request.subject = args.Value("subject").value_or(request.attachmentName);
    request.password = ReadPassword(request.user, ServerOf(request.url));
    LTerminalProgress progress;
    progress.SetLine(0, "Sending");
    const LTransferOutcome outcome = SendMail(request, &progress);
    progress.Done();
    return ReportOutcome(outcome);
}

}  // namespace osmera::cli
