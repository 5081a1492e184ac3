#include "devices/cd_track_source.h"

#include <cdio/cdio.h>
#include <cdio/paranoia/cdda.h>
#include <cdio/paranoia/paranoia.h>

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "core/trace.h"

namespace osmera {

namespace {

// paranoia's callback carries no user data: the report of the read in progress on this
// thread takes its counts.
thread_local LCdReadReport* tCurrentReport = nullptr;

void ParanoiaCallback(long, paranoia_cb_mode_t mode) {
    LCdReadReport* r = tCurrentReport;
    if (r == nullptr)
        return;
    switch (mode) {
        case PARANOIA_CB_VERIFY:
            ++r->verified;
            break;
        case PARANOIA_CB_FIXUP_EDGE:
        case PARANOIA_CB_FIXUP_ATOM:
            ++r->jitterFixed;
            break;
        case PARANOIA_CB_FIXUP_DROPPED:
        case PARANOIA_CB_FIXUP_DUPED:
            ++r->bytesFixed;
            break;
        case PARANOIA_CB_DRIFT:
            ++r->drift;
            break;
        case PARANOIA_CB_SKIP:
            ++r->skipped;
            break;
        case PARANOIA_CB_READERR:
            ++r->readErrors;
            break;
        default:
            break;
    }
}

}  // namespace

std::string LCdReadReport::Summary() const {
    char buf[320];
    int n = std::snprintf(buf, sizeof buf, "Track %d: %d sectors", track, sectors);
    if (Clean() && jitterFixed == 0 && bytesFixed == 0 && drift == 0) {
        std::snprintf(buf + n, sizeof buf - n, ", no errors.");
        return buf;
    }
    std::string s(buf);
    if (jitterFixed + bytesFixed + drift > 0) {
        std::snprintf(buf, sizeof buf, ", %d jitter and %d byte errors corrected, %d drifts",
                      jitterFixed, bytesFixed, drift);
        s += buf;
    }
    if (readErrors > 0 || skipped > 0) {
        std::snprintf(buf, sizeof buf, ", %d read errors, %d sectors given up after retries",
                      readErrors, skipped);
        s += buf;
    }
    if (silencedSectors > 0) {
        std::snprintf(buf, sizeof buf, ", %d unreadable sectors replaced by silence",
                      silencedSectors);
        s += buf;
    }
    return s + ".";
}

LSRCCdTrack::LSRCCdTrack(const LCdDisc& disc, int track, LCdRipMode mode)
    : LSoundSourceBase(44100, 2, kPeak16Bit) {
    report_.track = track;
    const LCdTrack* t = disc.IsOpen() ? disc.Toc().Track(track) : nullptr;
    if (t == nullptr || !t->audio) {
        LTracef("LSRCCdTrack::LSRCCdTrack no audio track %d", track);
        SetError(kSourceNotOpened);
        return;
    }
    firstSector_ = t->startSector;
    leadOut_ = disc.Toc().leadOutSector;
    report_.sectors = t->sectors;
    length_ = t->sectors * kCdSectorFrames;
    char* messages = nullptr;
    drive_ = cdio_cddap_identify_cdio(disc.Handle(), CDDA_MESSAGE_LOGIT, &messages);
    if (messages != nullptr) {
        LTracef("LSRCCdTrack identify: %s", messages);
        cdio_cddap_free_messages(messages);
    }
    if (drive_ == nullptr || cdio_cddap_open(drive_) != 0) {
        LTrace("LSRCCdTrack::LSRCCdTrack paranoia cannot open the disc");
        SetError(kSourceBadParams);
        return;
    }
    cdio_cddap_verbose_set(drive_, CDDA_MESSAGE_LOGIT, CDDA_MESSAGE_LOGIT);
    // Paranoia guesses a drive's byte order from the audio it reads, which fails on noise
    // and silence; image files hold CD audio as it is defined, little-endian.
    const driver_id_t driver = cdio_get_driver_id(disc.Handle());
    if (driver == DRIVER_BINCUE || driver == DRIVER_CDRDAO || driver == DRIVER_NRG)
        drive_->bigendianp = 0;
    paranoia_ = cdio_paranoia_init(drive_);
    if (paranoia_ == nullptr) {
        SetError(kSourceBadParams);
        return;
    }
    cdio_paranoia_modeset(paranoia_, mode == LCdRipMode::kFull
                                         ? PARANOIA_MODE_FULL ^ PARANOIA_MODE_NEVERSKIP
                                         : PARANOIA_MODE_DISABLE);
    cdio_paranoia_set_range(paranoia_, firstSector_,
                            std::min(firstSector_ + std::max(t->sectors, 1), leadOut_) - 1);
    cdio_paranoia_seek(paranoia_, firstSector_, SEEK_SET);
}

LSRCCdTrack::~LSRCCdTrack() {
    if (paranoia_ != nullptr)
        cdio_paranoia_free(paranoia_);
    // The handle belongs to the disc.
    if (drive_ != nullptr)
        cdio_cddap_close_no_free_cdio(drive_);
}

bool LSRCCdTrack::NextSector() {
    ++sectorIndex_;
    if (sectorIndex_ >= report_.sectors) {
        std::memset(sector_, 0, sizeof sector_);
        return false;
    }
    if (firstSector_ + sectorIndex_ >= leadOut_) {
        // Beyond the end of the data (a truncated image, or a table of contents that
        // promises more than the disc holds): the drive has nothing to give.
        std::memset(sector_, 0, sizeof sector_);
        ++report_.sectorsRead;
        ++report_.readErrors;
        ++report_.silencedSectors;
        return true;
    }
    tCurrentReport = &report_;
    const int32_t errorsBefore = report_.readErrors + report_.skipped;
    int16_t* data = cdio_paranoia_read_limited(paranoia_, ParanoiaCallback, kCdRetries);
    tCurrentReport = nullptr;
    ++report_.sectorsRead;
    const bool failed = data == nullptr || report_.readErrors + report_.skipped > errorsBefore;
    if (data == nullptr) {
        std::memset(sector_, 0, sizeof sector_);
        ++report_.silencedSectors;
        // Paranoia lost its place: go on with the sector after the one that failed.
        cdio_paranoia_seek(paranoia_, firstSector_ + sectorIndex_ + 1, SEEK_SET);
    } else {
        std::memcpy(sector_, data, sizeof sector_);
    }
    if (failed)
        LTracef("LSRCCdTrack::NextSector track %d sector %d not read cleanly", report_.track,
                sectorIndex_);
    return true;
}

void LSRCCdTrack::Read(int32_t* buffer, int32_t frames) {
    if (!IsOk()) {
        std::memset(buffer, 0, sizeof(int32_t) * 2 * static_cast<size_t>(std::max(frames, 0)));
        position_ += frames;
        return;
    }
    int32_t done = 0;
    while (done < frames) {
        const int32_t wanted = position_ / kCdSectorFrames;
        if (wanted != sectorIndex_) {
            if (wanted != sectorIndex_ + 1 && wanted < report_.sectors) {
                sectorIndex_ = wanted - 1;
                cdio_paranoia_seek(paranoia_, firstSector_ + wanted, SEEK_SET);
            }
            if (wanted >= report_.sectors) {
                std::memset(buffer + 2 * done, 0, sizeof(int32_t) * 2 * (frames - done));
                position_ += frames - done;
                return;
            }
            NextSector();
        }
        const int32_t offset = position_ % kCdSectorFrames;
        const int32_t n = std::min(frames - done, kCdSectorFrames - offset);
        const int16_t* in = sector_ + 2 * offset;
        int32_t* out = buffer + 2 * done;
        for (int32_t i = 0; i < 2 * n; ++i)
            out[i] = static_cast<int32_t>(in[i]) * 16;
        done += n;
        position_ += n;
    }
}

void LSRCCdTrack::Seek(int32_t position) {
    position_ = std::clamp(position, 0, length_);
}

}  // namespace osmera
