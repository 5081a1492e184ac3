#include "formats/audio_format.h"

#include <sndfile.h>

#include <cctype>
#include <cstring>
#include <sstream>

namespace osmera {
namespace {

std::string Lower(std::string s) {
    for (char& c : s)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return s;
}

bool ListHas(const char* list, const std::string& word) {
    std::istringstream in(list);
    std::string item;
    while (in >> item) {
        if (item == word)
            return true;
    }
    return false;
}

bool At(const uint8_t* head, size_t size, size_t offset, const char* text) {
    const size_t n = std::strlen(text);
    return size >= offset + n && std::memcmp(head + offset, text, n) == 0;
}

// An MPEG audio frame header: 11 sync bits, a version other than "reserved", a layer
// other than 0 (0 is AAC's ADTS), a bit-rate index other than 15 and a rate index other
// than 3.
bool IsMpegFrame(const uint8_t* h) {
    return h[0] == 0xFF && (h[1] & 0xE0) == 0xE0 && (h[1] & 0x18) != 0x08 && (h[1] & 0x06) != 0 &&
           (h[2] & 0xF0) != 0xF0 && (h[2] & 0x0C) != 0x0C;
}

// AAC in ADTS frames: 12 sync bits, layer 0.
bool IsAdtsFrame(const uint8_t* h) {
    return h[0] == 0xFF && (h[1] & 0xF6) == 0xF0;
}

// Extensions of formats only ffmpeg decodes (the open dialog's list and their kin).
constexpr const char* kFfmpegExtensions =
    "wma asf aac m4a m4b mp4 ac3 eac3 ra ram rm rmj dss ds2 dct sri msv dvf act rcd rec shn "
    "ape wv mka webm amr 3gp tta mpc";
constexpr const char* kSndFileExtensions =
    "mp3 mp2 mp1 mpga ogg oga opus flac aif aiff aifc au snd caf w64 rf64 sd2 paf iff svx nist "
    "sph voc xi htk sds avr wve mat4 mat5 pvf";

}  // namespace

bool LRawParams::EncodingFromName(const std::string& name, LRawEncoding& out) {
    static const struct {
        const char* name;
        LRawEncoding encoding;
    } kNames[] = {{"s8", LRawEncoding::kPcmS8},  {"u8", LRawEncoding::kPcmU8},
                  {"s16", LRawEncoding::kPcm16}, {"s24", LRawEncoding::kPcm24},
                  {"s32", LRawEncoding::kPcm32}, {"float", LRawEncoding::kFloat},
                  {"ulaw", LRawEncoding::kUlaw}, {"alaw", LRawEncoding::kAlaw}};
    for (const auto& n : kNames) {
        if (Lower(name) == n.name) {
            out = n.encoding;
            return true;
        }
    }
    return false;
}

int LRawParams::SndFileFormat() const {
    int sub = SF_FORMAT_PCM_16;
    switch (encoding) {
        case LRawEncoding::kPcmS8:
            sub = SF_FORMAT_PCM_S8;
            break;
        case LRawEncoding::kPcmU8:
            sub = SF_FORMAT_PCM_U8;
            break;
        case LRawEncoding::kPcm16:
            sub = SF_FORMAT_PCM_16;
            break;
        case LRawEncoding::kPcm24:
            sub = SF_FORMAT_PCM_24;
            break;
        case LRawEncoding::kPcm32:
            sub = SF_FORMAT_PCM_32;
            break;
        case LRawEncoding::kFloat:
            sub = SF_FORMAT_FLOAT;
            break;
        case LRawEncoding::kUlaw:
            sub = SF_FORMAT_ULAW;
            break;
        case LRawEncoding::kAlaw:
            sub = SF_FORMAT_ALAW;
            break;
    }
    return SF_FORMAT_RAW | sub | (bigEndian ? SF_ENDIAN_BIG : SF_ENDIAN_LITTLE);
}

const std::vector<LWriteFormat>& WriteFormats() {
    static const std::vector<LWriteFormat> kFormats = {
        {"wav", "wav wave", 0, false, true, 0, 0},
        {"wav-float", "", SF_FORMAT_WAV | SF_FORMAT_FLOAT, false, false, 0, 0},
        {"flac", "flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_16, false, true, 0, 0},
        {"ogg", "ogg oga", SF_FORMAT_OGG | SF_FORMAT_VORBIS, true, false, 0, 0},
        {"opus", "opus", SF_FORMAT_OGG | SF_FORMAT_OPUS, true, false, 48000, 0},
        {"mp3", "mp3", SF_FORMAT_MPEG | SF_FORMAT_MPEG_LAYER_III, true, false, 0, 0},
        {"aiff", "aif aiff", SF_FORMAT_AIFF | SF_FORMAT_PCM_16, false, true, 0, 0},
        // AIFF-C holding 32-bit float samples: every internal value kept exactly.
        {"aifc", "aifc", SF_FORMAT_AIFF | SF_FORMAT_FLOAT, false, false, 0, 0},
        {"au", "au snd", SF_FORMAT_AU | SF_FORMAT_PCM_16, false, true, 0, 0},
        {"caf", "caf", SF_FORMAT_CAF | SF_FORMAT_PCM_16, false, true, 0, 0},
        {"w64", "w64", SF_FORMAT_W64 | SF_FORMAT_PCM_16, false, true, 0, 0},
        {"rf64", "rf64", SF_FORMAT_RF64 | SF_FORMAT_PCM_16, false, true, 0, 0},
        {"raw", "raw pcm", SF_FORMAT_RAW | SF_FORMAT_PCM_16, false, false, 0, 0},
        {"vox", "vox", SF_FORMAT_RAW | SF_FORMAT_VOX_ADPCM, true, false, 8000, 1},
        {"gsm", "gsm", SF_FORMAT_RAW | SF_FORMAT_GSM610, true, false, 8000, 1},
    };
    return kFormats;
}

const LWriteFormat* FindWriteFormat(const std::string& name) {
    const std::string lower = Lower(name);
    for (const LWriteFormat& f : WriteFormats()) {
        if (lower == f.name)
            return &f;
    }
    return nullptr;
}

std::string LowerExtension(const std::string& path) {
    const size_t slash = path.find_last_of('/');
    const size_t dot = path.find_last_of('.');
    if (dot == std::string::npos || (slash != std::string::npos && dot < slash))
        return {};
    return Lower(path.substr(dot + 1));
}

const LWriteFormat& WriteFormatForPath(const std::string& path) {
    const std::string ext = LowerExtension(path);
    for (const LWriteFormat& f : WriteFormats()) {
        if (!ext.empty() && ListHas(f.extensions, ext))
            return f;
    }
    return WriteFormats().front();
}

const LWriteFormat* ChooseWriteFormat(const std::string& path, const LWriteOptions& options) {
    if (!options.format.empty())
        return FindWriteFormat(options.format);
    return &WriteFormatForPath(path);
}

std::string WriteFormatNames() {
    std::string names;
    for (const LWriteFormat& f : WriteFormats())
        names += (names.empty() ? "" : ", ") + std::string(f.name);
    return names;
}

LReaderKind SniffContent(const uint8_t* h, size_t size) {
    if (At(h, size, 0, "RIFF") && At(h, size, 8, "WAVE"))
        return LReaderKind::kWav;
    if (At(h, size, 0, "RF64") || At(h, size, 0, "BW64") ||
        At(h, size, 0, "riff\x2E\x91\xCF\x11") ||
        (At(h, size, 0, "FORM") && (At(h, size, 8, "AIFF") || At(h, size, 8, "AIFC"))) ||
        At(h, size, 0, ".snd") || At(h, size, 0, "dns.") || At(h, size, 0, "fLaC") ||
        At(h, size, 0, "caff") || At(h, size, 0, "ID3"))
        return LReaderKind::kSndFile;
    if (At(h, size, 0, "OggS")) {
        // Vorbis, Opus and FLAC in Ogg go to libsndfile; other Ogg codecs (Speex) to ffmpeg.
        for (const char* codec : {"\x01vorbis", "OpusHead",
                                  "\x7F"
                                  "FLAC"}) {
            if (At(h, size, 28, codec))
                return LReaderKind::kSndFile;
        }
        return size >= 36 ? LReaderKind::kFfmpeg : LReaderKind::kSndFile;
    }
    if (size >= 4 && IsMpegFrame(h))
        return LReaderKind::kSndFile;
    if ((size >= 4 && IsAdtsFrame(h)) || At(h, size, 4, "ftyp") || At(h, size, 0, "ADIF") ||
        At(h, size, 0, "\x30\x26\xB2\x75\x8E\x66\xCF\x11") || At(h, size, 0, "\x0B\x77") ||
        At(h, size, 0, ".ra\xFD") || At(h, size, 0, ".RMF") || At(h, size, 0, "ajkg") ||
        At(h, size, 0,
           "\x02"
           "dss") ||
        At(h, size, 0,
           "\x03"
           "ds2") ||
        At(h, size, 0, "MAC ") || At(h, size, 0, "wvpk") || At(h, size, 0, "#!AMR") ||
        At(h, size, 0, "\x1A\x45\xDF\xA3"))
        return LReaderKind::kFfmpeg;
    return LReaderKind::kUnknown;
}

LReaderKind ReaderForExtension(const std::string& path) {
    const std::string ext = LowerExtension(path);
    if (ext.empty())
        return LReaderKind::kUnknown;
    if (ext == "wav" || ext == "wave")
        return LReaderKind::kWav;
    if (ext == "raw" || ext == "pcm")
        return LReaderKind::kRaw;
    if (ext == "vox")
        return LReaderKind::kVox;
    if (ext == "gsm")
        return LReaderKind::kGsm;
    if (ListHas(kSndFileExtensions, ext))
        return LReaderKind::kSndFile;
    if (ListHas(kFfmpegExtensions, ext))
        return LReaderKind::kFfmpeg;
    return LReaderKind::kUnknown;
}

}  // namespace osmera
