#pragma once
// Loading an audio file into a cut list and saving a cut list as an audio file (WAV, or
// the format the path's extension or the options name), the two file jobs of every
// document.
//
// Both run on the calling thread through the pump and honour `progress` (may be null)
// between blocks. Results follow the progress-dialog convention: kJobDone, kJobCancelled,
// kJobFailed; on anything but kJobDone `message` (when given) says what went wrong in a
// sentence for the user, and nothing was changed:
// - a load leaves `target` as it was (the file is read into a list of its own first);
// - a save writes a temporary beside `path` and moves it over `path` only when every frame
//   and the header were written, so a full disk or a cancel never leaves half a file.

#include <cstdint>
#include <string>
#include <vector>

#include "core/progress.h"
#include "edit/cut_list_audio.h"
#include "formats/audio_format.h"
#include "formats/audio_tags.h"
#include "formats/open_audio_source.h"
#include "formats/wave_cues.h"

namespace osmera {

// What a successful load tells beside the audio.
struct LLoadReport {
    // The PCM width (bytes per sample) a save keeps: the file's own for PCM, else 2.
    int32_t bytesPerSample = 2;
    // Sentences, one per line, for a file that did not open whole (frames beyond what a
    // document can count left out, or a file that ends before its header says and whose
    // rest opens as silence), and for a file of more than two channels how it was made
    // stereo; "" when it opened whole.
    std::string warning;
    // The file's tags (empty when it has none).
    LAudioTags tags;
    // The cue points of a WAV file (empty for other files).
    std::vector<LWaveCue> cues;
};

// Reads any audio file this program opens into new cuts; on success `target` holds
// exactly the file's audio at its rate and channel count, and `report` (when given) what
// the user should be told. A file of more than two channels is mixed down to stereo (see
// formats/src_downmix.h), and the report says so.
// `options` (may be null) describes a headerless file (raw, VOX, GSM) and picks one channel
// pair of a multichannel file instead of the downmix.
int LoadAudioFile(const std::string& path, LCutListAudio& target, LProgress* progress,
                  std::string* message = nullptr, const std::string& title = "Opening",
                  LLoadReport* report = nullptr, const LOpenOptions* options = nullptr);

// Writes `audio` at the list's rate and channels in the format the path's extension
// selects (WAV for any other extension) with PCM formats at `bytesPerSample` (1 to 4).
// Audio too large for a WAV header's sizes is refused before anything is written.
int SaveAudioFile(const LCutListAudio& audio, const std::string& path, int32_t bytesPerSample,
                  LProgress* progress, std::string* message = nullptr,
                  const std::string& title = "Saving");
// The same with every writer option (formats/audio_format.h), the tags to write (may be
// null) and the cue points a WAV file gets (may be null).
int SaveAudioFile(const LCutListAudio& audio, const std::string& path, const LWriteOptions& options,
                  const LAudioTags* tags, LProgress* progress, std::string* message = nullptr,
                  const std::string& title = "Saving", const std::vector<LWaveCue>* cues = nullptr);

}  // namespace osmera
