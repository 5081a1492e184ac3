// A send of the Send dialog on its worker thread.
#include "app/send_job.h"

#include "edit/src_cut_list_audio.h"

namespace osmera {

LSendJob::~LSendJob() {
    cancel_ = true;
    if (worker_.joinable())
        worker_.join();
}

void LSendJob::Start(Request request) {
    request_ = std::move(request);
    worker_ = std::thread([this] { Run(); });
}

std::string LSendJob::Stage() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return stage_;
}

void LSendJob::SetLine(int line, const std::string& text) {
    if (line != 0)
        return;
    std::lock_guard<std::mutex> lock(mutex_);
    stage_ = text;
}

void LSendJob::Run() {
    SetLine(0, "Encoding");
    std::string message;
    const int encoded = attachment_.Encode(MakeRef<LSRCCutListAudio>(request_.audio),
                                           request_.baseName, request_.options, this, &message);
    // The copy of the audio is not needed any more; its cuts may go.
    request_.audio = LCutListAudio();
    if (encoded != kJobDone) {
        outcome_.result = encoded;
        outcome_.message = encoded == kJobCancelled ? "Cancelled; nothing was sent."
                                                    : "Encoding failed: " + message;
        finished_ = true;
        return;
    }
    fraction_ = 0;
    switch (request_.kind) {
        case Kind::kMail:
            SetLine(0, "Sending");
            request_.mail.attachmentPath = attachment_.Path();
            request_.mail.attachmentName = attachment_.FileName();
            request_.mail.contentType = attachment_.ContentType();
            outcome_ = SendMail(request_.mail, this);
            attachment_.Remove();
            break;
        case Kind::kUpload:
            SetLine(0, "Uploading");
            request_.upload.localPath = attachment_.Path();
            request_.upload.remoteName = attachment_.FileName();
            outcome_ = UploadFile(request_.upload, this);
            attachment_.Remove();
            break;
        case Kind::kDesktopMail:
            outcome_.message =
                "Handed " + attachment_.FileName() + " to the desktop's mail program.";
            break;
    }
    finished_ = true;
}

}  // namespace osmera
