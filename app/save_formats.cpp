#include "app/save_formats.h"

#include <QFileInfo>
#include <cmath>
#include <cstring>
#include <iterator>
#include <sstream>

namespace osmera {

namespace {

constexpr const char* kSettings = "Settings";

struct LSaveChoice {
    const char* filter;
    const char* format;
    int32_t bits;  // WAV's width; 0 for the others
};

constexpr LSaveChoice kSaveChoices[] = {
    {"WAV 8-bit PCM (*.wav)", "wav", 8},
    {"WAV 16-bit PCM (*.wav)", "wav", 16},
    {"WAV 24-bit PCM (*.wav)", "wav", 24},
    {"WAV 32-bit PCM (*.wav)", "wav", 32},
    {"WAV 32-bit float (*.wav)", "wav-float", 0},
    {"FLAC (*.flac)", "flac", 0},
    {"MP3 (*.mp3)", "mp3", 0},
    {"Ogg Vorbis (*.ogg)", "ogg", 0},
    {"Opus (*.opus)", "opus", 0},
    {"Apple AIFF (*.aif *.aiff)", "aiff", 0},
    {"AIFF-C float (*.aifc)", "aifc", 0},
    {"Sun AU (*.au)", "au", 0},
    {"Core Audio (*.caf)", "caf", 0},
    {"Sony Wave64 (*.w64)", "w64", 0},
    {"RF64, WAV above 4 GB (*.rf64)", "rf64", 0},
    {"Raw Audio (*.raw)", "raw", 0},
    {"Dialogic Vox (*.vox)", "vox", 0},
    {"GSM 6.10 (*.gsm)", "gsm", 0},
};

// The first extension of a format (WAV float is written as .wav).
QString FirstExtension(const LWriteFormat& format) {
    std::istringstream words(format.extensions);
    std::string first;
    words >> first;
    return QString::fromStdString(first.empty() ? "wav" : first);
}

// Each format's own keys, so that an MP3 bit rate does not become an Opus one.
std::string Key(const LWriteFormat& format, const char* what) {
    return std::string("SaveAs.") + format.name + "." + what;
}

}  // namespace

QStringList SaveFileFilters() {
    QStringList filters;
    for (const LSaveChoice& c : kSaveChoices)
        filters << QString::fromLatin1(c.filter);
    return filters;
}

int SaveFilterOf(const char* formatName) {
    for (size_t i = 0; i < std::size(kSaveChoices); ++i)
        if (std::strcmp(kSaveChoices[i].format, formatName) == 0)
            return static_cast<int>(i);
    return -1;
}

bool IsWritableExtension(const std::string& path) {
    const std::string ext = LowerExtension(path);
    if (ext.empty())
        return false;
    for (const LWriteFormat& f : WriteFormats()) {
        std::istringstream words(f.extensions);
        for (std::string w; words >> w;)
            if (w == ext)
                return true;
    }
    return false;
}

const LWriteFormat* ResolveSaveFormat(QString& path, int filter, LWriteOptions& options) {
    if (filter < 0 || filter >= static_cast<int>(std::size(kSaveChoices)))
        return nullptr;
    const LSaveChoice& choice = kSaveChoices[filter];
    const LWriteFormat* format = FindWriteFormat(choice.format);
    if (!format)
        return nullptr;
    if (QFileInfo(path).suffix().isEmpty()) {
        path += QStringLiteral(".") + FirstExtension(*format);
    } else if (IsWritableExtension(path.toStdString())) {
        const LWriteFormat& typed = WriteFormatForPath(path.toStdString());
        // "x.wav" under the float filter stays float; another writable extension wins.
        if (std::strcmp(typed.name, format->name) != 0 &&
            !(std::strcmp(typed.name, "wav") == 0 && std::strcmp(format->name, "wav-float") == 0))
            format = &typed;
    }
    options.format = format->name;
    if (std::strcmp(format->name, choice.format) == 0 && choice.bits > 0)
        options.bits = choice.bits;
    return format;
}

void LoadSaveOptions(LSettingsStore& settings, const LWriteFormat& format, LWriteOptions& options) {
    if (format.hasWidth && std::strcmp(format.name, "wav") != 0)
        options.bits =
            settings.GetInt(kSettings, Key(format, "Bits"), options.bits > 0 ? options.bits : 16);
    options.compression = settings.GetInt(kSettings, Key(format, "Compression"), -1);
    options.bitrate = settings.GetInt(kSettings, Key(format, "Bitrate"), 0);
    // Quality kept in tenths, as the store holds integers.
    const int32_t tenths = settings.GetInt(kSettings, Key(format, "Quality"), -10);
    options.quality = tenths / 10.0;
    const int32_t encoding = settings.GetInt(kSettings, Key(format, "Encoding"),
                                             static_cast<int32_t>(options.raw.encoding));
    if (encoding >= 0 && encoding <= static_cast<int32_t>(LRawEncoding::kAlaw))
        options.raw.encoding = static_cast<LRawEncoding>(encoding);
    options.raw.bigEndian = settings.GetInt(kSettings, Key(format, "BigEndian"), 0) != 0;
}

void StoreSaveOptions(LSettingsStore& settings, const LWriteFormat& format,
                      const LWriteOptions& options) {
    if (format.hasWidth && std::strcmp(format.name, "wav") != 0)
        settings.SetInt(kSettings, Key(format, "Bits"), options.bits);
    settings.SetInt(kSettings, Key(format, "Compression"), options.compression);
    settings.SetInt(kSettings, Key(format, "Bitrate"), options.bitrate);
    settings.SetInt(
        kSettings, Key(format, "Quality"),
        options.quality < 0 ? -10 : static_cast<int32_t>(std::lround(options.quality * 10)));
    settings.SetInt(kSettings, Key(format, "Encoding"), static_cast<int32_t>(options.raw.encoding));
    settings.SetInt(kSettings, Key(format, "BigEndian"), options.raw.bigEndian ? 1 : 0);
}

}  // namespace osmera
