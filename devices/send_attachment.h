#pragma once
// The file a send carries: the audio (a whole file or a selection) encoded by the format
// writers into a private temporary folder, under the name the recipient will see, and
// removed with the object whatever happened to the send.
//
// Also a rough size of the encoded file, shown before anything is encoded.
//
// Ownership: the object owns the temporary folder and the file in it.
// Threads: one thread at a time; Encode runs on the calling thread (a send's worker).

#include <cstdint>
#include <string>

#include "core/progress.h"
#include "core/sound_source_base.h"
#include "formats/audio_format.h"

namespace osmera {

class LSendAttachment {
  public:
    LSendAttachment() = default;
    ~LSendAttachment();
    LSendAttachment(const LSendAttachment&) = delete;
    LSendAttachment& operator=(const LSendAttachment&) = delete;

    // Encodes `source` with `options` (options.format names the format) as `baseName`
    // plus the format's extension. Returns kJobDone, kJobCancelled or kJobFailed; on
    // failure `message` says why and nothing is left behind.
    int Encode(LSourceRef source, const std::string& baseName, const LWriteOptions& options,
               LProgress* progress, std::string* message);

    const std::string& Path() const { return path_; }      // "" until encoded
    const std::string& FileName() const { return name_; }  // the name the recipient sees
    const std::string& ContentType() const { return type_; }
    int64_t Size() const { return size_; }
    // Removes the file and its folder (also done by the destructor).
    void Remove();

  private:
    std::string folder_;
    std::string path_;
    std::string name_;
    std::string type_;
    int64_t size_ = 0;
};

// The usual extension of `format` ("wav" for "wav-float").
std::string FormatExtension(const LWriteFormat& format);
// About how many bytes `frames` frames at `rate` Hz and `channels` channels take in
// `format`: exact for PCM, from the usual bit rates for coded formats.
int64_t EstimateEncodedSize(const LWriteFormat& format, const LWriteOptions& options,
                            int64_t frames, int32_t rate, int32_t channels);
// "812 KB", "3.4 MB".
std::string SizeText(int64_t bytes);

}  // namespace osmera
