#pragma once
// One libcurl transfer (an SMTP send, an FTP/FTPS/SFTP upload or size query) with what
// every transfer of the send feature shares: the connect and stall time-outs, the trust
// settings for TLS, progress and cancel through the job's LProgress, and an outcome that
// says in one line what happened, quoting the server's own last reply on failure.
//
// The protocol work is libcurl's; this class only sets options and reads results.
// Ownership: the object owns its easy handle (and the lists given to it through Keep...).
// Threads: one thread at a time; Perform() runs the whole transfer on the calling thread
// and calls `progress` from it.

#include <curl/curl.h>

#include <cstdint>
#include <string>

#include "core/progress.h"

namespace osmera {

// How long a transfer may wait, and whom it trusts.
struct LTransferLimits {
    int32_t connectTimeoutMs = 20000;  // to connect and get the server's greeting
    int32_t stallSeconds = 60;         // no byte moved for this long ends the transfer
    std::string caFile;                // certificates to trust beside the system's; "" none
};

// What a send or upload came to.
struct LTransferOutcome {
    int result = kJobDone;    // kJobDone, kJobCancelled or kJobFailed (core/progress.h)
    std::string message;      // one line for the user: what happened, and why on failure
    long serverCode = 0;      // the server's last reply code (0 when it sent none)
    std::string serverReply;  // the server's last reply line ("" when it sent none)
};

class LCurlTransfer {
  public:
    LCurlTransfer(const std::string& url, const LTransferLimits& limits);
    ~LCurlTransfer();
    LCurlTransfer(const LCurlTransfer&) = delete;
    LCurlTransfer& operator=(const LCurlTransfer&) = delete;

    CURL* Handle() { return curl_; }
    bool IsOk() const { return curl_ != nullptr; }
    // The login; nothing is set when `user` is empty.
    void SetLogin(const std::string& user, const std::string& password);
    // Frees `list` with the transfer.
    void KeepList(curl_slist* list);
    // Reports bytes sent as `base` + sent out of `total` (0: the transfer's own total).
    void SetProgress(LProgress* progress, int64_t base = 0, int64_t total = 0);

    // Runs the transfer. On failure `what` begins the message ("Sending failed"); a cancel
    // says "Cancelled.".
    LTransferOutcome Perform(const std::string& what);
    // The curl result of the last Perform.
    CURLcode Code() const { return code_; }

  private:
    static int OnProgress(void* self, curl_off_t dltotal, curl_off_t dlnow, curl_off_t ultotal,
                          curl_off_t ulnow);
    static int OnDebug(CURL* handle, curl_infotype type, char* data, size_t size, void* self);
    std::string Explain() const;

    CURL* curl_ = nullptr;
    std::string url_;
    LTransferLimits limits_;
    char errorBuffer_[CURL_ERROR_SIZE] = {};
    curl_slist* lists_[4] = {};
    LProgress* progress_ = nullptr;
    int64_t base_ = 0;
    int64_t total_ = 0;
    std::string lastReply_;  // the server's last reply line as received
    std::string lastError_;  // its last reply line of a failure (4xx, 5xx)
    CURLcode code_ = CURLE_OK;
};

// libcurl's one-time set-up, shared by every part of the program that uses it (sending and
// the disc lookup); any thread, before the first easy handle.
void CurlGlobalInit();

// The server's reply line without its line end; long replies are shortened.
std::string CleanReply(const std::string& line);

}  // namespace osmera
