#pragma once
// A source that decodes audio through libsndfile: WAV files whose data is not plain PCM
// (float, A-law, mu-law, IMA and MS ADPCM, GSM 6.10, extensible formats) and whole files
// of other kinds that libsndfile reads (AIFF, AU, FLAC, Ogg...).
//
// Delivers the internal sample form (a 16-bit value times 16) with peak 524272, whatever
// the coded width: libsndfile decodes to doubles of full scale 1.0, which become
// round(v * 524288), saturating at +-524288 (float data may go beyond full scale); integer
// PCM is read as 32-bit integers rounded by (v + 2048) >> 12, which gives the same values. Frames
// before 0 and at or after the length read as zeros, and Read always advances by exactly the frames
// asked. Error 5 when libsndfile cannot decode the input, 3 when it reports a channel count or rate
// this program cannot hold.
//
// What the decoding libraries print on stderr while a file is opened (and while MPEG audio
// is decoded) is kept out of the program's output and goes to the trace instead.
//
// Owns its input (the file and the decoder) until destroyed. One thread at a time.

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "core/file.h"
#include "core/sound_source_base.h"
#include "formats/opened_file_facts.h"

struct sf_private_tag;  // libsndfile's SNDFILE

namespace osmera {

class LSRCSndFile : public LSoundSourceBase, public LFileFacts {
  public:
    // The largest block decoded at once; Read splits larger requests.
    static constexpr int32_t kBufferFrames = 8192;

    // Opens a whole file of any kind libsndfile knows, by path.
    explicit LSRCSndFile(const std::string& path);
    // Opens a headerless file (raw PCM, VOX, GSM 6.10) by path, as libsndfile's format
    // code `rawFormat` (SF_FORMAT_RAW | encoding | byte order) at `rate` with `nChans`.
    LSRCSndFile(const std::string& path, int rawFormat, int32_t rate, int32_t nChans);
    // Decodes the data of a WAV file whose chunks were already walked: `format` is the
    // body of its "fmt " chunk, and the data lies at byte `dataStart` of `file` for
    // `dataSize` bytes (0xFFFFFFFF, or any size past the end of the file, means up to the
    // end). Takes over `file`.
    LSRCSndFile(LFile file, int64_t dataStart, uint32_t dataSize, std::vector<uint8_t> format);
    ~LSRCSndFile() override;
    LSRCSndFile(const LSRCSndFile&) = delete;
    LSRCSndFile& operator=(const LSRCSndFile&) = delete;

    void Read(int32_t* buffer, int32_t frames) override;
    int32_t GetPositionSample() override { return position_; }
    int32_t GetLengthSample() override { return length_; }
    // Records `position` and places the decoder at that frame, clamped to [0, length].
    void Seek(int32_t position) override;

    // libsndfile's format code of the input (container | encoding, SF_FORMAT_*), 0 when it
    // could not be opened.
    int GetSndFileFormat() const { return sndFileFormat_; }

    // The decoder's length, not cut to 32 bits. Coded WAV data cut short decodes to what
    // the file holds, so claimed and present frames are the same.
    int64_t GetClaimedFrames() const override { return frames_; }
    int64_t GetPresentFrames() const override { return frames_; }
    // The PCM width of PCM encodings (AIFF, FLAC...), 2 for every other encoding.
    int32_t GetKeptBytesPerSample() const override;

    // The input presented to libsndfile when decoding WAV data: a canonical header made
    // from the format block, followed by the data bytes of the file. Public only so that
    // the libsndfile callbacks can reach it.
    struct VirtualWav;

  private:
    // Takes the stream's format and length once libsndfile has opened it (`sf_` set), or
    // records error 5 when it could not (`sf_` null). `what` names the input for the trace.
    bool IsMpeg() const;
    // Integer PCM of any width (WAV, AIFF, FLAC...): decoded as integers.
    bool IsPcm() const;
    void Adopt(int64_t frames, int32_t rate, int32_t nChans, int format, const std::string& what);

    std::unique_ptr<VirtualWav> virtual_;
    sf_private_tag* sf_ = nullptr;
    int32_t position_ = 0;
    int32_t length_ = 0;
    int64_t frames_ = 0;
    int sndFileFormat_ = 0;
    std::vector<double> decoded_;
    std::vector<int32_t> asInt_;
};

}  // namespace osmera
