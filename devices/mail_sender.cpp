// Sending a mail with one attachment by SMTP through libcurl's MIME builder.
#include "devices/mail_sender.h"

#include <ctime>
#include <filesystem>
#include <memory>

#include "devices/mime_message.h"

namespace osmera {

namespace {

struct MimeDeleter {
    void operator()(curl_mime* mime) const { curl_mime_free(mime); }
};

LTransferOutcome Failed(const std::string& why) {
    LTransferOutcome out;
    out.result = kJobFailed;
    out.message = "Sending failed: " + why;
    return out;
}

std::string Joined(const std::vector<std::string>& list) {
    std::string out;
    for (const std::string& s : list)
        out += (out.empty() ? "" : ", ") + s;
    return out;
}

std::string BaseName(const std::string& path) {
    const size_t slash = path.find_last_of('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

std::string DomainOf(const std::string& address) {
    const size_t at = address.find('@');
    return at == std::string::npos ? "" : address.substr(at + 1);
}

}  // namespace

std::vector<std::string> SplitAddresses(const std::string& text) {
    std::vector<std::string> out;
    std::string word;
    for (size_t i = 0; i <= text.size(); ++i) {
        const char c = i < text.size() ? text[i] : ',';
        if (c == ',' || c == ';' || c == ' ' || c == '\t' || c == '\n') {
            if (!word.empty())
                out.push_back(word);
            word.clear();
        } else {
            word += c;
        }
    }
    return out;
}

LTransferOutcome SendMail(const LMailRequest& request, LProgress* progress) {
    const std::string from = !request.from.empty()            ? request.from
                             : CheckMailAddress(request.user) ? request.user
                                                              : std::string();
    std::string why;
    if (request.to.empty())
        return Failed("no recipient was given");
    if (!CheckMailAddress(from, &why))
        return Failed(from.empty() ? "no sender address was given" : why);
    for (const auto* list : {&request.to, &request.cc})
        for (const std::string& a : *list)
            if (!CheckMailAddress(a, &why))
                return Failed(why);
    if (HasLineEnd(request.subject) || HasLineEnd(request.attachmentName))
        return Failed("the subject and the file name must be one line each");
    if (request.url.rfind("smtp://", 0) != 0 && request.url.rfind("smtps://", 0) != 0)
        return Failed("the server's address must begin with smtp:// or smtps://");

    LCurlTransfer transfer(request.url, request.limits);
    if (!transfer.IsOk())
        return Failed("the network library could not start");
    CURL* curl = transfer.Handle();
    transfer.SetLogin(request.user, request.password);
    curl_easy_setopt(
        curl, CURLOPT_USE_SSL,
        request.plain ? static_cast<long>(CURLUSESSL_NONE) : static_cast<long>(CURLUSESSL_ALL));
    const std::string envelopeFrom = "<" + from + ">";
    curl_easy_setopt(curl, CURLOPT_MAIL_FROM, envelopeFrom.c_str());

    curl_slist* recipients = nullptr;
    for (const auto* list : {&request.to, &request.cc})
        for (const std::string& a : *list)
            recipients = curl_slist_append(recipients, ("<" + a + ">").c_str());
    transfer.KeepList(recipients);
    curl_easy_setopt(curl, CURLOPT_MAIL_RCPT, recipients);

    curl_slist* headers = nullptr;
    const std::string lines[] = {
        "Date: " + MailDate(std::time(nullptr)),
        "From: " + from,
        "To: " + Joined(request.to),
        request.cc.empty() ? std::string() : "Cc: " + Joined(request.cc),
        "Subject: " + EncodeHeaderText(request.subject),
        "Message-ID: " + NewMessageId(DomainOf(from)),
        "User-Agent: Osmera",
    };
    for (const std::string& line : lines)
        if (!line.empty())
            headers = curl_slist_append(headers, line.c_str());
    transfer.KeepList(headers);
    curl_easy_setopt(curl, CURLOPT_HTTPHEADER, headers);

    std::unique_ptr<curl_mime, MimeDeleter> mime(curl_mime_init(curl));
    curl_mimepart* text = curl_mime_addpart(mime.get());
    curl_mime_data(text, request.message.c_str(), CURL_ZERO_TERMINATED);
    curl_mime_type(text, "text/plain; charset=UTF-8");
    curl_mime_encoder(text, "quoted-printable");
    if (!request.attachmentPath.empty()) {
        curl_mimepart* file = curl_mime_addpart(mime.get());
        if (curl_mime_filedata(file, request.attachmentPath.c_str()) != CURLE_OK)
            return Failed("the file to attach could not be read");
        // The name goes into a disposition header of our own so that names outside ASCII
        // reach the recipient intact.
        curl_mime_filename(file, nullptr);
        const std::string name = request.attachmentName.empty() ? BaseName(request.attachmentPath)
                                                                : request.attachmentName;
        curl_mime_type(file, request.contentType.empty() ? "application/octet-stream"
                                                         : request.contentType.c_str());
        curl_mime_encoder(file, "base64");
        curl_slist* partHeaders = curl_slist_append(nullptr, AttachmentDisposition(name).c_str());
        curl_mime_headers(file, partHeaders, 1);
    }
    curl_easy_setopt(curl, CURLOPT_MIMEPOST, mime.get());
    // libcurl does not know the size of an encoded message beforehand: base64 makes four
    // bytes of three, plus a line end every 76.
    std::error_code ignored;
    const auto fileSize =
        request.attachmentPath.empty()
            ? 0
            : static_cast<int64_t>(std::filesystem::file_size(request.attachmentPath, ignored));
    transfer.SetProgress(
        progress, 0,
        (fileSize + 2) / 3 * 4 * 78 / 76 + static_cast<int64_t>(request.message.size()) + 2000);

    LTransferOutcome out = transfer.Perform("Sending failed");
    if (out.result == kJobDone)
        out.message = "Sent to " + Joined(request.to) +
                      (request.cc.empty() ? "" : ", " + Joined(request.cc)) + ".";
    return out;
}

}  // namespace osmera
