#pragma once
// Sending a message with one attached file by SMTP, through libcurl.
//
// smtp://host[:port] sends over STARTTLS and refuses a server that does not offer it, unless
// `plain` asks for an unencrypted connection; smtps://host[:port] is encrypted from the
// first byte. The message is MIME: a UTF-8 text part (quoted-printable) and the file as a
// base64 attachment with its content type and name; the subject is RFC 2047-encoded when it
// is not plain ASCII.
//
// Runs on the calling thread; `progress` (may be null) sees the fraction of the message
// sent and may cancel. Fields are checked before anything goes on the network: an empty or
// malformed address, or a line end in a header value, fails with its own line.

#include <string>
#include <vector>

#include "core/progress.h"
#include "devices/curl_transfer.h"

namespace osmera {

struct LMailRequest {
    std::string url;  // smtp://host:587 or smtps://host:465
    std::string user;
    std::string password;
    bool plain = false;  // smtp:// without encryption (a server on this machine, say)
    std::string from;    // the sender's address; "" takes the user name when it is one
    std::vector<std::string> to;
    std::vector<std::string> cc;
    std::string subject;
    std::string message;         // the text part, UTF-8
    std::string attachmentPath;  // the file to attach ("" sends the text alone)
    std::string attachmentName;  // its name in the mail; "" takes the file's own
    std::string contentType;     // its media type; "" gives application/octet-stream
    LTransferLimits limits;
};

// Sends the mail. The outcome's message is one line: "Sent to a@b, c@d." on success, else
// what went wrong with the server's reply.
LTransferOutcome SendMail(const LMailRequest& request, LProgress* progress);

// Splits "a@b, c@d; e@f" into addresses (empty parts dropped).
std::vector<std::string> SplitAddresses(const std::string& text);

}  // namespace osmera
