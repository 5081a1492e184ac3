// Encoding the audio a send carries into a temporary file that never outlives the send.
#include "devices/send_attachment.h"

#include <stdlib.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <system_error>
#include <vector>

#include "core/trace.h"
#include "devices/mime_message.h"
#include "formats/audio_file_writer.h"

namespace osmera {

LSendAttachment::~LSendAttachment() {
    Remove();
}

void LSendAttachment::Remove() {
    std::error_code ignored;
    if (!folder_.empty())
        std::filesystem::remove_all(folder_, ignored);
    folder_.clear();
    path_.clear();
    size_ = 0;
}

int LSendAttachment::Encode(LSourceRef source, const std::string& baseName,
                            const LWriteOptions& options, LProgress* progress,
                            std::string* message) {
    Remove();
    const LWriteFormat* format = FindWriteFormat(options.format.empty() ? "wav" : options.format);
    if (format == nullptr) {
        if (message)
            *message = "\"" + options.format + "\" is not a format this program writes (" +
                       WriteFormatNames() + ")";
        return kJobFailed;
    }
    std::error_code error;
    std::string temp = std::filesystem::temp_directory_path(error).string();
    if (temp.empty())
        temp = "/tmp";
    std::vector<char> pattern(temp.begin(), temp.end());
    const std::string tail = "/osmera-send-XXXXXX";
    pattern.insert(pattern.end(), tail.begin(), tail.end());
    pattern.push_back(0);
    if (mkdtemp(pattern.data()) == nullptr) {
        if (message)
            *message = "could not make a temporary folder in " + temp;
        return kJobFailed;
    }
    folder_ = pattern.data();
    std::string base = baseName.empty() ? std::string("audio") : baseName;
    for (char& c : base)
        if (c == '/')
            c = '_';
    name_ = base + "." + FormatExtension(*format);
    path_ = folder_ + "/" + name_;
    type_ = ContentTypeForFormat(format->name);

    LSaveRequest request;
    request.options = options;
    request.options.format = format->name;
    request.title = "Encoding";
    std::string why;
    const int result = SaveSourceAs(source, path_, request, progress, &why);
    if (result != kJobDone) {
        LTrace("LSendAttachment::Encode " + why);
        if (message)
            *message = why;
        Remove();
        return result;
    }
    size_ = static_cast<int64_t>(std::filesystem::file_size(path_, error));
    if (error) {
        if (message)
            *message = "the encoded file could not be read back";
        Remove();
        return kJobFailed;
    }
    return kJobDone;
}

std::string FormatExtension(const LWriteFormat& format) {
    const std::string extensions = format.extensions;
    if (extensions.empty())
        return "wav";
    return extensions.substr(0, extensions.find(' '));
}

int64_t EstimateEncodedSize(const LWriteFormat& format, const LWriteOptions& options,
                            int64_t frames, int32_t rate, int32_t channels) {
    if (format.fixedRate > 0) {
        frames = frames * format.fixedRate / (rate > 0 ? rate : format.fixedRate);
        rate = format.fixedRate;
    }
    if (format.fixedChannels > 0)
        channels = format.fixedChannels;
    const double seconds = rate > 0 ? static_cast<double>(frames) / rate : 0;
    const std::string name = format.name;
    double bitsPerSecond;
    if (name == "mp3")
        bitsPerSecond = (options.bitrate > 0 ? options.bitrate : 128) * 1000.0;
    else if (name == "opus")
        bitsPerSecond = (options.bitrate > 0 ? options.bitrate : 64) * 1000.0;
    else if (name == "ogg")
        bitsPerSecond = 80000.0 * channels;
    else if (name == "vox")
        bitsPerSecond = 4.0 * rate;
    else if (name == "gsm")
        bitsPerSecond = 13200.0;
    else if (name == "flac")
        bitsPerSecond = 0.6 * 16 * rate * channels;  // a typical compression ratio
    else if (name == "wav-float" || name == "aifc")
        bitsPerSecond = 32.0 * rate * channels;
    else
        bitsPerSecond =
            (options.bits > 0 ? options.bits : 16) * static_cast<double>(rate) * channels;
    return static_cast<int64_t>(seconds * bitsPerSecond / 8) + 100;
}

std::string SizeText(int64_t bytes) {
    char buffer[32];
    if (bytes < 1024)
        std::snprintf(buffer, sizeof buffer, "%lld bytes", static_cast<long long>(bytes));
    else if (bytes < 1024 * 1024)
        std::snprintf(buffer, sizeof buffer, "%lld KB", static_cast<long long>(bytes / 1024));
    else
        std::snprintf(buffer, sizeof buffer, "%.1f MB", static_cast<double>(bytes) / 1048576.0);
    return buffer;
}

}  // namespace osmera
