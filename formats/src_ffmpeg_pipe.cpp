#include "formats/src_ffmpeg_pipe.h"

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <map>
#include <sstream>

#include "core/trace.h"
#include "formats/pcm_sample_convert.h"
#include "formats/src_failed.h"

namespace osmera {
namespace {

// Paths go to ffmpeg as "file:PATH", so a file named like a protocol ("http://...",
// "concat:...") or an option is still read as the local file it is.
constexpr int kProbeTimeoutMs = 30000;
constexpr int kDecodeTimeoutMs = 20000;
constexpr int32_t kBytesPerSample = 4;
// Seeking forward by up to this many seconds reads on instead of restarting the decoder.
constexpr int64_t kReadOnSeconds = 10;

std::map<std::string, std::string> ParseKeyValues(const std::string& text) {
    std::map<std::string, std::string> values;
    std::istringstream lines(text);
    std::string line;
    while (std::getline(lines, line)) {
        const size_t eq = line.find('=');
        // The first value of a key wins: the stream's fields come before the container's.
        if (eq != std::string::npos)
            values.emplace(line.substr(0, eq), line.substr(eq + 1));
    }
    return values;
}

bool ToInt(const std::string& text, int64_t& out) {
    if (text.empty())
        return false;
    char* end = nullptr;
    const long long v = std::strtoll(text.c_str(), &end, 10);
    if (*end != '\0')
        return false;
    out = v;
    return true;
}

// The stream's length in frames at `rate`, from its duration in time-base units, else from
// the container's duration in seconds; -1 when neither is known.
int64_t LengthFrames(const std::map<std::string, std::string>& v, int64_t rate) {
    int64_t ticks = 0;
    const auto tb = v.find("time_base");
    const auto ts = v.find("duration_ts");
    if (tb != v.end() && ts != v.end() && ToInt(ts->second, ticks)) {
        const size_t slash = tb->second.find('/');
        int64_t num = 0;
        int64_t den = 0;
        if (slash != std::string::npos && ToInt(tb->second.substr(0, slash), num) &&
            ToInt(tb->second.substr(slash + 1), den) && den > 0 && num > 0) {
            return static_cast<int64_t>(
                std::llround(static_cast<double>(ticks) * num * rate / static_cast<double>(den)));
        }
    }
    const auto d = v.find("duration");
    if (d != v.end()) {
        char* end = nullptr;
        const double seconds = std::strtod(d->second.c_str(), &end);
        if (end != d->second.c_str() && seconds >= 0)
            return std::llround(seconds * static_cast<double>(rate));
    }
    return -1;
}

}  // namespace

const char* const LSRCFfmpegPipe::kMissingFfmpeg =
    "Decoding this file needs the program ffmpeg, which is not installed. Install the Debian "
    "package \"ffmpeg\" (sudo apt-get install ffmpeg) and open the file again.";

bool LSRCFfmpegPipe::IsInstalled() {
    return !LChildProcess::FindProgram("ffmpeg").empty() &&
           !LChildProcess::FindProgram("ffprobe").empty();
}

LSourceRef LSRCFfmpegPipe::Open(const std::string& path) {
    if (::access(path.c_str(), R_OK) != 0)
        return MakeFailedSource(kSourceNotOpened);
    const std::string ffprobe = LChildProcess::FindProgram("ffprobe");
    if (ffprobe.empty() || LChildProcess::FindProgram("ffmpeg").empty()) {
        LTrace("LSRCFfmpegPipe::Open ffmpeg is not installed");
        return MakeFailedSource(kSourceCodecFailed, kMissingFfmpeg);
    }
    LChildProcess probe;
    if (!probe.Start({ffprobe, "-v", "error", "-select_streams", "a:0", "-show_entries",
                      "stream=codec_name,sample_rate,channels,time_base,duration_ts:format="
                      "duration",
                      "-of", "default=noprint_wrappers=1", "file:" + path}))
        return MakeFailedSource(kSourceCodecFailed, kMissingFfmpeg);
    std::string text;
    if (!probe.ReadAll(text, 1 << 16, kProbeTimeoutMs)) {
        return MakeFailedSource(kSourceBadParams, "ffprobe did not answer in time.");
    }
    const auto values = ParseKeyValues(text);
    int64_t rate = 0;
    int64_t nChans = 0;
    const bool haveRate = values.count("sample_rate") && ToInt(values.at("sample_rate"), rate);
    const bool haveChans = values.count("channels") && ToInt(values.at("channels"), nChans);
    if (!haveRate || !haveChans || rate == 0 || nChans == 0) {
        const std::string said = probe.ErrorText();
        LTracef("LSRCFfmpegPipe::Open no audio stream in %s: %s", path.c_str(), said.c_str());
        return MakeFailedSource(kSourceBadParams,
                                said.empty() ? "ffmpeg finds no audio in it." : "ffmpeg: " + said);
    }
    if (rate < 1 || rate > 1000000 || nChans < 1 || nChans > 255) {
        return MakeFailedSource(kSourceBadParams, "ffmpeg reports " + std::to_string(nChans) +
                                                      " channels at " + std::to_string(rate) +
                                                      " Hz, which this program cannot hold.");
    }
    int64_t frames = LengthFrames(values, rate);
    if (frames < 0) {
        // No stated length (a bare stream): count the frames with one decode.
        LSRCFfmpegPipe counter(path, static_cast<int32_t>(rate), static_cast<uint8_t>(nChans), 0,
                               "");
        frames = 0;
        if (counter.StartAt(0)) {
            std::vector<uint8_t> block(1 << 16);
            int64_t bytes = 0;
            for (int64_t got;
                 (got = counter.decoder_.Read(block.data(), 1 << 16, kDecodeTimeoutMs)) > 0;)
                bytes += got;
            frames = bytes / (kBytesPerSample * nChans);
        }
    }
    const auto codec = values.find("codec_name");
    return LSourceRef(new LSRCFfmpegPipe(path, static_cast<int32_t>(rate),
                                         static_cast<int32_t>(nChans), frames,
                                         codec == values.end() ? "" : codec->second));
}

LSRCFfmpegPipe::LSRCFfmpegPipe(std::string path, int32_t rate, int32_t nChans, int64_t frames,
                               std::string codec)
    : LSoundSourceBase(rate, static_cast<uint8_t>(nChans), kPeak16Bit),
      path_(std::move(path)),
      codec_(std::move(codec)),
      frames_(frames),
      length_(
          static_cast<int32_t>(std::min<int64_t>(frames, std::numeric_limits<int32_t>::max()))) {}

bool LSRCFfmpegPipe::StartAt(int64_t frame) {
    const std::string ffmpeg = LChildProcess::FindProgram("ffmpeg");
    std::vector<std::string> argv = {ffmpeg, "-nostdin", "-hide_banner", "-loglevel", "error"};
    if (frame > 0) {
        char seconds[64];
        std::snprintf(seconds, sizeof seconds, "%.9f",
                      static_cast<double>(frame) / static_cast<double>(sampleRate));
        argv.insert(argv.end(), {"-ss", seconds});
    }
    argv.insert(argv.end(), {"-i", "file:" + path_, "-map", "0:a:0", "-vn", "-f", "s32le",
                             "-acodec", "pcm_s32le", "-ar", std::to_string(sampleRate), "-ac",
                             std::to_string(channels), "pipe:1"});
    started_ = !ffmpeg.empty() && decoder_.Start(argv);
    ended_ = !started_;
    decoderFrame_ = frame;
    if (!started_)
        LTracef("LSRCFfmpegPipe::StartAt unable to start ffmpeg for %s", path_.c_str());
    return started_;
}

void LSRCFfmpegPipe::Decode(int32_t* out, int64_t frames) {
    const int64_t blockAlign = int64_t{kBytesPerSample} * channels;
    while (frames > 0) {
        const int64_t want = std::min<int64_t>(frames, 8192);
        bytes_.resize(static_cast<size_t>(want * blockAlign));
        int64_t have = 0;
        while (!ended_ && have < want * blockAlign) {
            const int64_t got =
                decoder_.Read(bytes_.data() + have, want * blockAlign - have, kDecodeTimeoutMs);
            if (got <= 0) {
                ended_ = true;
                const std::string said = decoder_.ErrorText();
                if (!said.empty())
                    LTracef("LSRCFfmpegPipe::Decode ffmpeg: %s", said.c_str());
                decoder_.Kill();
                break;
            }
            have += got;
        }
        const int64_t whole = have / blockAlign;
        for (int64_t i = 0; i < whole * channels; ++i)
            out[i] = Pcm32ToInternal(bytes_.data() + i * kBytesPerSample);
        std::memset(out + whole * channels, 0,
                    sizeof(int32_t) * static_cast<size_t>((want - whole) * channels));
        decoderFrame_ += whole;
        out += want * channels;
        frames -= want;
    }
}

void LSRCFfmpegPipe::Read(int32_t* buffer, int32_t frames) {
    if (frames <= 0)
        return;
    const int64_t p = position_;
    const int64_t end = p + frames;
    position_ = static_cast<int32_t>(std::min<int64_t>(end, std::numeric_limits<int32_t>::max()));
    const int64_t first = std::clamp<int64_t>(0, p, end);
    const int64_t last = std::clamp<int64_t>(length_, first, end);
    std::memset(buffer, 0, sizeof(int32_t) * static_cast<size_t>((first - p) * channels));
    int32_t* out = buffer + (first - p) * channels;
    if (first < last) {
        const int64_t ahead = first - decoderFrame_;
        if (!started_ || ahead < 0 || ahead > kReadOnSeconds * sampleRate) {
            decoder_.Kill();
            StartAt(first);
        } else if (ahead > 0) {
            std::vector<int32_t> drop(static_cast<size_t>(std::min<int64_t>(ahead, 8192)) *
                                      channels);
            for (int64_t left = ahead; left > 0;) {
                const int64_t n = std::min<int64_t>(left, 8192);
                Decode(drop.data(), n);
                left -= n;
            }
        }
        Decode(out, last - first);
        out += (last - first) * channels;
    }
    std::memset(out, 0,
                sizeof(int32_t) * static_cast<size_t>((end - std::max(last, first)) * channels));
}

void LSRCFfmpegPipe::Seek(int32_t position) {
    // The decoder follows on the next Read: a seek costs nothing until audio is wanted.
    position_ = position;
}

}  // namespace osmera
