#pragma once
// An audio CD or a disc image opened through libcdio: its table of contents and its
// CD-TEXT. A drive path ("/dev/sr0") opens the drive; a file opens through libcdio's
// image drivers (.cue with its .bin, cdrdao .toc, Nero .nrg), chosen by the file's kind.
//
// Owns the libcdio handle; the track sources of cd_track_source.h borrow it, so the disc
// must outlive them. One thread at a time (libcdio handles are not shared between
// threads).

#include <cstdint>
#include <string>
#include <vector>

typedef struct _CdIo CdIo_t;

namespace osmera {

constexpr int32_t kCdSectorFrames = 588;     // 44.1 kHz stereo frames in one sector
constexpr int32_t kCdSectorBytes = 2352;     // raw audio bytes in one sector
constexpr int32_t kCdSectorsPerSecond = 75;  // sectors of one second
constexpr int32_t kCdPregapSectors = 150;    // the two seconds before sector 0

struct LCdTrack {
    int number = 0;
    int32_t startSector = 0;  // first sector (LSN: 0 is the first sector after the pregap)
    int32_t sectors = 0;      // up to the next track's start (or the lead-out)
    bool audio = true;
    std::string title;      // CD-TEXT, empty when the disc has none
    std::string performer;  // CD-TEXT
};

struct LCdToc {
    int firstTrack = 0;
    int lastTrack = 0;
    int32_t leadOutSector = 0;  // LSN of the lead-out
    std::vector<LCdTrack> tracks;
    std::string title;      // the disc's CD-TEXT title
    std::string performer;  // the disc's CD-TEXT performer

    // The track numbered `number`; null when the disc has none such.
    const LCdTrack* Track(int number) const;
    // The number of audio tracks.
    int AudioTracks() const;
};

class LCdDisc {
  public:
    LCdDisc() = default;
    ~LCdDisc();
    LCdDisc(const LCdDisc&) = delete;
    LCdDisc& operator=(const LCdDisc&) = delete;

    // Opens a drive or a disc image and reads its table of contents. False with a
    // sentence for the user in Error() when it cannot be opened or holds no tracks.
    bool Open(const std::string& deviceOrImage);
    void Close();

    bool IsOpen() const { return cdio_ != nullptr; }
    const LCdToc& Toc() const { return toc_; }
    const std::string& Error() const { return error_; }
    const std::string& Source() const { return source_; }
    CdIo_t* Handle() const { return cdio_; }

    // The CD drives the system has ("/dev/sr0"...), possibly none.
    static std::vector<std::string> Drives();

  private:
    CdIo_t* cdio_ = nullptr;
    LCdToc toc_;
    std::string error_;
    std::string source_;
};

// "m:ss" of a count of sectors.
std::string CdSectorsText(int32_t sectors);

}  // namespace osmera
