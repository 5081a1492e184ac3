#pragma once
// One send of the editor's Send dialog, run on a worker thread: the audio (a private copy of
// the document's list, whole or the selection) encoded into a temporary file, then mailed,
// uploaded, or kept for the desktop's mail program.
//
// The job is its own LProgress: the worker writes the stage and the fraction, the GUI reads
// them (the dialog polls); Cancel() asks the worker to stop between blocks or from curl's
// progress callback.
//
// Ownership: the job owns its worker, the copy of the audio and the encoded file; the file
// is removed when the job is destroyed (for the desktop mail program it must outlive the
// send, so the dialog keeps such jobs until it goes).
// Threads: Start, Cancel, Finished, Fraction, Stage, Outcome and the destructor on the GUI
// thread; the worker calls the LProgress methods.

#include <atomic>
#include <mutex>
#include <string>
#include <thread>

#include "core/progress.h"
#include "devices/file_uploader.h"
#include "devices/mail_sender.h"
#include "devices/send_attachment.h"
#include "edit/cut_list_audio.h"

namespace osmera {

class LSendJob : public LProgress {
  public:
    enum class Kind { kMail, kUpload, kDesktopMail };
    struct Request {
        Kind kind = Kind::kMail;
        LCutListAudio audio;   // what is sent
        std::string baseName;  // the attachment's name without extension
        LWriteOptions options;
        LMailRequest mail;      // kMail (the attachment fields are filled by the job)
        LUploadRequest upload;  // kUpload (localPath and remoteName likewise)
    };

    LSendJob() = default;
    ~LSendJob() override;
    LSendJob(const LSendJob&) = delete;
    LSendJob& operator=(const LSendJob&) = delete;

    void Start(Request request);
    void Cancel() { cancel_ = true; }
    bool Finished() const { return finished_; }
    double Fraction() const { return fraction_; }
    std::string Stage() const;
    // Valid once Finished().
    const LTransferOutcome& Outcome() const { return outcome_; }
    // The encoded file (kDesktopMail), valid once Finished() with kJobDone.
    const LSendAttachment& Attachment() const { return attachment_; }

    void SetLine(int line, const std::string& text) override;
    void SetFraction(double fraction) override { fraction_ = fraction; }
    bool IsCancelled() override { return cancel_; }

  private:
    void Run();

    Request request_;
    LSendAttachment attachment_;
    LTransferOutcome outcome_;
    std::thread worker_;
    std::atomic<bool> cancel_{false};
    std::atomic<bool> finished_{false};
    std::atomic<double> fraction_{0};
    mutable std::mutex mutex_;
    std::string stage_;
};

}  // namespace osmera
