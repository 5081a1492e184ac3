#include "formats/snk_snd_file.h"

#include <sndfile.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "core/trace.h"

namespace osmera {
namespace {

int PcmSubtype(int32_t bits, bool signed8) {
    switch (bits) {
        case 8:
            return signed8 ? SF_FORMAT_PCM_S8 : SF_FORMAT_PCM_U8;
        case 24:
            return SF_FORMAT_PCM_24;
        case 32:
            return SF_FORMAT_PCM_32;
        default:
            return SF_FORMAT_PCM_16;
    }
}

bool SetDouble(SNDFILE* sf, int command, double value) {
    return sf_command(sf, command, &value, sizeof value) == SF_TRUE;
}

bool SetInt(SNDFILE* sf, int command, int value) {
    return sf_command(sf, command, &value, sizeof value) == SF_TRUE;
}

}  // namespace

int LSNKSndFile::SndFileFormatFor(const LWriteFormat& format, const LWriteOptions& options) {
    const int container = format.sndFileFormat & SF_FORMAT_TYPEMASK;
    if (std::string(format.name) == "raw")
        return options.raw.SndFileFormat();
    if (!format.hasWidth || options.bits == 0)
        return format.sndFileFormat;
    // FLAC holds 8, 16 and 24 bits only; 32 becomes 24. AIFF, CAF and FLAC keep 8 bits
    // signed, WAV-like containers unsigned.
    int32_t bits = options.bits;
    if (container == SF_FORMAT_FLAC && bits == 32)
        bits = 24;
    const bool signed8 = container != SF_FORMAT_W64 && container != SF_FORMAT_RF64;
    return container | PcmSubtype(bits, signed8);
}

LSNKSndFile::LSNKSndFile(const std::string& fileName, const LWriteFormat& format,
                         const LWriteOptions& options, int32_t sampleRate, uint8_t nChans)
    : LSoundSinkBase(sampleRate, nChans) {
    SF_INFO info{};
    info.samplerate = sampleRate;
    info.channels = channels;
    info.format = SndFileFormatFor(format, options);
    if (sampleRate < 1 || IsError() || !sf_format_check(&info)) {
        LTracef("LSNKSndFile::LSNKSndFile format 0x%x not writable at %d Hz, %d channels",
                static_cast<unsigned>(info.format), static_cast<int>(sampleRate),
                static_cast<int>(channels));
        errorText_ = std::string(format.name) + " cannot hold " + std::to_string(channels) +
                     " channel(s) at " + std::to_string(sampleRate) + " Hz";
        SetErrorBit();
        return;
    }
    sf_ = sf_open(fileName.c_str(), SFM_WRITE, &info);
    const int sub = info.format & SF_FORMAT_SUBMASK;
    float_ = sub == SF_FORMAT_FLOAT || sub == SF_FORMAT_DOUBLE;
    if (!sf_) {
        LTracef("LSNKSndFile::LSNKSndFile unable to open file: %s (%s)", fileName.c_str(),
                sf_strerror(nullptr));
        errorText_ = sf_strerror(nullptr);
        SetErrorBit();
        return;
    }
    ApplyOptions(format, options);
}

void LSNKSndFile::ApplyOptions(const LWriteFormat& format, const LWriteOptions& options) {
    const int sub = format.sndFileFormat & SF_FORMAT_SUBMASK;
    const int container = format.sndFileFormat & SF_FORMAT_TYPEMASK;
    bool ok = true;
    if (container == SF_FORMAT_FLAC) {
        // Levels 0 (fastest) to 8 (smallest) spread over libsndfile's 0..1.
        const int level = options.compression < 0 ? 5 : std::min(options.compression, 8);
        ok = SetDouble(sf_, SFC_SET_COMPRESSION_LEVEL, level / 8.0);
    } else if (sub == SF_FORMAT_VORBIS) {
        const double quality = options.quality < 0 ? 5.0 : std::min(options.quality, 10.0);
        ok = SetDouble(sf_, SFC_SET_VBR_ENCODING_QUALITY, quality / 10.0);
    } else if (sub == SF_FORMAT_OPUS) {
        // libsndfile spreads its compression level 0..1 over 256 to 6 kbit/s per channel.
        const int32_t kbps = options.bitrate > 0 ? options.bitrate : 64 * channels;
        const double perChannel = std::clamp(kbps * 1000.0 / channels, 6000.0, 256000.0);
        ok = SetDouble(sf_, SFC_SET_COMPRESSION_LEVEL, (256000.0 - perChannel) / 250000.0);
    } else if (sub == SF_FORMAT_MPEG_LAYER_III) {
        if (options.bitrate > 0 || options.quality < 0) {
            // Constant bit rate: libsndfile spreads its level 0..1 over 320 to 32 kbit/s
            // and LAME takes the nearest rate it has.
            const int32_t kbps = options.bitrate > 0 ? options.bitrate : 192;
            const double level = (320.0 - std::clamp(kbps, 32, 320)) / 288.0;
            ok = SetInt(sf_, SFC_SET_BITRATE_MODE, SF_BITRATE_MODE_CONSTANT) &&
                 SetDouble(sf_, SFC_SET_COMPRESSION_LEVEL, level);
        } else {
            // Variable bit rate: LAME's quality 0 (best) to 9.
            ok = SetInt(sf_, SFC_SET_BITRATE_MODE, SF_BITRATE_MODE_VARIABLE) &&
                 SetDouble(sf_, SFC_SET_COMPRESSION_LEVEL, std::min(options.quality, 9.0) / 9.0);
        }
    }
    if (!ok)
        LTrace("LSNKSndFile::ApplyOptions libsndfile refused an encoder setting");
}

LSNKSndFile::~LSNKSndFile() {
    if (!finished_)
        Finish();
}

void LSNKSndFile::Write(const int32_t* buffer, int32_t frames) {
    if (IsError() || frames <= 0)
        return;
    position = static_cast<int32_t>(
        std::min<int64_t>(int64_t{position} + frames, std::numeric_limits<int32_t>::max()));
    if (writeFailed_)
        return;
    // The internal value shifted into the top of 32 bits, as the 32-bit PCM writer does;
    // through unsigned so that out-of-range values wrap instead of overflowing.
    const size_t samples = static_cast<size_t>(frames) * channels;
    for (size_t i = 0; i < samples; ++i)
        scaled_.push_back(static_cast<int32_t>(static_cast<uint32_t>(buffer[i]) << 12));
    // Whole blocks of an even frame count go on: VOX packs two samples into a byte and
    // libsndfile drops an odd one at the end of a write.
    const size_t block = static_cast<size_t>(kBlockFrames) * channels;
    size_t done = 0;
    while (!writeFailed_ && scaled_.size() - done >= block) {
        WriteFrames(scaled_.data() + done, kBlockFrames, false);
        done += block;
    }
    scaled_.erase(scaled_.begin(), scaled_.begin() + static_cast<std::ptrdiff_t>(done));
}

void LSNKSndFile::WriteFrames(const int32_t* samples, int64_t frames, bool last) {
    sf_count_t got = 0;
    if (float_) {
        // Float files hold full scale as 1.0: the internal value over 524288, which a
        // float keeps exactly (the scaled value is shifted back first).
        asDouble_.resize(static_cast<size_t>(frames) * channels);
        for (size_t i = 0; i < asDouble_.size(); ++i)
            asDouble_[i] = static_cast<double>(samples[i] >> 12) / 524288.0;
        got = sf_writef_double(sf_, asDouble_.data(), frames);
    } else {
        got = sf_writef_int(sf_, samples, frames);
    }
    // The last write of a VOX file may lose its odd final sample, or count a padding one.
    if (got == frames || (last && got + 1 >= frames))
        return;
    LTracef("LSNKSndFile::Write libsndfile took %lld of %lld frames: %s",
            static_cast<long long>(got), static_cast<long long>(frames), sf_strerror(sf_));
    writeFailed_ = true;
}

bool LSNKSndFile::Finish() {
    if (finished_)
        return finishResult_;
    finished_ = true;
    if (!sf_)
        return finishResult_ = false;
    if (!writeFailed_ && !scaled_.empty())
        WriteFrames(scaled_.data(), static_cast<int64_t>(scaled_.size() / channels), true);
    scaled_.clear();
    sf_write_sync(sf_);
    const int closed = sf_close(sf_);
    sf_ = nullptr;
    SetErrorBit();  // accepts no more data
    if (closed != 0)
        LTrace("LSNKSndFile::Finish closing the file failed");
    return finishResult_ = closed == 0 && !writeFailed_;
}

}  // namespace osmera
