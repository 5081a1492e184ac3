#pragma once
// "Burn Audio CD...": tracks from files or open documents written to a blank CD-R through
// libburn, disc-at-once, with gaps, CD-TEXT, simulation, speed and eject, or to a disc
// image (.cue/.bin) instead of a drive.
//
// Each track is first prepared as raw CD audio (44100 Hz stereo, 16-bit little-endian)
// in a temporary folder through the engine's writer, whose rate and channel converters
// turn other audio into CD audio; every track that needed converting gets a notice.
// libburn's "stdio:" pseudo drives take data only: a job for one is refused with libburn's
// reason, as a DVD or a written CD-R in a real drive is.
//
// Runs on the calling thread; `progress` (may be null) sees each stage and may cancel
// (a drive that is writing is told to stop; what it wrote is lost). Returns kJobDone,
// kJobCancelled or kJobFailed with `message` a sentence for the user.

#include <string>
#include <vector>

#include "core/progress.h"
#include "core/sound_source_base.h"

namespace osmera {

struct LCdBurnItem {
    std::string path;   // a file to burn, or only a name when `source` is set
    LSourceRef source;  // an open document's audio; null: `path` is opened
    std::string title;  // CD-TEXT; empty: none
    std::string performer;
    int32_t gapSectors = 150;  // silence before the track (75 a second); the first has 150
};

struct LCdBurnRequest {
    std::vector<LCdBurnItem> tracks;
    // "/dev/sr0", a libburn address such as "stdio:/path", or a path ending in ".cue",
    // which writes that cue sheet and its .bin beside it.
    std::string device;
    bool simulate = false;
    int32_t speedKb = 0;  // kB/s (176 is 1x); 0: the fastest
    bool eject = true;
    std::string discTitle;
    std::string discPerformer;
    std::string workFolder;  // for the prepared tracks; empty: the system's temporary folder
};

struct LCdBurnReport {
    std::vector<std::string> notices;  // conversions made, one line each
    std::vector<int32_t> trackSectors;
};

int BurnAudioCd(const LCdBurnRequest& request, LProgress* progress, LCdBurnReport& report,
                std::string& message);

// The drives libburn can write to ("/dev/sr0"...); scanning takes a few seconds.
std::vector<std::string> CdBurnDrives();

}  // namespace osmera
