#include "formats/snk_pcm_file_base.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "core/trace.h"
#include "formats/pcm_sample_convert.h"

namespace osmera {

namespace {

constexpr uint32_t kUnfinishedSize = 0xFFFFFFFFu;
// The RIFF size counts everything after its own field: the header's remaining 38 bytes
// and the data.
constexpr uint32_t kRiffOverhead = 38;

void Put16(uint8_t* p, uint32_t v) {
    p[0] = static_cast<uint8_t>(v);
    p[1] = static_cast<uint8_t>(v >> 8);
}

void Put32(uint8_t* p, uint32_t v) {
    Put16(p, v);
    Put16(p + 2, v >> 16);
}

}  // namespace

std::string LSNKPCMFileBase::CheckSize(const std::string& fileName, int64_t frames,
                                       int32_t channels, int32_t bytesPerSample) {
    const int64_t bytes = std::max<int64_t>(frames, 0) * channels * bytesPerSample;
    if (bytes <= kMaxDataBytes)
        return {};
    return "\"" + fileName + "\" would hold " + std::to_string(bytes) +
           " bytes of audio, more than the 4 GB (" + std::to_string(kMaxDataBytes) +
           " bytes) a WAV file can hold; save a shorter part, fewer channels or a smaller "
           "sample width.";
}

LSNKPCMFileBase::LSNKPCMFileBase(const std::string& fileName, int32_t sampleRate,
                                 int32_t startFrame, int32_t bytesPerSample, uint8_t nChans)
    : LSoundSinkBase(sampleRate, nChans),
      bytesPerSample_(bytesPerSample),
      blockAlign_(static_cast<int32_t>(channels) * bytesPerSample) {
    if (bytesPerSample < 1 || bytesPerSample > 4) {
        LTracef("LSNKPCMFileBase::LSNKPCMFileBase bytes per sample %d not 1 to 4",
                static_cast<int>(bytesPerSample));
        SetErrorBit();
    }
    if (sampleRate < 1) {
        LTrace("LSNKPCMFileBase::LSNKPCMFileBase SampleRate <= 0 ERROR");
        SetErrorBit();
    }
    if (IsError())
        return;  // leave the file alone

    if (!file_.Open(fileName, LFile::Mode::kReadWrite)) {
        LTracef("LSNKPCMFileBase::LSNKPCMFileBase unable to open file: %s", fileName.c_str());
        SetErrorBit();
        return;
    }
    fileBuffer_.resize(static_cast<size_t>(kBufferFrames) * static_cast<size_t>(blockAlign_));
    if (!WriteHeader(kUnfinishedSize, kUnfinishedSize)) {
        NoteWriteFailure("LSNKPCMFileBase::LSNKPCMFileBase unable to write header");
        SetErrorBit();
        return;
    }
    position = std::max(startFrame, 0);
    int64_t offset = kHeaderBytes;
    if (position > 0) {
        const int64_t size = file_.Size();
        offset =
            std::min(kHeaderBytes + int64_t{position} * blockAlign_, std::max(size, kHeaderBytes));
    }
    if (!PlaceAndCut(offset)) {
        NoteWriteFailure("LSNKPCMFileBase::LSNKPCMFileBase unable to cut file");
        SetErrorBit();
    }
}

LSNKPCMFileBase::~LSNKPCMFileBase() {
    if (!finished_)
        Finish();
}

void LSNKPCMFileBase::Write(const int32_t* buffer, int32_t frames) {
    if (IsError() || frames <= 0)
        return;
    position = static_cast<int32_t>(
        std::min<int64_t>(int64_t{position} + frames, std::numeric_limits<int32_t>::max()));
    if (writeFailed_)
        return;  // the file is already incomplete; don't leave gaps in it
    while (frames > 0) {
        const int32_t n = std::min(frames, kBufferFrames);
        Convert(buffer, fileBuffer_.data(), n * channels);
        if (!file_.Write(fileBuffer_.data(), int64_t{n} * blockAlign_)) {
            NoteWriteFailure("LSNKPCMFileBase::Write unable to write data");
            return;
        }
        buffer += static_cast<size_t>(n) * channels;
        frames -= n;
    }
}

void LSNKPCMFileBase::Seek(int32_t p) {
    if (IsError())
        return;
    if (p > position) {
        LTrace("LSNKPCMFileBase::Seek Position > sPosition");
        return;
    }
    if (p < 0) {
        LTrace("LSNKPCMFileBase::Seek Position < 0");
        p = 0;
    }
    position = p;
    if (!PlaceAndCut(kHeaderBytes + int64_t{p} * blockAlign_)) {
        NoteWriteFailure("LSNKPCMFileBase::Seek unable to cut file");
    }
}

bool LSNKPCMFileBase::Finish() {
    if (finished_)
        return finishResult_;
    finished_ = true;
    if (!file_.IsOpen())
        return finishResult_ = false;

    const uint64_t dataBytes = uint64_t(std::max(position, 0)) * uint64_t(blockAlign_);
    bool headerOk = true;
    if (dataBytes > uint64_t{kMaxDataBytes}) {
        // Too large for the header's 32-bit fields: the sizes stay 0xFFFFFFFF, which
        // readers take as "the rest of the file".
        LTrace("LSNKPCMFileBase::Finish data too large for the header sizes");
    } else {
        const auto size = static_cast<uint32_t>(dataBytes);
        headerOk = WriteHeader(size + kRiffOverhead, size);
        if (!headerOk)
            NoteWriteFailure("LSNKPCMFileBase::Finish unable to rewrite header");
    }
    file_.Close();
    SetErrorBit();  // accepts no more data
    return finishResult_ = headerOk && !writeFailed_;
}

bool LSNKPCMFileBase::WriteHeader(uint32_t riffSize, uint32_t dataSize) {
    // Template: stereo, 44100 Hz, 16 bits; the format fields are overwritten below.
    uint8_t h[kHeaderBytes] = {'R',  'I',  'F', 'F', 0,    0,    0,    0, 'W', 'A', 'V', 'E',
                               'f',  'm',  't', ' ', 18,   0,    0,    0, 1,   0,   2,   0,
                               0x44, 0xAC, 0,   0,   0x88, 0x58, 0x01, 0, 2,   0,   16,  0,
                               0,    0,    'd', 'a', 't',  'a',  0,    0, 0,   0};
    Put32(h + 4, riffSize);
    Put16(h + 22, channels);
    Put32(h + 24, static_cast<uint32_t>(sampleRate));
    Put32(h + 28, static_cast<uint32_t>(sampleRate) * static_cast<uint32_t>(blockAlign_));
    Put16(h + 32, static_cast<uint32_t>(blockAlign_));
    Put16(h + 34, static_cast<uint32_t>(bytesPerSample_ * 8));
    Put32(h + 42, dataSize);
    return file_.Seek(0) && file_.Write(h, kHeaderBytes);
}

bool LSNKPCMFileBase::PlaceAndCut(int64_t offset) {
    return file_.Seek(offset) && file_.Truncate();
}

void LSNKPCMFileBase::NoteWriteFailure(const char* what) {
    LTrace(what);
    writeFailed_ = true;
}

void LSNKPCMFile8::Convert(const int32_t* in, uint8_t* out, int32_t samples) const {
    for (int32_t i = 0; i < samples; ++i)
        InternalToPcm8(in[i], out + i);
}

void LSNKPCMFile16::Convert(const int32_t* in, uint8_t* out, int32_t samples) const {
    for (int32_t i = 0; i < samples; ++i)
        InternalToPcm16(in[i], out + 2 * i);
}

void LSNKPCMFile24::Convert(const int32_t* in, uint8_t* out, int32_t samples) const {
    for (int32_t i = 0; i < samples; ++i)
        InternalToPcm24(in[i], out + 3 * i);
}

void LSNKPCMFile32::Convert(const int32_t* in, uint8_t* out, int32_t samples) const {
    for (int32_t i = 0; i < samples; ++i)
        InternalToPcm32(in[i], out + 4 * i);
}

}  // namespace osmera
