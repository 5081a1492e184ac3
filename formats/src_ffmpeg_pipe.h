#pragma once
// The reader of last resort: an installed ffmpeg decodes the file (AAC/M4A, WMA, AC3,
// Real Audio, DSS, Shorten and whatever else it knows) to 32-bit little-endian PCM at the
// file's own rate and channel count, streamed through a pipe block by block; nothing of
// the decode is kept on disk.
//
// Open() first asks ffprobe (part of the same Debian package) for the rate, channels and
// length of the first audio stream, then the source starts ffmpeg on the first Read.
// Seeking forward by up to 10 seconds reads on and drops frames; any other seek restarts
// the decoder at the new place (-ss before the input, which ffmpeg decodes exactly).
// Both programs are started with an argument vector, never through a shell.
//
// Samples become the internal form as the 32-bit PCM reader converts them; peak 524272.
// The length is what ffprobe states: a decode that ends early reads zeros for the rest,
// one that delivers more is cut there. A decoder that produces nothing for 20 seconds is
// killed and the rest reads as zeros. Destroying the source kills a running decoder and
// reaps it.
//
// Owns its child process. One thread at a time.

#include <cstdint>
#include <string>
#include <vector>

#include "core/sound_source_base.h"
#include "formats/child_process.h"
#include "formats/opened_file_facts.h"

namespace osmera {

class LSRCFfmpegPipe : public LSoundSourceBase, public LFileFacts {
  public:
    // The sentence telling the user what to install when ffmpeg is missing.
    static const char* const kMissingFfmpeg;

    // Opens `path` through ffmpeg. Never null: on failure a failed source (src_failed.h)
    // whose code is 5 when ffmpeg is not installed (the reason names the package), 4
    // when the file cannot be read, 3 when ffmpeg finds no audio in it (the reason
    // carries ffmpeg's own words).
    static LSourceRef Open(const std::string& path);
    // True when both ffmpeg and ffprobe are found on PATH.
    static bool IsInstalled();

    ~LSRCFfmpegPipe() override = default;

    void Read(int32_t* buffer, int32_t frames) override;
    int32_t GetPositionSample() override { return position_; }
    int32_t GetLengthSample() override { return length_; }
    void Seek(int32_t position) override;

    int64_t GetClaimedFrames() const override { return frames_; }
    int64_t GetPresentFrames() const override { return frames_; }
    int32_t GetKeptBytesPerSample() const override { return 2; }

    // The codec ffprobe named ("aac", "wmav2"...), for information.
    const std::string& GetCodecName() const { return codec_; }

  private:
    LSRCFfmpegPipe(std::string path, int32_t rate, int32_t nChans, int64_t frames,
                   std::string codec);
    // Starts the decoder at `frame`; false when it cannot be started.
    bool StartAt(int64_t frame);
    // Fills `frames` frames from the decoder; the frames it cannot deliver become zeros.
    void Decode(int32_t* out, int64_t frames);

    std::string path_;
    std::string codec_;
    LChildProcess decoder_;
    bool started_ = false;
    bool ended_ = false;
    int64_t decoderFrame_ = 0;  // the frame the decoder delivers next
    int64_t frames_ = 0;
    int32_t length_ = 0;
    int32_t position_ = 0;
    std::vector<uint8_t> bytes_;
};

}  // namespace osmera
