#include "formats/wave_file.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <limits>
#include <vector>

#include "core/file.h"
#include "core/trace.h"
#include "formats/src_failed.h"
#include "formats/src_pcm_file_base.h"
#include "formats/src_snd_file.h"

namespace osmera {

namespace {

constexpr uint32_t kUnfinishedSize = 0xFFFFFFFFu;
constexpr int32_t kMinFormatBytes = 16;
constexpr int32_t kMaxFormatBytes = 8192;
constexpr uint32_t kMaxChannels = 255;
constexpr uint32_t kMaxSampleRate = 196000;
constexpr uint16_t kFormatPcm = 1;
constexpr uint16_t kFormatExtensible = 0xFFFE;
// The sub-format GUID of extensible PCM, as it lies in the file.
constexpr uint8_t kPcmSubFormat[16] = {0x01, 0x00, 0x00, 0x00, 0x00, 0x00, 0x10, 0x00,
                                       0x80, 0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71};

uint16_t Get16(const uint8_t* p) {
    return static_cast<uint16_t>(p[0] | (p[1] << 8));
}

uint32_t Get32(const uint8_t* p) {
    return static_cast<uint32_t>(Get16(p)) | (static_cast<uint32_t>(Get16(p + 2)) << 16);
}

bool IdIs(const uint8_t* p, const char* id) {
    return std::memcmp(p, id, 4) == 0;
}

// A chunk size field as a signed count, padded to the next even number.
int64_t PaddedSize(const uint8_t* p) {
    const int64_t size = static_cast<int32_t>(Get32(p));
    return size + (size & 1);
}

bool Skip(LFile& file, int64_t bytes) {
    const int64_t at = file.Tell();
    return at >= 0 && file.Seek(at + bytes);
}

// Finds the RIFF WAVE chunk, skipping chunks of other kinds before it, and leaves the file
// just after its form type.
bool FindRiffWave(LFile& file) {
    for (;;) {
        uint8_t h[12];
        if (file.Read(h, sizeof h) != sizeof h)
            return false;
        if (IdIs(h, "RIFF") && IdIs(h + 8, "WAVE"))
            return true;
        const int64_t size = PaddedSize(h + 4);
        if (size < 5 || !Skip(file, size - 4))
            return false;
    }
}

// Finds the next chunk named `id`, skipping others with their pad byte, and leaves the
// file at its body.
bool FindChunk(LFile& file, const char* id, uint32_t& size) {
    for (;;) {
        uint8_t h[8];
        if (file.Read(h, sizeof h) != sizeof h)
            return false;
        if (IdIs(h, id)) {
            size = Get32(h + 4);
            return true;
        }
        const int64_t skip = PaddedSize(h + 4);
        if (skip < 0 || !Skip(file, skip))
            return false;
    }
}

bool IsPcm(const std::vector<uint8_t>& format) {
    const uint16_t tag = Get16(format.data());
    if (tag == kFormatPcm)
        return true;
    // Extensible PCM: 22 extra bytes whose last 16 are the sub-format GUID.
    return tag == kFormatExtensible && format.size() >= 40 && Get16(format.data() + 16) >= 22 &&
           std::memcmp(format.data() + 24, kPcmSubFormat, sizeof kPcmSubFormat) == 0;
}

LSourceRef MakePcmReader(LFile file, int64_t dataStart, uint32_t dataSize, int32_t rate,
                         uint8_t channels, uint16_t bits) {
    const int32_t width = bits <= 8 ? 1 : bits <= 16 ? 2 : bits <= 24 ? 3 : 4;
    const int64_t blockAlign = int64_t{channels} * width;
    // A writer that never finished left 0xFFFFFFFF: the data runs to the end of the file.
    const int64_t bytes =
        dataSize == kUnfinishedSize ? std::max<int64_t>(file.Size() - dataStart, 0) : dataSize;
    // The reader cuts the length to what a source can count and tells the rest as a fact.
    const int64_t length = bytes / blockAlign;
    switch (width) {
        case 1:
            return MakeRef<LSRCPCMFile8>(std::move(file), dataStart, length, rate, channels);
        case 2:
            return MakeRef<LSRCPCMFile16>(std::move(file), dataStart, length, rate, channels);
        case 3:
            return MakeRef<LSRCPCMFile24>(std::move(file), dataStart, length, rate, channels);
        default:
            return MakeRef<LSRCPCMFile32>(std::move(file), dataStart, length, rate, channels);
    }
}

// Stands for a writer of an unsupported width: its construction sets the error bit and
// leaves the file alone, so it never converts anything.
class LSNKPCMFileRejected : public LSNKPCMFileBase {
  public:
    LSNKPCMFileRejected(const std::string& fileName, int32_t sampleRate, int32_t bytesPerSample,
                        uint8_t channels)
        : LSNKPCMFileBase(fileName, sampleRate, 0, bytesPerSample, channels) {}

  protected:
    void Convert(const int32_t*, uint8_t*, int32_t) const override {}
};

// Why a channel count or rate was refused, naming what the file says and what opens.
std::string RangeReason(uint16_t channels, uint32_t rate) {
    std::string reason;
    if (channels < 1 || channels > kMaxChannels)
        reason = "It claims " + std::to_string(channels) + " channels; 1 to 255 can be opened.";
    if (rate < 1 || rate > kMaxSampleRate) {
        if (!reason.empty())
            reason += " ";
        reason += "It claims a sample rate of " + std::to_string(rate) +
                  " Hz; 1 to 196000 Hz can be opened.";
    }
    return reason;
}

std::string CodedReason(uint16_t tag) {
    char hex[8];
    std::snprintf(hex, sizeof hex, "0x%04X", tag);
    return std::string("Its audio is coded in format ") + hex +
           ", which the installed libsndfile cannot decode.";
}

}  // namespace

LSourceRef LWaveFile::OpenSource(const std::string& fileName) {
    LFile file;
    if (!file.Open(fileName, LFile::Mode::kRead)) {
        LTracef("LWaveFile::OpenSource Unable to Open File: %s", fileName.c_str());
        return MakeFailedSource(kSourceNotOpened, file.ErrorText());
    }
    if (!FindRiffWave(file)) {
        LTrace("LWaveFile::OpenSource No RIFF WAVE chunk found");
        return MakeFailedSource(kSourceBadParams, "It has no RIFF WAVE header.");
    }
    uint32_t formatSize = 0;
    if (!FindChunk(file, "fmt ", formatSize)) {
        LTrace("LWaveFile::OpenSource 'fmt ' subchunk not found!");
        return MakeFailedSource(kSourceBadParams, "It has no format ('fmt ') chunk.");
    }
    const auto signedFormatSize = static_cast<int32_t>(formatSize);
    if (signedFormatSize < kMinFormatBytes || signedFormatSize > kMaxFormatBytes) {
        LTrace("LWaveFile::OpenSource fmt too short or too long!");
        return MakeFailedSource(kSourceBadParams, "Its format chunk claims " +
                                                      std::to_string(signedFormatSize) +
                                                      " bytes; 16 to 8192 bytes can be read.");
    }
    std::vector<uint8_t> format(formatSize);
    if (file.Read(format.data(), signedFormatSize) != signedFormatSize) {
        LTrace("LWaveFile::OpenSource fmt too short or too long!");
        return MakeFailedSource(kSourceBadParams, "It ends inside its format chunk.");
    }
    if (formatSize & 1)
        Skip(file, 1);  // the pad byte after an odd-sized chunk
    // A format block shorter than 18 bytes has no extra bytes; give it a zero count.
    if (format.size() < 18)
        format.resize(18, 0);

    uint32_t dataSize = 0;
    if (!FindChunk(file, "data", dataSize)) {
        LTrace("LWaveFile::OpenSource 'data' subchunk not found!");
        return MakeFailedSource(kSourceBadParams, "It has no 'data' chunk.");
    }
    const uint16_t channels = Get16(format.data() + 2);
    const uint32_t rate = Get32(format.data() + 4);
    const uint16_t bits = Get16(format.data() + 14);
    if (channels < 1 || channels > kMaxChannels || rate < 1 || rate > kMaxSampleRate) {
        LTrace("LWaveFile::OpenSource nChannels or nSamplesPerSec is invalid");
        return MakeFailedSource(kSourceBadParams, RangeReason(channels, rate));
    }
    const int64_t dataStart = file.Tell();
    if (!IsPcm(format)) {
        const uint16_t tag = Get16(format.data());
        LSourceRef coded =
            MakeRef<LSRCSndFile>(std::move(file), dataStart, dataSize, std::move(format));
        if (coded->GetError() == kSourceCodecFailed)
            return MakeFailedSource(kSourceCodecFailed, CodedReason(tag));
        if (coded->GetError() != kSourceOk)
            return MakeFailedSource(coded->GetError());
        return coded;
    }
    return MakePcmReader(std::move(file), dataStart, dataSize, static_cast<int32_t>(rate),
                         static_cast<uint8_t>(channels), bits);
}

LRef<LSNKPCMFileBase> LWaveFile::CreateSink(const std::string& fileName, int32_t sampleRate,
                                            int32_t startFrame, int32_t bytesPerSample,
                                            uint8_t channels) {
    switch (bytesPerSample) {
        case 1:
            return MakeRef<LSNKPCMFile8>(fileName, sampleRate, startFrame, channels);
        case 2:
            return MakeRef<LSNKPCMFile16>(fileName, sampleRate, startFrame, channels);
        case 3:
            return MakeRef<LSNKPCMFile24>(fileName, sampleRate, startFrame, channels);
        case 4:
            return MakeRef<LSNKPCMFile32>(fileName, sampleRate, startFrame, channels);
        default:
            return MakeRef<LSNKPCMFileRejected>(fileName, sampleRate, bytesPerSample, channels);
    }
}

}  // namespace osmera
