#pragma once
// What `send` and `upload` share: the password (from OSMERA_PASSWORD, else asked on the
// terminal without echo), the time-outs and trusted certificates, and the attachment: the
// file itself, or with --format (and the other writer options) the file encoded afresh
// into a temporary file that goes when the command ends.

#include <set>
#include <string>

#include "cli/args.h"
#include "devices/curl_transfer.h"
#include "devices/send_attachment.h"

namespace osmera::cli {

// The option names ReadTransferLimits and PrepareAttachment read (with a value).
const std::set<std::string>& SendOptionNames();

// --ca-file FILE and --timeout SECONDS (how long a server may stay silent; default 30).
bool ReadTransferLimits(LArgs& args, LTransferLimits& limits, std::string& error);

// The password for `user` at `server`: OSMERA_PASSWORD when set, else asked on the terminal
// (without echo) when there is one, else "".
std::string ReadPassword(const std::string& user, const std::string& server);

// The file to send for `path`. Without --format it is `path` itself (`attachment` stays
// empty); with it, `path` encoded into `attachment`. Returns an exit code (kExitOk when
// `file`, `name` and `type` are set), having printed why on failure.
int PrepareAttachment(LArgs& args, const std::string& path, LSendAttachment& attachment,
                      std::string& file, std::string& name, std::string& type);

// Prints an outcome: its line on stdout when done, on stderr otherwise; the exit code.
int ReportOutcome(const LTransferOutcome& outcome);

}  // namespace osmera::cli
