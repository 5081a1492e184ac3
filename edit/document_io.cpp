#include "edit/document_io.h"

#include "core/pr_source_to_sink.h"
#include "core/safe_replace.h"
#include "core/trace.h"
#include "edit/snk_cut_list_audio.h"
#include "edit/src_cut_list_audio.h"
#include "formats/open_audio_source.h"
#include "formats/open_error_message.h"
#include "formats/opened_file_facts.h"
#include "formats/wave_file.h"

namespace osmera {
namespace {

void Say(std::string* message, const std::string& text) {
    if (message)
        *message = text;
}

}  // namespace

int LoadAudioFile(const std::string& path, LCutListAudio& target, LProgress* progress,
                  std::string* message, const std::string& title, LLoadReport* report) {
    LSourceRef source = OpenAudioSource(path);
    if (!source->IsOk()) {
        Say(message, OpenErrorMessage(source->GetError(), path));
        return kJobFailed;
    }
    const LOpenedFileFacts facts = LOpenedFileFacts::Of(*source);
    if (facts.HasTooManyChannels()) {
        LTrace("LoadAudioFile more than 2 channels");
        Say(message, facts.ChannelsRefusal(path));
        return kJobFailed;
    }
    LCutListAudio loaded;
    auto sink = loaded.MakeSink(source->GetSampleRate(), source->GetChannels());
    const int pumped = LPRSourceToSink(source, sink, progress, title).Process();
    const bool written = !sink->IsError();
    sink.Reset();  // `loaded` now holds the new cut
    if (pumped == kJobCancelled) {
        Say(message, "opening " + path + " was cancelled");
        return kJobCancelled;
    }
    if (pumped != kJobDone || !written) {
        LTrace("LoadAudioFile pump or cut write failed");
        Say(message, "cannot read " + path + " into the working folder (is the disk full?)");
        return kJobFailed;
    }
    target = std::move(loaded);
    if (report) {
        report->bytesPerSample = facts.keptBytesPerSample;
        report->warning.clear();
        for (const std::string& line : facts.Warnings(path))
            report->warning += (report->warning.empty() ? "" : "\n") + line;
    }
    return kJobDone;
}

int SaveAudioFile(const LCutListAudio& audio, const std::string& path, int32_t bytesPerSample,
                  LProgress* progress, std::string* message, const std::string& title) {
    if (bytesPerSample < 1 || bytesPerSample > 4) {
        LTrace("SaveAudioFile bytesPerSample out of range");
        Say(message, "the sample width must be 8, 16, 24 or 32 bits");
        return kJobFailed;
    }
    const std::string tooLarge =
        LSNKPCMFileBase::CheckSize(path, audio.GetLength(), audio.GetChannels(), bytesPerSample);
    if (!tooLarge.empty()) {
        LTrace("SaveAudioFile too large for a WAV file");
        Say(message, tooLarge);
        return kJobFailed;
    }
    LSafeReplace replace(path);
    auto sink =
        LWaveFile::CreateSink(replace.TempPath(), static_cast<int32_t>(audio.GetSampleRate()), 0,
                              bytesPerSample, audio.GetChannels());
    if (sink->IsError()) {
        Say(message, "cannot create " + path + ": check the folder exists and may be written to");
        return kJobFailed;
    }
    const int pumped = LPRSourceToSink(audio.MakeSource(), sink, progress, title).Process();
    if (pumped == kJobCancelled) {
        Say(message, "saving " + path + " was cancelled; the file was left as it was");
        return kJobCancelled;
    }
    const bool written = pumped == kJobDone && sink->Finish() && !sink->WriteFailed();
    sink.Reset();
    if (!written || !replace.Commit()) {
        LTrace("SaveAudioFile write failed");
        Say(message, "cannot write " + path + " (is the disk full?); it was left as it was");
        return kJobFailed;
    }
    return kJobDone;
}

}  // namespace osmera
