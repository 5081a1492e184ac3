#include "formats/audio_file_writer.h"

#include <algorithm>

#include "core/pr_source_to_sink.h"
#include "core/safe_replace.h"
#include "core/trace.h"
#include "formats/snk_snd_file.h"
#include "formats/wave_file.h"

namespace osmera {
namespace {

void Say(std::string* message, const std::string& text) {
    if (message)
        *message = text;
}

}  // namespace

int SaveSourceAs(LSourceRef source, const std::string& path, const LSaveRequest& request,
                 LProgress* progress, std::string* message) {
    const LWriteOptions& options = request.options;
    const LWriteFormat* format = ChooseWriteFormat(path, options);
    if (!format) {
        Say(message,
            "unknown format \"" + options.format + "\"; the formats are " + WriteFormatNames());
        return kJobFailed;
    }
    if (!source->IsOk()) {
        Say(message, "nothing to save: the audio could not be read");
        return kJobFailed;
    }
    const std::string name = format->name;
    int32_t rate = request.sampleRate > 0 ? request.sampleRate : source->GetSampleRate();
    uint8_t nChans = request.channels > 0 ? request.channels : source->GetChannels();
    if (format->fixedRate)
        rate = format->fixedRate;
    if (format->fixedChannels)
        nChans = static_cast<uint8_t>(format->fixedChannels);
    int32_t bits = options.bits ? options.bits : 16;
    if (bits != 8 && bits != 16 && bits != 24 && bits != 32) {
        Say(message, "the sample width must be 8, 16, 24 or 32 bits");
        return kJobFailed;
    }
    const bool ownWav = name == "wav";
    if (ownWav) {
        const int64_t frames = int64_t{source->GetLengthSample()} * rate / source->GetSampleRate();
        const std::string tooLarge = LSNKPCMFileBase::CheckSize(path, frames, nChans, bits / 8);
        if (!tooLarge.empty()) {
            LTrace("SaveSourceAs too large for a WAV file");
            Say(message, tooLarge);
            return kJobFailed;
        }
    }

    LSafeReplace replace(path);
    if (replace.Failed()) {
        Say(message, "cannot write " + path + ": " + replace.ErrorText());
        return kJobFailed;
    }
    LRef<LSNKPCMFileBase> wav;
    LRef<LSNKSndFile> coded;
    LSinkRef sink;
    if (ownWav) {
        wav = LWaveFile::CreateSink(replace.TempPath(), rate, 0, bits / 8, nChans);
        sink = wav;
    } else {
        coded = MakeRef<LSNKSndFile>(replace.TempPath(), *format, options, rate, nChans);
        sink = coded;
    }
    if (sink->IsError()) {
        const std::string why = coded ? coded->ErrorText() : std::string();
        Say(message,
            "cannot create " + path +
                (why.empty() ? ": check the folder exists and may be written to" : ": " + why));
        return kJobFailed;
    }
    const int pumped = LPRSourceToSink(source, sink, progress, request.title).Process();
    if (pumped == kJobCancelled) {
        Say(message, "saving " + path + " was cancelled; the file was left as it was");
        return kJobCancelled;
    }
    bool written = pumped == kJobDone;
    if (wav)
        written = wav->Finish() && written && !wav->WriteFailed();
    else
        written = coded->Finish() && written;
    sink.Reset();
    wav.Reset();
    coded.Reset();
    if (written && request.tags && !WriteAudioTags(replace.TempPath(), name, *request.tags)) {
        Say(message, "cannot write the tags of " + path + "; it was left as it was");
        return kJobFailed;
    }
    if (written && name == "wav" && request.cues && !request.cues->empty()) {
        const int32_t sourceRate = std::max(source->GetSampleRate(), 1);
        std::vector<LWaveCue> cues = *request.cues;
        for (LWaveCue& cue : cues) {
            cue.position = static_cast<uint32_t>(uint64_t{cue.position} * rate / sourceRate);
            cue.length = static_cast<uint32_t>(uint64_t{cue.length} * rate / sourceRate);
        }
        if (!AppendWaveCues(replace.TempPath(), cues)) {
            Say(message, "cannot write the markers of " + path + "; it was left as it was");
            return kJobFailed;
        }
    }
    if (!written) {
        LTrace("SaveSourceAs write failed");
        Say(message, "cannot write " + path + " (is the disk full?); it was left as it was");
        return kJobFailed;
    }
    if (!replace.Commit()) {
        Say(message,
            "cannot replace " + path + ": " + replace.ErrorText() + " It was left as it was.");
        return kJobFailed;
    }
    return kJobDone;
}

}  // namespace osmera
