#pragma once
// Saving a source as a file of any writable format: the one job behind the editor's save,
// the `save` script command and `osmera-cli convert`.
//
// The writer is chosen by options.format, else by the output's extension
// (formats/audio_format.h). Everything is written to a temporary beside `path`
// (core/safe_replace.h), tagged (and given its cue points) there, and moved over `path` only when
// every frame, the encoder's end and the tags were written; a failure, a full disk or a cancel
// leave `path` as it was. Formats of a fixed rate or channel count (Opus at 48000 Hz, VOX and GSM
// at 8000 Hz mono) get the source converted by the engine's own rate and channel converters,
// through the pump.
//
// Runs on the calling thread and honours `progress` (may be null) between blocks. Returns
// kJobDone, kJobCancelled or kJobFailed (core/progress.h); on anything but kJobDone
// `message` (when given) says what went wrong in a sentence for the user.

#include <cstdint>
#include <string>
#include <vector>

#include "core/progress.h"
#include "core/sound_source_base.h"
#include "formats/audio_format.h"
#include "formats/audio_tags.h"
#include "formats/wave_cues.h"

namespace osmera {

struct LSaveRequest {
    LWriteOptions options;
    int32_t sampleRate = 0;            // 0: the source's
    uint8_t channels = 0;              // 0: the source's
    const LAudioTags* tags = nullptr;  // written when the format carries tags
    // Markers written as cue points when the format is WAV, in frames of the source (scaled
    // when the file's rate differs); may be null.
    const std::vector<LWaveCue>* cues = nullptr;
    std::string title = "Saving";  // line 0 of the progress
};

int SaveSourceAs(LSourceRef source, const std::string& path, const LSaveRequest& request,
                 LProgress* progress, std::string* message = nullptr);

}  // namespace osmera
