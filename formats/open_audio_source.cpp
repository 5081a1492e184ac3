#include "formats/open_audio_source.h"

#include <sndfile.h>

#include "core/file.h"
#include "core/trace.h"
#include "formats/src_downmix.h"
#include "formats/src_failed.h"
#include "formats/src_ffmpeg_pipe.h"
#include "formats/src_snd_file.h"
#include "formats/wave_file.h"

namespace osmera {

namespace {

// The reader the file's first bytes select; kUnknown also when it cannot be read (the
// reader chosen by extension then reports that).
LReaderKind Sniff(const std::string& path) {
    LFile file;
    uint8_t head[64];
    if (!file.Open(path, LFile::Mode::kRead))
        return LReaderKind::kUnknown;
    const int64_t got = file.Read(head, sizeof head);
    return got > 0 ? SniffContent(head, static_cast<size_t>(got)) : LReaderKind::kUnknown;
}

// libsndfile first; ffmpeg when libsndfile cannot decode the file. A file neither can read
// is corrupt (3), unless ffmpeg is missing and its reason says what to install.
LSourceRef OpenDecoded(const std::string& path, LReaderKind& used) {
    auto sndFile = MakeRef<LSRCSndFile>(path);
    // libsndfile takes any file named ".au" without a header for raw mu-law; a file whose
    // content no reader recognised is not audio of that kind.
    const bool guessedRaw = (sndFile->GetSndFileFormat() & SF_FORMAT_TYPEMASK) == SF_FORMAT_RAW;
    if (sndFile->IsOk() && !guessedRaw) {
        used = LReaderKind::kSndFile;
        return sndFile;
    }
    if (sndFile->GetError() == kSourceBadParams)
        return sndFile;
    LSourceRef ffmpeg = LSRCFfmpegPipe::Open(path);
    if (ffmpeg->IsOk()) {
        used = LReaderKind::kFfmpeg;
        return ffmpeg;
    }
    LTracef("OpenAudioSource neither WAV nor a format libsndfile reads: %s", path.c_str());
    if (ffmpeg->GetError() == kSourceNotOpened)
        return ffmpeg;
    return MakeFailedSource(kSourceBadParams,
                            FailureReason(*ffmpeg) == LSRCFfmpegPipe::kMissingFfmpeg
                                ? std::string()
                                : FailureReason(*ffmpeg));
}

LSourceRef OpenHeaderless(const std::string& path, LReaderKind kind, const LRawParams& raw) {
    LFile probe;
    if (!probe.Open(path, LFile::Mode::kRead))
        return MakeFailedSource(kSourceNotOpened);
    // Any bytes are valid headerless audio, but no bytes are no audio.
    if (probe.Size() == 0)
        return MakeFailedSource(kSourceBadParams, "The file is empty.");
    probe.Close();
    int format = raw.SndFileFormat();
    if (kind == LReaderKind::kVox)
        format = SF_FORMAT_RAW | SF_FORMAT_VOX_ADPCM;
    if (kind == LReaderKind::kGsm)
        format = SF_FORMAT_RAW | SF_FORMAT_GSM610;
    LSourceRef source = MakeRef<LSRCSndFile>(path, format, raw.sampleRate, raw.channels);
    if (source->IsOk())
        return source;
    return MakeFailedSource(kSourceBadParams, "It cannot be read as headerless audio of " +
                                                  std::to_string(raw.channels) + " channel(s) at " +
                                                  std::to_string(raw.sampleRate) + " Hz.");
}

LSourceRef OpenByKind(const std::string& path, const LOpenOptions& options, LReaderKind& kind) {
    switch (kind) {
        case LReaderKind::kWav:
            return LWaveFile::OpenSource(path);
        case LReaderKind::kRaw:
        case LReaderKind::kVox:
        case LReaderKind::kGsm:
            return OpenHeaderless(path, kind, options.raw);
        case LReaderKind::kFfmpeg: {
            LSourceRef ffmpeg = LSRCFfmpegPipe::Open(path);
            if (ffmpeg->GetError() == kSourceCodecFailed) {
                // Without ffmpeg, libsndfile may still know the file.
                LSourceRef sndFile = MakeRef<LSRCSndFile>(path);
                if (sndFile->IsOk()) {
                    kind = LReaderKind::kSndFile;
                    return sndFile;
                }
            }
            return ffmpeg;
        }
        case LReaderKind::kSndFile:
        case LReaderKind::kUnknown:
            break;
    }
    return OpenDecoded(path, kind);
}

}  // namespace

LSourceRef OpenAudioSource(const std::string& path) {
    return OpenAudioSource(path, LOpenOptions{});
}

LSourceRef OpenAudioSource(const std::string& path, const LOpenOptions& options,
                           LOpenReport* report) {
    LReaderKind kind = Sniff(path);
    if (kind == LReaderKind::kUnknown)
        kind = ReaderForExtension(path);
    // A file that cannot be opened at all is told apart from a corrupt one by the WAV
    // reader's own check.
    LFile probe;
    if (!probe.Open(path, LFile::Mode::kRead))
        kind = LReaderKind::kWav;
    probe.Close();

    LSourceRef source = OpenByKind(path, options, kind);
    if (report) {
        report->reader = kind;
        report->fileChannels = source->GetChannels();
        report->note.clear();
    }
    if (!source->IsOk() || source->GetChannels() <= 2 ||
        options.multichannel == LOpenOptions::Channels::kKeep)
        return source;
    const int32_t pair = options.multichannel == LOpenOptions::Channels::kPair ? options.pair : -1;
    auto downmix = MakeRef<LSRCDownmix>(source, pair);
    if (report)
        report->note = downmix->Description();
    if (!downmix->IsOk())
        return MakeFailedSource(kSourceBadParams, "The channel pair asked for is not there: " +
                                                      downmix->Description() + ".");
    return downmix;
}

}  // namespace osmera
