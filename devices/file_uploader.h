#pragma once
// Uploading one file to an FTP, FTPS or SFTP server through libcurl.
//
// The address names the folder (ending in '/') or the whole remote path:
// ftp://host/music/ puts "take.mp3" there as music/take.mp3. ftp:// asks for TLS when the
// server offers it and goes on in clear otherwise, unless `requireTls`; ftps:// is encrypted
// from the first byte; sftp:// is SSH. FTP data connections are passive. Missing folders
// are made when `createFolders` is set. With `resume`, the size of a remote file of the same
// name is asked first and only the rest is appended, so a broken upload goes on where it
// stopped; a remote file that is already as long as the local one is left alone.
//
// Runs on the calling thread; `progress` (may be null) sees the fraction of the file that is
// on the server and may cancel.

#include <cstdint>
#include <string>

#include "core/progress.h"
#include "devices/curl_transfer.h"

namespace osmera {

struct LUploadRequest {
    std::string url;  // ftp://, ftps:// or sftp://host[:port]/folder/ or .../folder/name
    std::string user;
    std::string password;
    std::string localPath;
    std::string remoteName;  // the name on the server when `url` names a folder; "": local
    bool createFolders = false;
    bool resume = false;
    bool requireTls = false;  // ftp:// only: refuse a server without TLS
    LTransferLimits limits;
};

// Uploads the file; the outcome's message is one line ("Uploaded take.mp3 to ftp://...").
LTransferOutcome UploadFile(const LUploadRequest& request, LProgress* progress);

// The full remote address of the upload: `url` itself, or `url` + the name when it ends in
// '/' (the name's characters escaped as a URL needs them).
std::string UploadTarget(const LUploadRequest& request);

}  // namespace osmera
