#include "formats/src_snd_file.h"

#include <fcntl.h>
#include <sndfile.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <mutex>
#include <optional>
#include <string_view>

#include "core/trace.h"

namespace osmera {

struct LSRCSndFile::VirtualWav {
    LFile file;
    int64_t dataStart = 0;
    int64_t dataLength = 0;
    std::vector<uint8_t> header;
    int64_t position = 0;

    int64_t Length() const { return static_cast<int64_t>(header.size()) + dataLength; }
};

namespace {

using VirtualWav = LSRCSndFile::VirtualWav;

void Put32(std::vector<uint8_t>& out, uint32_t v) {
    for (int i = 0; i < 4; ++i)
        out.push_back(static_cast<uint8_t>(v >> (8 * i)));
}

void PutId(std::vector<uint8_t>& out, const char* id) {
    out.insert(out.end(), id, id + 4);
}

// "RIFF" <size> "WAVE" "fmt " <size> <format> [pad] "data" <size>: the smallest WAV header
// that libsndfile parses, with the data length limited to what the file holds.
std::vector<uint8_t> MakeHeader(const std::vector<uint8_t>& format, int64_t& dataLength) {
    const auto formatSize = static_cast<uint32_t>(format.size());
    const uint32_t padded = formatSize + (formatSize & 1);
    const uint32_t overhead = 4 + 8 + padded + 8;
    dataLength = std::min<int64_t>(dataLength, int64_t{0xFFFFFFFFu} - overhead);
    std::vector<uint8_t> h;
    PutId(h, "RIFF");
    Put32(h, overhead + static_cast<uint32_t>(dataLength));
    PutId(h, "WAVE");
    PutId(h, "fmt ");
    Put32(h, formatSize);
    h.insert(h.end(), format.begin(), format.end());
    if (formatSize & 1)
        h.push_back(0);
    PutId(h, "data");
    Put32(h, static_cast<uint32_t>(dataLength));
    return h;
}

sf_count_t VirtualLength(void* user) {
    return static_cast<VirtualWav*>(user)->Length();
}

sf_count_t VirtualSeek(sf_count_t offset, int whence, void* user) {
    auto* v = static_cast<VirtualWav*>(user);
    int64_t base = 0;
    if (whence == SEEK_CUR)
        base = v->position;
    if (whence == SEEK_END)
        base = v->Length();
    if (offset < -base)
        return -1;  // before the start
    v->position = base + offset;
    return v->position;
}

sf_count_t VirtualRead(void* out, sf_count_t count, void* user) {
    auto* v = static_cast<VirtualWav*>(user);
    auto* dst = static_cast<uint8_t*>(out);
    const auto headerSize = static_cast<int64_t>(v->header.size());
    int64_t done = 0;
    if (count > 0 && v->position < headerSize) {
        done = std::min<int64_t>(count, headerSize - v->position);
        std::memcpy(dst, v->header.data() + v->position, static_cast<size_t>(done));
        v->position += done;
    }
    const int64_t want = std::min<int64_t>(count - done, v->Length() - v->position);
    if (want > 0 && v->file.Seek(v->dataStart + (v->position - headerSize))) {
        const int64_t got = v->file.Read(dst + done, want);
        if (got > 0) {
            done += got;
            v->position += got;
        }
    }
    return done;
}

sf_count_t VirtualWrite(const void*, sf_count_t, void*) {
    return 0;
}

sf_count_t VirtualTell(void* user) {
    return static_cast<VirtualWav*>(user)->position;
}

SF_VIRTUAL_IO virtualIo = {VirtualLength, VirtualSeek, VirtualRead, VirtualWrite, VirtualTell};

// Keeps what the decoding libraries print on stderr (mpg123 announces "Note: Illegal
// Audio-MPEG-Header" for every file it probes and fails) out of the program's output
// while it lives: descriptor 2 points at a memory file, then is restored, and what was
// caught goes to the trace. There is one stderr per process, so anything another thread
// prints meanwhile is caught as well: it is held only around decoder calls, and one
// redirection runs at a time.
class QuietStderr {
  public:
    QuietStderr() : lock_(Mutex()) {
        std::fflush(stderr);
        catch_ = ::memfd_create("osmera-decoder-messages", MFD_CLOEXEC);
        if (catch_ < 0)
            catch_ = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
        saved_ = catch_ >= 0 ? ::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3) : -1;
        if (saved_ >= 0 && ::dup2(catch_, STDERR_FILENO) < 0) {
            ::close(saved_);
            saved_ = -1;
        }
    }
    ~QuietStderr() {
        if (saved_ >= 0) {
            std::fflush(stderr);
            ::dup2(saved_, STDERR_FILENO);
            ::close(saved_);
            ForwardToTrace();
        }
        if (catch_ >= 0)
            ::close(catch_);
    }
    QuietStderr(const QuietStderr&) = delete;
    QuietStderr& operator=(const QuietStderr&) = delete;

  private:
    static std::mutex& Mutex() {
        static std::mutex m;
        return m;
    }
    void ForwardToTrace() const {
        char text[2048];
        const ssize_t n = ::pread(catch_, text, sizeof text, 0);
        if (n <= 0)
            return;
        std::string_view rest(text, static_cast<size_t>(n));
        while (!rest.empty()) {
            const size_t end = std::min(rest.find('\n'), rest.size());
            if (end > 0)
                LTracef("LSRCSndFile decoder: %.*s", static_cast<int>(end), rest.data());
            rest.remove_prefix(std::min(end + 1, rest.size()));
        }
    }

    std::lock_guard<std::mutex> lock_;
    int catch_ = -1;
    int saved_ = -1;
};

void Zero(int32_t* buffer, int64_t frames, int32_t channels) {
    if (frames > 0)
        std::memset(buffer, 0, sizeof(int32_t) * static_cast<size_t>(frames * channels));
}

}  // namespace

LSRCSndFile::LSRCSndFile(const std::string& path) : LSoundSourceBase(44100, 1, kPeak16Bit) {
    SF_INFO info{};
    {
        QuietStderr quiet;
        sf_ = sf_open(path.c_str(), SFM_READ, &info);
    }
    Adopt(info.frames, info.samplerate, info.channels, info.format, path);
}

LSRCSndFile::LSRCSndFile(const std::string& path, int rawFormat, int32_t rate, int32_t nChans)
    : LSoundSourceBase(44100, 1, kPeak16Bit) {
    SF_INFO info{};
    info.format = rawFormat;
    info.samplerate = rate;
    info.channels = nChans;
    {
        QuietStderr quiet;
        sf_ = sf_open(path.c_str(), SFM_READ, &info);
    }
    Adopt(info.frames, info.samplerate, info.channels, info.format, path);
}

LSRCSndFile::LSRCSndFile(LFile file, int64_t dataStart, uint32_t dataSize,
                         std::vector<uint8_t> format)
    : LSoundSourceBase(44100, 1, kPeak16Bit), virtual_(std::make_unique<VirtualWav>()) {
    virtual_->file = std::move(file);
    virtual_->dataStart = dataStart;
    virtual_->dataLength =
        std::clamp<int64_t>(virtual_->file.Size() - dataStart, 0, int64_t{dataSize});
    virtual_->header = MakeHeader(format, virtual_->dataLength);
    SF_INFO info{};
    {
        QuietStderr quiet;
        sf_ = sf_open_virtual(&virtualIo, SFM_READ, &info, virtual_.get());
    }
    Adopt(info.frames, info.samplerate, info.channels, info.format, "WAV data");
}

LSRCSndFile::~LSRCSndFile() {
    if (sf_)
        sf_close(sf_);
}

void LSRCSndFile::Adopt(int64_t frames, int32_t rate, int32_t nChans, int format,
                        const std::string& what) {
    if (!sf_) {
        LTracef("LSRCSndFile::LSRCSndFile unable to decode %s: %s", what.c_str(),
                sf_strerror(nullptr));
        SetError(kSourceCodecFailed);
        return;
    }
    if (nChans < 1 || nChans > 255 || rate < 1) {
        LTracef("LSRCSndFile::LSRCSndFile unsupported format of %s: %d channels, %d Hz",
                what.c_str(), nChans, rate);
        SetError(kSourceBadParams);
        sf_close(sf_);
        sf_ = nullptr;
        return;
    }
    sndFileFormat_ = format;
    SetChannels(static_cast<uint8_t>(nChans));
    SetSampleRate(rate);
    frames_ = std::max<int64_t>(frames, 0);
    length_ = static_cast<int32_t>(std::min<int64_t>(frames_, std::numeric_limits<int32_t>::max()));
}

int32_t LSRCSndFile::GetKeptBytesPerSample() const {
    switch (sndFileFormat_ & SF_FORMAT_SUBMASK) {
        case SF_FORMAT_PCM_S8:
        case SF_FORMAT_PCM_U8:
            return 1;
        case SF_FORMAT_PCM_24:
            return 3;
        case SF_FORMAT_PCM_32:
            return 4;
        default:
            return 2;
    }
}

bool LSRCSndFile::IsPcm() const {
    switch (sndFileFormat_ & SF_FORMAT_SUBMASK) {
        case SF_FORMAT_PCM_S8:
        case SF_FORMAT_PCM_U8:
        case SF_FORMAT_PCM_16:
        case SF_FORMAT_PCM_24:
        case SF_FORMAT_PCM_32:
            return true;
        default:
            return false;
    }
}

bool LSRCSndFile::IsMpeg() const {
    return (sndFileFormat_ & SF_FORMAT_TYPEMASK) == SF_FORMAT_MPEG;
}

void LSRCSndFile::Read(int32_t* buffer, int32_t frames) {
    if (frames <= 0)
        return;
    const int64_t p = position_;
    const int64_t end = p + frames;
    position_ = static_cast<int32_t>(std::min<int64_t>(end, std::numeric_limits<int32_t>::max()));

    // [first, last) is the part of the block that lies inside the stream.
    const int64_t first = std::clamp<int64_t>(0, p, end);
    const int64_t last = std::clamp<int64_t>(length_, first, end);
    Zero(buffer, first - p, channels);
    int32_t* out = buffer + (first - p) * channels;
    int64_t done = 0;
    std::optional<QuietStderr> quiet;
    if (sf_ && first < last && IsMpeg())
        quiet.emplace();  // mpg123 reports damaged frames as it meets them
    while (sf_ && first + done < last) {
        const int64_t want = std::min<int64_t>(last - first - done, kBufferFrames);
        sf_count_t got = 0;
        if (IsPcm()) {
            // PCM comes as 32-bit integers, rounded to the internal form as the 32-bit PCM
            // reader does; the same values the double path gives, at less cost.
            asInt_.resize(static_cast<size_t>(want) * channels);
            got = sf_readf_int(sf_, asInt_.data(), want);
            for (int64_t i = 0; i < got * channels; ++i) {
                out[i] = static_cast<int32_t>(
                    (static_cast<int64_t>(asInt_[static_cast<size_t>(i)]) + 2048) >> 12);
            }
        } else {
            decoded_.resize(static_cast<size_t>(want) * channels);
            got = sf_readf_double(sf_, decoded_.data(), want);
            // Full scale 1.0 becomes 524288; louder float data saturates there.
            for (int64_t i = 0; i < got * channels; ++i) {
                const double v = decoded_[static_cast<size_t>(i)];
                out[i] = std::isnan(v) ? 0
                                       : static_cast<int32_t>(std::clamp(
                                             std::floor(v * 524288.0 + 0.5), -524288.0, 524288.0));
            }
        }
        if (got <= 0)
            break;
        out += got * channels;
        done += got;
        if (got < want)
            break;
    }
    Zero(out, end - first - done, channels);
}

void LSRCSndFile::Seek(int32_t position) {
    position_ = position;
    if (!sf_)
        return;
    const sf_count_t frame = std::clamp<int32_t>(position, 0, length_);
    std::optional<QuietStderr> quiet;
    if (IsMpeg())
        quiet.emplace();
    if (sf_seek(sf_, frame, SEEK_SET) < 0) {
        LTracef("LSRCSndFile::Seek unable to seek to frame %d", static_cast<int>(frame));
    }
}

}  // namespace osmera
