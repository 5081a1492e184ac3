#pragma once
// One audio track of an LCdDisc read as a sound source through libcdio-paranoia: 44100 Hz
// stereo, 16-bit values times 16 like every PCM file the program reads. Full correction
// verifies overlapping reads and repairs jitter, dropped and duplicated bytes, retrying a
// bad sector up to kCdRetries times before it gives up on it; fast mode reads each sector
// once. A sector that cannot be read at all becomes silence, so that a scratched disc still
// yields the rest of the track, and the report says how many.
//
// Owns its paranoia reader; borrows the disc's handle, so the disc must outlive the source
// and no other source of the same disc may read at the same time. One thread at a time.

#include <cstdint>
#include <string>

#include "core/sound_source_base.h"
#include "devices/cd_disc.h"

typedef struct cdrom_drive_s cdrom_drive_t;
typedef struct cdrom_paranoia_s cdrom_paranoia_t;

namespace osmera {

enum class LCdRipMode { kFull, kFast };

constexpr int kCdRetries = 20;

// What reading one track met, counted from paranoia's reports.
struct LCdReadReport {
    int track = 0;
    int32_t sectors = 0;          // sectors the track holds
    int32_t sectorsRead = 0;      // sectors delivered so far
    int32_t verified = 0;         // overlap verifications
    int32_t jitterFixed = 0;      // edge and atom jitter repaired
    int32_t bytesFixed = 0;       // dropped and duplicated bytes repaired
    int32_t drift = 0;            // drift corrections
    int32_t skipped = 0;          // retries exhausted, the sector was given up
    int32_t readErrors = 0;       // hard read errors from the drive or image
    int32_t silencedSectors = 0;  // sectors that could not be read and became silence

    // Nothing had to be given up (corrections alone leave the audio exact).
    bool Clean() const { return skipped == 0 && readErrors == 0 && silencedSectors == 0; }
    // One line for the user: "Track 2: 1234 sectors, no errors." or what was done.
    std::string Summary() const;
};

class LSRCCdTrack : public LSoundSourceBase {
  public:
    // Error 4 when the disc is not open or the track is not an audio track of it, error 3
    // when paranoia cannot be started on it.
    LSRCCdTrack(const LCdDisc& disc, int track, LCdRipMode mode);
    ~LSRCCdTrack() override;

    void Read(int32_t* buffer, int32_t frames) override;
    int32_t GetPositionSample() override { return position_; }
    int32_t GetLengthSample() override { return length_; }
    void Seek(int32_t position) override;

    const LCdReadReport& Report() const { return report_; }

  private:
    bool NextSector();

    cdrom_drive_t* drive_ = nullptr;
    cdrom_paranoia_t* paranoia_ = nullptr;
    int32_t firstSector_ = 0;
    int32_t leadOut_ = 0;
    int32_t length_ = 0;
    int32_t position_ = 0;
    int32_t sectorIndex_ = -1;  // sector whose samples are in sector_, relative to the track
    int16_t sector_[kCdSectorFrames * 2] = {};
    LCdReadReport report_;
};

}  // namespace osmera
