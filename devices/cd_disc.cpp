#include "devices/cd_disc.h"

#include <cdio/cdio.h>
#include <cdio/cdtext.h>
#include <cdio/logging.h>

#include <cstdio>
#include <filesystem>
#include <mutex>

#include "core/trace.h"

namespace osmera {

namespace {

// libcdio prints its warnings on stderr by default; they go to the trace instead, so that
// a damaged image gives the user one clear message rather than a screen of driver words.
void CdioLog(cdio_log_level_t level, const char* message) {
    LTracef("libcdio %d: %s", static_cast<int>(level), message);
}

void QuietLibcdio() {
    static std::once_flag once;
    std::call_once(once, [] { cdio_log_set_handler(CdioLog); });
}

std::string CdText(cdtext_t* text, cdtext_field_t field, track_t track) {
    if (text == nullptr)
        return {};
    const char* s = cdtext_get_const(text, field, track);
    return s != nullptr ? std::string(s) : std::string();
}

}  // namespace

const LCdTrack* LCdToc::Track(int number) const {
    for (const auto& t : tracks)
        if (t.number == number)
            return &t;
    return nullptr;
}

int LCdToc::AudioTracks() const {
    int n = 0;
    for (const auto& t : tracks)
        n += t.audio ? 1 : 0;
    return n;
}

LCdDisc::~LCdDisc() {
    Close();
}

void LCdDisc::Close() {
    if (cdio_ != nullptr)
        cdio_destroy(cdio_);
    cdio_ = nullptr;
    toc_ = LCdToc();
}

bool LCdDisc::Open(const std::string& deviceOrImage) {
    QuietLibcdio();
    Close();
    source_ = deviceOrImage;
    error_.clear();
    std::error_code ec;
    if (!std::filesystem::exists(deviceOrImage, ec)) {
        error_ = "\"" + deviceOrImage + "\" does not exist.";
        return false;
    }
    cdio_ = cdio_open(deviceOrImage.c_str(), DRIVER_UNKNOWN);
    if (cdio_ == nullptr) {
        error_ = "\"" + deviceOrImage +
                 "\" is neither a CD drive with a disc nor a disc image this program reads "
                 "(.cue/.bin, .toc, .nrg).";
        return false;
    }
    const track_t first = cdio_get_first_track_num(cdio_);
    const track_t count = cdio_get_num_tracks(cdio_);
    if (first == CDIO_INVALID_TRACK || count == CDIO_INVALID_TRACK || count == 0) {
        error_ = "The disc in \"" + deviceOrImage + "\" has no tracks.";
        Close();
        return false;
    }
    toc_.firstTrack = first;
    toc_.lastTrack = first + count - 1;
    toc_.leadOutSector = cdio_get_track_lsn(cdio_, CDIO_CDROM_LEADOUT_TRACK);
    cdtext_t* text = cdio_get_cdtext(cdio_);
    toc_.title = CdText(text, CDTEXT_FIELD_TITLE, 0);
    toc_.performer = CdText(text, CDTEXT_FIELD_PERFORMER, 0);
    for (int n = toc_.firstTrack; n <= toc_.lastTrack; ++n) {
        LCdTrack t;
        t.number = n;
        t.startSector = cdio_get_track_lsn(cdio_, static_cast<track_t>(n));
        const lsn_t next = n < toc_.lastTrack
                               ? cdio_get_track_lsn(cdio_, static_cast<track_t>(n + 1))
                               : toc_.leadOutSector;
        t.sectors = next > t.startSector ? next - t.startSector : 0;
        t.audio = cdio_get_track_format(cdio_, static_cast<track_t>(n)) == TRACK_FORMAT_AUDIO;
        t.title = CdText(text, CDTEXT_FIELD_TITLE, static_cast<track_t>(n));
        t.performer = CdText(text, CDTEXT_FIELD_PERFORMER, static_cast<track_t>(n));
        if (t.startSector == CDIO_INVALID_LSN) {
            error_ = "The table of contents of \"" + deviceOrImage + "\" is damaged.";
            Close();
            return false;
        }
        toc_.tracks.push_back(t);
    }
    return true;
}

std::vector<std::string> LCdDisc::Drives() {
    QuietLibcdio();
    std::vector<std::string> out;
    char** list = cdio_get_devices(DRIVER_DEVICE);
    if (list == nullptr)
        return out;
    for (char** p = list; *p != nullptr; ++p)
        out.emplace_back(*p);
    cdio_free_device_list(list);
    return out;
}

std::string CdSectorsText(int32_t sectors) {
    const int32_t seconds = sectors / kCdSectorsPerSecond;
    char buf[32];
    std::snprintf(buf, sizeof buf, "%d:%02d", seconds / 60, seconds % 60);
    return buf;
}

}  // namespace osmera
