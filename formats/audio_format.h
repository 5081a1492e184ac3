#pragma once
// The registry of file formats: which writer a name or an output extension selects, with
// the options a writer takes, and which reader a file's first bytes (then its extension)
// select.
//
// Readers are chosen by content first, so that a FLAC file named "take.mp3" still opens as
// FLAC; the extension decides only when the content says nothing (headerless raw, VOX and
// GSM data, or a file that is damaged at its start). Writers are chosen by an explicit
// format name, else by the output's extension; an unknown extension writes WAV.
//
// Plain tables and values; any thread.

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace osmera {

// Sample encodings of headerless raw files.
enum class LRawEncoding { kPcmS8, kPcmU8, kPcm16, kPcm24, kPcm32, kFloat, kUlaw, kAlaw };

// What a headerless file (raw PCM, VOX, GSM) cannot tell about itself: filled by the
// command line or the editor's raw-open dialog. VOX and GSM use only rate and channels.
struct LRawParams {
    int32_t sampleRate = 8000;
    int32_t channels = 1;
    LRawEncoding encoding = LRawEncoding::kPcm16;
    bool bigEndian = false;

    // The encoding named "s8", "u8", "s16", "s24", "s32", "float", "ulaw" or "alaw";
    // false when the name is none of those.
    static bool EncodingFromName(const std::string& name, LRawEncoding& out);
    // libsndfile's format code of raw data in this encoding and byte order.
    int SndFileFormat() const;
};

// One writable format.
struct LWriteFormat {
    const char* name;        // "flac", "mp3"...: the --format value and the usual extension
    const char* extensions;  // every extension that selects it, space separated
    int sndFileFormat;       // container | default encoding; 0 for the program's own WAV
    bool lossy;
    bool hasWidth;          // takes 8/16/24/32 bits
    int32_t fixedRate;      // the only rate the format holds; 0 for any
    int32_t fixedChannels;  // the only channel count it holds; 0 for any
};

// What a save writes, beside the audio.
struct LWriteOptions {
    std::string format;  // a format name; empty: chosen by the output's extension
    int32_t bits = 0;    // 8, 16, 24 or 32 for formats with a width; 0 keeps the default
    // Ogg Vorbis quality 0..10 (default 5); MP3 VBR quality 0 (best)..9, used when no
    // bit rate is given. Negative: the default.
    double quality = -1;
    int32_t bitrate = 0;       // kbit/s for MP3 (constant rate) and Opus; 0: the default
    int32_t compression = -1;  // FLAC compression level 0..8; negative: 5
    LRawParams raw;            // raw output only (rate and channels come from the audio)
};

// Every writable format, WAV first.
const std::vector<LWriteFormat>& WriteFormats();
// The format called `name` (case-insensitive); null when there is none.
const LWriteFormat* FindWriteFormat(const std::string& name);
// The format `path`'s extension selects; WAV for an unknown or missing extension.
const LWriteFormat& WriteFormatForPath(const std::string& path);
// The format a save of `path` with `options` writes: options.format when given (null when
// that name is unknown), else by extension.
const LWriteFormat* ChooseWriteFormat(const std::string& path, const LWriteOptions& options);
// The names of every writable format, comma separated, for messages and help.
std::string WriteFormatNames();

// The readers a file can go to.
enum class LReaderKind {
    kUnknown,  // nothing recognised
    kWav,      // RIFF WAVE: the program's own reader
    kSndFile,  // a container libsndfile reads
    kFfmpeg,   // a format only ffmpeg decodes
    kRaw,      // headerless PCM: needs LRawParams
    kVox,      // headerless Dialogic ADPCM
    kGsm,      // headerless GSM 6.10
};

// The reader the first `size` bytes of a file select (64 bytes suffice); kUnknown when
// they match no known signature.
LReaderKind SniffContent(const uint8_t* head, size_t size);
// The reader `path`'s extension selects; kUnknown for an extension no reader claims.
LReaderKind ReaderForExtension(const std::string& path);
// The lower-case extension of `path` without its dot; "" when it has none.
std::string LowerExtension(const std::string& path);

}  // namespace osmera
