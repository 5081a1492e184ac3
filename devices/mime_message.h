#pragma once
// The parts of an email that libcurl does not make itself: header values in UTF-8
// encoded as RFC 2047 words, the Date and Message-ID headers, the attachment's content type
// by format and its Content-Disposition with a file name any mail program reads, and the
// check of an address before it goes into a header or an envelope.
//
// Plain functions; any thread.

#include <cstdint>
#include <ctime>
#include <string>

namespace osmera {

// `text` as it may stand in a header: unchanged when it is printable ASCII, else as
// "=?UTF-8?B?...?=" words of at most 75 characters, folded onto continuation lines.
std::string EncodeHeaderText(const std::string& text);
// "Mon, 23 Nov 2026 17:36:10 +0000" for `when` (UTC).
std::string MailDate(std::time_t when);
// "<random@host>" for a Message-ID header.
std::string NewMessageId(const std::string& host);
// The media type of a file of the writable format `format` ("mp3": "audio/mpeg");
// "application/octet-stream" for a name it does not know.
std::string ContentTypeForFormat(const std::string& format);
// "Content-Disposition: attachment; filename=..." for `name`: quoted ASCII, or for other
// names the RFC 2231 form with an ASCII stand-in for programs that do not read it.
std::string AttachmentDisposition(const std::string& name);
// True when `address` is a plain mail address (local@domain, no spaces, angle brackets or
// line ends); `why` then stays untouched, else says what is wrong.
bool CheckMailAddress(const std::string& address, std::string* why = nullptr);
// True when `text` holds a line end (header values must not, or they would add headers).
bool HasLineEnd(const std::string& text);

}  // namespace osmera
