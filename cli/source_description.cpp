#include "cli/source_description.h"

#include <sndfile.h>

#include <cctype>

#include "formats/opened_file_facts.h"
#include "formats/src_ffmpeg_pipe.h"
#include "formats/src_pcm_file_base.h"
#include "formats/src_snd_file.h"

namespace osmera::cli {
namespace {

struct Encoding {
    int subtype;
    const char* name;
    int32_t bits;
};

constexpr Encoding kEncodings[] = {
    {SF_FORMAT_PCM_S8, "pcm", 8},          {SF_FORMAT_PCM_U8, "pcm", 8},
    {SF_FORMAT_PCM_16, "pcm", 16},         {SF_FORMAT_PCM_24, "pcm", 24},
    {SF_FORMAT_PCM_32, "pcm", 32},         {SF_FORMAT_FLOAT, "float", 32},
    {SF_FORMAT_DOUBLE, "double", 64},      {SF_FORMAT_ULAW, "ulaw", 8},
    {SF_FORMAT_ALAW, "alaw", 8},           {SF_FORMAT_IMA_ADPCM, "ima-adpcm", 0},
    {SF_FORMAT_MS_ADPCM, "ms-adpcm", 0},   {SF_FORMAT_GSM610, "gsm610", 0},
    {SF_FORMAT_VORBIS, "vorbis", 0},       {SF_FORMAT_OPUS, "opus", 0},
    {SF_FORMAT_VOX_ADPCM, "vox-adpcm", 0}, {SF_FORMAT_MPEG_LAYER_III, "mp3", 0},
    {SF_FORMAT_MPEG_LAYER_II, "mp2", 0},   {SF_FORMAT_MPEG_LAYER_I, "mp1", 0},
};

// The container's usual file extension ("wav", "aiff", "flac"...), from libsndfile.
std::string ContainerName(int format) {
    SF_FORMAT_INFO info{};
    info.format = format & SF_FORMAT_TYPEMASK;
    if (sf_command(nullptr, SFC_GET_FORMAT_INFO, &info, sizeof info) != 0 || !info.extension) {
        return "audio";
    }
    // libsndfile calls MPEG files "m1a" and Ogg files "oga".
    if ((format & SF_FORMAT_TYPEMASK) == SF_FORMAT_MPEG)
        return "mp3";
    if ((format & SF_FORMAT_TYPEMASK) == SF_FORMAT_OGG)
        return "ogg";
    std::string name = info.extension;
    for (char& c : name)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return name;
}

}  // namespace

LSourceDescription DescribeSource(LSoundSourceBase& source) {
    // The reader knows which width a conversion keeps (decoded audio carries 16-bit
    // precision; only PCM keeps its own width).
    const int32_t keep = LOpenedFileFacts::Of(source).keptBytesPerSample * 8;
    if (auto* pcm = dynamic_cast<LSRCPCMFileBase*>(&source)) {
        return {"wav-pcm", pcm->GetBytesPerSample() * 8, keep};
    }
    if (auto* piped = dynamic_cast<LSRCFfmpegPipe*>(&source)) {
        return {"ffmpeg-" +
                    (piped->GetCodecName().empty() ? std::string("audio") : piped->GetCodecName()),
                0, keep};
    }
    auto* decoded = dynamic_cast<LSRCSndFile*>(&source);
    if (!decoded)
        return {"decoded", 0, keep};
    const int format = decoded->GetSndFileFormat();
    const int subtype = format & SF_FORMAT_SUBMASK;
    for (const Encoding& e : kEncodings) {
        if (e.subtype == subtype)
            return {ContainerName(format) + "-" + e.name, e.bits, keep};
    }
    return {ContainerName(format), 0, keep};
}

}  // namespace osmera::cli
