#include "edit/document_io.h"

#include "core/pr_source_to_sink.h"
#include "core/safe_replace.h"
#include "core/trace.h"
#include "edit/snk_cut_list_audio.h"
#include "edit/src_cut_list_audio.h"
#include "formats/audio_file_writer.h"
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
                  std::string* message, const std::string& title, LLoadReport* report,
                  const LOpenOptions* given) {
    LOpenOptions options = given ? *given : LOpenOptions{};
    if (options.multichannel == LOpenOptions::Channels::kKeep)
        options.multichannel = LOpenOptions::Channels::kDownmix;
    LOpenReport opened;
    LSourceRef source = OpenAudioSource(path, options, &opened);
    if (!source->IsOk()) {
        Say(message, OpenErrorMessage(*source, path));
        return kJobFailed;
    }
    const LOpenedFileFacts facts = LOpenedFileFacts::Of(*source);
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
        if (!opened.note.empty())
            report->warning += (report->warning.empty() ? "" : "\n") + path + ": " + opened.note;
        report->tags = ReadAudioTags(path);
        report->cues = ReadWaveCues(path);
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
    LWriteOptions options;
    options.bits = bytesPerSample * 8;
    return SaveAudioFile(audio, path, options, nullptr, progress, message, title);
}

int SaveAudioFile(const LCutListAudio& audio, const std::string& path, const LWriteOptions& options,
                  const LAudioTags* tags, LProgress* progress, std::string* message,
                  const std::string& title, const std::vector<LWaveCue>* cues) {
    LSaveRequest request;
    request.cues = cues;
    request.options = options;
    request.tags = tags;
    request.title = title;
    return SaveSourceAs(audio.MakeSource(), path, request, progress, message);
}

}  // namespace osmera
