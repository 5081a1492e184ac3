// One libcurl transfer: common options, progress and cancel, and the outcome in one line.
#include "devices/curl_transfer.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <mutex>

#include "core/trace.h"

namespace osmera {

namespace {

// Nothing this program sends downloads anything; replies that come as data (the size an
// FTP server reports) are not for the terminal.
size_t Discard(char*, size_t size, size_t count, void*) {
    return size * count;
}

std::string HostOf(const std::string& url) {
    size_t from = url.find("://");
    from = from == std::string::npos ? 0 : from + 3;
    const size_t at = url.find('@', from);
    const size_t slash = url.find('/', from);
    if (at != std::string::npos && (slash == std::string::npos || at < slash))
        from = at + 1;
    return url.substr(from, url.find('/', from) - from);
}

}  // namespace

void CurlGlobalInit() {
    static std::once_flag once;
    std::call_once(once, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
}

std::string CleanReply(const std::string& line) {
    std::string out;
    for (char c : line) {
        if (c == '\r' || c == '\n')
            break;
        out += std::isprint(static_cast<unsigned char>(c)) ? c : '?';
    }
    if (out.size() > 200)
        out = out.substr(0, 200) + "...";
    return out;
}

LCurlTransfer::LCurlTransfer(const std::string& url, const LTransferLimits& limits)
    : url_(url), limits_(limits) {
    CurlGlobalInit();
    curl_ = curl_easy_init();
    if (curl_ == nullptr) {
        LTrace("LCurlTransfer::LCurlTransfer curl_easy_init failed");
        return;
    }
    curl_easy_setopt(curl_, CURLOPT_URL, url.c_str());
    curl_easy_setopt(curl_, CURLOPT_ERRORBUFFER, errorBuffer_);
    curl_easy_setopt(curl_, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(curl_, CURLOPT_WRITEFUNCTION, &Discard);
    curl_easy_setopt(curl_, CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(limits.connectTimeoutMs));
    // Any phase that moves less than a byte a second for the stall time ends the transfer,
    // so a server that stops answering never hangs the job.
    curl_easy_setopt(curl_, CURLOPT_LOW_SPEED_LIMIT, 1L);
    curl_easy_setopt(curl_, CURLOPT_LOW_SPEED_TIME, static_cast<long>(limits.stallSeconds));
    if (!limits.caFile.empty())
        curl_easy_setopt(curl_, CURLOPT_CAINFO, limits.caFile.c_str());
    curl_easy_setopt(curl_, CURLOPT_XFERINFOFUNCTION, &LCurlTransfer::OnProgress);
    curl_easy_setopt(curl_, CURLOPT_XFERINFODATA, this);
    curl_easy_setopt(curl_, CURLOPT_NOPROGRESS, 0L);
    // The debug hook sees the server's reply lines; nothing is printed.
    curl_easy_setopt(curl_, CURLOPT_DEBUGFUNCTION, &LCurlTransfer::OnDebug);
    curl_easy_setopt(curl_, CURLOPT_DEBUGDATA, this);
    curl_easy_setopt(curl_, CURLOPT_VERBOSE, 1L);
}

LCurlTransfer::~LCurlTransfer() {
    if (curl_ != nullptr)
        curl_easy_cleanup(curl_);
    for (curl_slist* list : lists_)
        curl_slist_free_all(list);
}

void LCurlTransfer::SetLogin(const std::string& user, const std::string& password) {
    if (curl_ == nullptr || user.empty())
        return;
    curl_easy_setopt(curl_, CURLOPT_USERNAME, user.c_str());
    curl_easy_setopt(curl_, CURLOPT_PASSWORD, password.c_str());
}

void LCurlTransfer::KeepList(curl_slist* list) {
    for (curl_slist*& slot : lists_) {
        if (slot == nullptr) {
            slot = list;
            return;
        }
    }
    LTrace("LCurlTransfer::KeepList too many lists");
    curl_slist_free_all(list);
}

void LCurlTransfer::SetProgress(LProgress* progress, int64_t base, int64_t total) {
    progress_ = progress;
    base_ = base;
    total_ = total;
}

int LCurlTransfer::OnProgress(void* self, curl_off_t, curl_off_t, curl_off_t ultotal,
                              curl_off_t ulnow) {
    auto* t = static_cast<LCurlTransfer*>(self);
    if (t->progress_ == nullptr)
        return 0;
    const int64_t total = t->total_ > 0 ? t->total_ : static_cast<int64_t>(ultotal);
    if (total > 0)
        t->progress_->SetFraction(
            std::min(1.0, static_cast<double>(t->base_ + ulnow) / static_cast<double>(total)));
    return t->progress_->IsCancelled() ? 1 : 0;
}

int LCurlTransfer::OnDebug(CURL*, curl_infotype type, char* data, size_t size, void* self) {
    if (type != CURLINFO_HEADER_IN)
        return 0;
    auto* t = static_cast<LCurlTransfer*>(self);
    const std::string line(data, size);
    // Replies of SMTP and FTP begin with three digits; keep the last one.
    if (line.size() >= 3 && std::isdigit(static_cast<unsigned char>(line[0])) &&
        std::isdigit(static_cast<unsigned char>(line[1])) &&
        std::isdigit(static_cast<unsigned char>(line[2]))) {
        t->lastReply_ = CleanReply(line);
        // A failure's reply is kept apart: the goodbye that follows it says nothing.
        if (line[0] == '4' || line[0] == '5')
            t->lastError_ = t->lastReply_;
    }
    return 0;
}

LTransferOutcome LCurlTransfer::Perform(const std::string& what) {
    LTransferOutcome out;
    if (curl_ == nullptr) {
        out.result = kJobFailed;
        out.message = what + ": the network library could not start";
        return out;
    }
    errorBuffer_[0] = 0;
    lastReply_.clear();
    lastError_.clear();
    code_ = curl_easy_perform(curl_);
    curl_easy_getinfo(curl_, CURLINFO_RESPONSE_CODE, &out.serverCode);
    out.serverReply = lastError_.empty() ? lastReply_ : lastError_;
    if (code_ == CURLE_OK) {
        if (progress_ != nullptr)
            progress_->SetFraction(1.0);
        return out;
    }
    LTrace("LCurlTransfer::Perform " + std::string(curl_easy_strerror(code_)) + ": " +
           errorBuffer_);
    if (code_ == CURLE_ABORTED_BY_CALLBACK) {
        out.result = kJobCancelled;
        out.message = "Cancelled.";
        return out;
    }
    out.result = kJobFailed;
    out.message = what + ": " + Explain();
    if (!lastError_.empty())
        out.message += " (the server said: " + lastError_ + ")";
    return out;
}

std::string LCurlTransfer::Explain() const {
    const std::string detail = errorBuffer_[0] ? errorBuffer_ : curl_easy_strerror(code_);
    const std::string host = HostOf(url_);
    // Whatever step it came at, this reply means the size: 552 in SMTP (RFC 5321), and
    // "exceeded storage allocation" in FTP.
    if (lastError_.rfind("552", 0) == 0)
        return url_.rfind("smtp", 0) == 0 ? "the message is too large for " + host
                                          : "the server has no room for the file";
    switch (code_) {
        case CURLE_OPERATION_TIMEDOUT:
            if (lastReply_.empty())
                return host + " did not answer within " +
                       std::to_string((limits_.connectTimeoutMs + 999) / 1000) + " seconds";
            return host + " stopped answering for " + std::to_string(limits_.stallSeconds) +
                   " seconds";
        case CURLE_COULDNT_RESOLVE_HOST:
            return "there is no server called " + host;
        case CURLE_COULDNT_CONNECT:
            return "could not connect to " + host + " (" + detail + ")";
        case CURLE_LOGIN_DENIED:
            return host + " refused the user name or password";
        case CURLE_REMOTE_ACCESS_DENIED:
            return host + " refused access to the folder or file";
        case CURLE_USE_SSL_FAILED:
            return host + " does not offer an encrypted connection";
        case CURLE_PEER_FAILED_VERIFICATION:
        case CURLE_SSL_CACERT_BADFILE:
            return "the certificate of " + host + " is not trusted (" + detail + ")";
        case CURLE_SSL_CONNECT_ERROR:
            return "the encrypted connection to " + host + " failed (" + detail + ")";
        case CURLE_REMOTE_DISK_FULL:
            return "the server's disk is full";
        case CURLE_UNSUPPORTED_PROTOCOL:
        case CURLE_URL_MALFORMAT:
            return "the address \"" + url_ + "\" is not one this program can send to (" + detail +
                   ")";
        case CURLE_READ_ERROR:
            return "the file to send could not be read";
        case CURLE_SEND_ERROR:
        case CURLE_RECV_ERROR:
        case CURLE_GOT_NOTHING:
        case CURLE_PARTIAL_FILE:
        case CURLE_UPLOAD_FAILED:
            if (std::strstr(errorBuffer_, "RCPT") != nullptr)
                return host + " refused the recipient";
            if (std::strstr(errorBuffer_, "MAIL") != nullptr)
                return host + " refused the sender";
            if (!lastError_.empty())
                return host + " refused the transfer";
            return "the connection to " + host + " broke off (" + detail + ")";
        default:
            return detail;
    }
}

}  // namespace osmera
