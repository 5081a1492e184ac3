#include "cli/format_options.h"

#include <cstdlib>

namespace osmera::cli {

const std::set<std::string>& WriteOptionNames() {
    static const std::set<std::string> kNames = {"format",      "bits",     "quality", "bitrate",
                                                 "compression", "encoding", "endian"};
    return kNames;
}

const std::set<std::string>& OpenOptionNames() {
    static const std::set<std::string> kNames = {"rate", "channels", "encoding", "endian", "pair"};
    return kNames;
}

namespace {

// --encoding and --endian of headerless audio into `raw`; false with `error` set when
// either names nothing known.
bool ParseRawEncoding(LArgs& args, LRawParams& raw, std::string& error) {
    if (auto e = args.Value("encoding")) {
        if (!LRawParams::EncodingFromName(*e, raw.encoding)) {
            error = "--encoding must be s8, u8, s16, s24, s32, float, ulaw or alaw";
            return false;
        }
    }
    if (auto e = args.Value("endian")) {
        if (*e != "little" && *e != "big") {
            error = "--endian must be little or big";
            return false;
        }
        raw.bigEndian = *e == "big";
    }
    return true;
}

}  // namespace

bool ParseWriteOptions(LArgs& args, LWriteOptions& options, std::string& error) {
    if (auto f = args.Value("format")) {
        if (!FindWriteFormat(*f)) {
            error = "unknown --format " + *f + "; the formats are " + WriteFormatNames();
            return false;
        }
        options.format = *f;
    }
    options.bits = static_cast<int32_t>(args.IntValue("bits", 0, 8, 32));
    options.bitrate = static_cast<int32_t>(args.IntValue("bitrate", 0, 6, 512));
    options.compression = static_cast<int32_t>(args.IntValue("compression", -1, 0, 8));
    if (auto q = args.Value("quality")) {
        char* end = nullptr;
        options.quality = std::strtod(q->c_str(), &end);
        if (end == q->c_str() || *end != '\0' || options.quality < 0 || options.quality > 10) {
            error = "--quality must be a number from 0 to 10 (Ogg: 10 best; MP3: 0 best to 9)";
            return false;
        }
    }
    if (!args.Error().empty()) {
        error = args.Error();
        return false;
    }
    if (options.bits % 8 != 0) {
        error = "--bits must be 8, 16, 24 or 32";
        return false;
    }
    if (!ParseRawEncoding(args, options.raw, error))
        return false;
    return true;
}

bool ParseOpenOptions(LArgs& args, LOpenOptions& options, std::string& error) {
    LArgs& a = args;
    options.raw.sampleRate = static_cast<int32_t>(a.IntValue("rate", 8000, 1, 196000));
    options.raw.channels = static_cast<int32_t>(a.IntValue("channels", 1, 1, 255));
    const long pair = a.IntValue("pair", 0, 1, 128);
    if (!a.Error().empty()) {
        error = a.Error();
        return false;
    }
    if (!ParseRawEncoding(args, options.raw, error))
        return false;
    options.multichannel = pair ? LOpenOptions::Channels::kPair : LOpenOptions::Channels::kDownmix;
    options.pair = static_cast<int32_t>(pair ? pair - 1 : 0);
    return true;
}

bool IsHeaderlessInput(const std::string& path) {
    const LReaderKind kind = ReaderForExtension(path);
    return kind == LReaderKind::kRaw || kind == LReaderKind::kVox || kind == LReaderKind::kGsm;
}

}  // namespace osmera::cli
