#pragma once
// Ripping tracks of an LCdDisc: each track through LSRCCdTrack into a file of any writable
// format (formats/audio_file_writer.h: written to a temporary and moved into place only
// when whole), with the track's read report.
//
// Runs on the calling thread; `progress` (may be null) sees the track's title and
// fraction and may cancel, which leaves no file behind.

#include <string>

#include "core/progress.h"
#include "devices/cd_disc.h"
#include "devices/cd_track_source.h"
#include "formats/audio_file_writer.h"

namespace osmera {

struct LCdRipResult {
    int job = kJobFailed;  // kJobDone, kJobCancelled or kJobFailed
    LCdReadReport report;
    std::string message;  // on failure, a sentence for the user
};

// Rips track `track` of `disc` into `path` with `request` (format, tags...).
LCdRipResult RipCdTrack(const LCdDisc& disc, int track, LCdRipMode mode, const std::string& path,
                        const LSaveRequest& request, LProgress* progress);

// A file name for a track: "NN Title" with characters that cannot stand in a file name
// replaced, or "Track NN" when the title is empty.
std::string CdTrackFileName(int track, const std::string& title);

}  // namespace osmera
