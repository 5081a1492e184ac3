// Uploading one file through libcurl's FTP, FTPS and SFTP, with resume.
#include "devices/file_uploader.h"

#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

namespace osmera {

namespace {

struct FileCloser {
    void operator()(std::FILE* f) const { std::fclose(f); }
};

LTransferOutcome Failed(const std::string& why) {
    LTransferOutcome out;
    out.result = kJobFailed;
    out.message = "Upload failed: " + why;
    return out;
}

bool StartsWith(const std::string& s, const char* prefix) {
    return s.rfind(prefix, 0) == 0;
}

std::string BaseName(const std::string& path) {
    const size_t slash = path.find_last_of('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

size_t ReadFile(char* buffer, size_t size, size_t count, void* file) {
    const size_t n = std::fread(buffer, size, count, static_cast<std::FILE*>(file));
    if (n == 0 && std::ferror(static_cast<std::FILE*>(file)))
        return CURL_READFUNC_ABORT;
    return n;
}

void SetCommon(LCurlTransfer& transfer, const LUploadRequest& request) {
    CURL* curl = transfer.Handle();
    transfer.SetLogin(request.user, request.password);
    if (StartsWith(request.url, "ftp://"))
        curl_easy_setopt(curl, CURLOPT_USE_SSL,
                         request.requireTls ? static_cast<long>(CURLUSESSL_ALL)
                                            : static_cast<long>(CURLUSESSL_TRY));
    curl_easy_setopt(curl, CURLOPT_FTP_USE_EPSV, 1L);
    curl_easy_setopt(curl, CURLOPT_FTPPORT, nullptr);  // passive
}

// The size of the remote file, -1 when there is none (or the server will not say).
int64_t RemoteSize(const std::string& target, const LUploadRequest& request) {
    LCurlTransfer query(target, request.limits);
    if (!query.IsOk())
        return -1;
    SetCommon(query, request);
    curl_easy_setopt(query.Handle(), CURLOPT_NOBODY, 1L);
    if (query.Perform("size").result != kJobDone)
        return -1;
    curl_off_t size = -1;
    curl_easy_getinfo(query.Handle(), CURLINFO_CONTENT_LENGTH_DOWNLOAD_T, &size);
    return size;
}

}  // namespace

std::string UploadTarget(const LUploadRequest& request) {
    if (request.url.empty() || request.url.back() != '/')
        return request.url;
    const std::string name =
        request.remoteName.empty() ? BaseName(request.localPath) : request.remoteName;
    std::string escaped;
    for (char c : name) {
        const auto u = static_cast<unsigned char>(c);
        if (std::isalnum(u) || std::strchr("-._~()!'*+,=@", c) != nullptr) {
            escaped += c;
        } else {
            char hex[4];
            std::snprintf(hex, sizeof hex, "%%%02X", u);
            escaped += hex;
        }
    }
    return request.url + escaped;
}

LTransferOutcome UploadFile(const LUploadRequest& request, LProgress* progress) {
    if (!StartsWith(request.url, "ftp://") && !StartsWith(request.url, "ftps://") &&
        !StartsWith(request.url, "sftp://"))
        return Failed("the server's address must begin with ftp://, ftps:// or sftp://");
    const std::string target = UploadTarget(request);
    if (target.back() == '/')
        return Failed("no file name was given for the server");
    std::unique_ptr<std::FILE, FileCloser> file(std::fopen(request.localPath.c_str(), "rb"));
    if (!file || std::fseek(file.get(), 0, SEEK_END) != 0)
        return Failed("could not read " + request.localPath + " (" + std::strerror(errno) + ")");
    const int64_t size = ftello(file.get());
    int64_t offset = 0;
    if (request.resume) {
        const int64_t remote = RemoteSize(target, request);
        if (remote == size) {
            LTransferOutcome out;
            out.message = "The server already holds all of " + target + ".";
            return out;
        }
        if (remote > 0 && remote < size)
            offset = remote;
    }
    if (fseeko(file.get(), offset, SEEK_SET) != 0)
        return Failed("could not read " + request.localPath + " (" + std::strerror(errno) + ")");

    LCurlTransfer transfer(target, request.limits);
    if (!transfer.IsOk())
        return Failed("the network library could not start");
    CURL* curl = transfer.Handle();
    SetCommon(transfer, request);
    curl_easy_setopt(curl, CURLOPT_UPLOAD, 1L);
    curl_easy_setopt(curl, CURLOPT_READFUNCTION, &ReadFile);
    curl_easy_setopt(curl, CURLOPT_READDATA, file.get());
    curl_easy_setopt(curl, CURLOPT_INFILESIZE_LARGE, static_cast<curl_off_t>(size - offset));
    if (offset > 0)
        curl_easy_setopt(curl, CURLOPT_APPEND, 1L);
    if (request.createFolders)
        curl_easy_setopt(curl, CURLOPT_FTP_CREATE_MISSING_DIRS,
                         static_cast<long>(CURLFTP_CREATE_DIR_RETRY));
    transfer.SetProgress(progress, offset, size);

    LTransferOutcome out = transfer.Perform("Upload failed");
    if (out.result == kJobDone)
        out.message = "Uploaded " + target + (offset > 0 ? " (resumed)." : ".");
    return out;
}

}  // namespace osmera
