#include "devices/cd_burner.h"

#include <libburn/libburn.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <mutex>

#include "core/safe_replace.h"
#include "core/trace.h"
#include "devices/cd_disc.h"
#include "formats/audio_file_writer.h"
#include "formats/open_audio_source.h"
#include "formats/open_error_message.h"

namespace osmera {

namespace {

namespace fs = std::filesystem;

struct Prepared {
    std::string raw;
    int32_t sectors = 0;
};

// A folder of its own for the prepared tracks, removed with them.
class WorkFolder {
  public:
    explicit WorkFolder(const std::string& parent) {
        std::error_code ec;
        const fs::path base = parent.empty() ? fs::temp_directory_path(ec) : fs::path(parent);
        for (int i = 0; i < 1000 && path_.empty(); ++i) {
            const fs::path p =
                base / ("osmera-cd-" + std::to_string(getpid()) + "-" + std::to_string(i));
            if (fs::create_directory(p, ec))
                path_ = p.string();
        }
    }
    ~WorkFolder() {
        std::error_code ec;
        if (!path_.empty())
            fs::remove_all(path_, ec);
    }
    const std::string& Path() const { return path_; }

  private:
    std::string path_;
};

int PrepareTracks(const LCdBurnRequest& request, const std::string& folder, LProgress* progress,
                  LCdBurnReport& report, std::vector<Prepared>& out, std::string& message) {
    for (size_t i = 0; i < request.tracks.size(); ++i) {
        const LCdBurnItem& item = request.tracks[i];
        LSourceRef source = item.source ? item.source : OpenAudioSource(item.path);
        const std::string name = fs::path(item.path).filename().string();
        if (!source->IsOk()) {
            message = OpenErrorMessage(*source, item.path);
            return kJobFailed;
        }
        if (source->GetSampleRate() != 44100 || source->GetChannels() != 2)
            report.notices.push_back("Track " + std::to_string(i + 1) + " (" + name +
                                     ") was converted from " +
                                     std::to_string(source->GetSampleRate()) + " Hz " +
                                     (source->GetChannels() == 1 ? "mono" : "stereo") +
                                     " to 44100 Hz stereo 16-bit for the CD.");
        source->Seek(0);
        LSaveRequest save;
        save.options.format = "raw";
        save.options.raw.encoding = LRawEncoding::kPcm16;
        save.options.raw.bigEndian = false;
        save.sampleRate = 44100;
        save.channels = 2;
        save.title = "Preparing track " + std::to_string(i + 1);
        Prepared p;
        p.raw = (fs::path(folder) / ("track" + std::to_string(i + 1) + ".raw")).string();
        const int job = SaveSourceAs(source, p.raw, save, progress, &message);
        if (job != kJobDone)
            return job;
        std::error_code ec;
        const auto bytes = static_cast<int64_t>(fs::file_size(p.raw, ec));
        p.sectors = static_cast<int32_t>((bytes + kCdSectorBytes - 1) / kCdSectorBytes);
        if (p.sectors < 300)
            report.notices.push_back("Track " + std::to_string(i + 1) + " (" + name +
                                     ") is shorter than the four seconds a CD track needs; "
                                     "it is filled up with silence.");
        p.sectors = std::max(p.sectors, 300);
        report.trackSectors.push_back(p.sectors);
        out.push_back(p);
    }
    return kJobDone;
}

// Appends `raw` to `bin`, then silence up to `sectors` whole sectors.
bool AppendPadded(std::ofstream& bin, const std::string& raw, int32_t sectors) {
    std::ifstream in(raw, std::ios::binary);
    std::vector<char> buf(1 << 16);
    int64_t written = 0;
    while (in) {
        in.read(buf.data(), static_cast<std::streamsize>(buf.size()));
        bin.write(buf.data(), in.gcount());
        written += in.gcount();
    }
    const std::vector<char> zeros(kCdSectorBytes, 0);
    for (int64_t left = int64_t{sectors} * kCdSectorBytes - written; left > 0;
         left -= kCdSectorBytes)
        bin.write(zeros.data(), std::min<int64_t>(left, kCdSectorBytes));
    return static_cast<bool>(bin);
}

std::string Msf(int32_t sectors) {
    char buf[16];
    std::snprintf(buf, sizeof buf, "%02d:%02d:%02d", sectors / 75 / 60, sectors / 75 % 60,
                  sectors % 75);
    return buf;
}

std::string CueText(const std::string& s) {
    std::string out;
    for (char c : s)
        out += c == '"' ? '\'' : c;
    return out;
}

int WriteCueImage(const LCdBurnRequest& request, const std::vector<Prepared>& tracks,
                  LProgress* progress, std::string& message) {
    const fs::path cuePath(request.device);
    const fs::path binPath = fs::path(request.device).replace_extension(".bin");
    progress->SetLine(0, "Writing disc image");
    std::string cue;
    if (!request.discPerformer.empty())
        cue += "PERFORMER \"" + CueText(request.discPerformer) + "\"\n";
    if (!request.discTitle.empty())
        cue += "TITLE \"" + CueText(request.discTitle) + "\"\n";
    cue += "FILE \"" + binPath.filename().string() + "\" BINARY\n";
    LSafeReplace bin(binPath.string());
    std::ofstream out(bin.TempPath(), std::ios::binary);
    int32_t at = 0;
    for (size_t i = 0; i < tracks.size(); ++i) {
        if (progress->IsCancelled())
            return kJobCancelled;
        const LCdBurnItem& item = request.tracks[i];
        char line[64];
        std::snprintf(line, sizeof line, "  TRACK %02d AUDIO\n", static_cast<int>(i + 1));
        cue += line;
        if (!item.title.empty())
            cue += "    TITLE \"" + CueText(item.title) + "\"\n";
        if (!item.performer.empty())
            cue += "    PERFORMER \"" + CueText(item.performer) + "\"\n";
        // The first track's two seconds lie before the image's data; later gaps are
        // silence in the data, as index 0 of their track.
        const int32_t gap = i == 0 ? 0 : std::max(item.gapSectors, 0);
        if (gap > 0) {
            cue += "    INDEX 00 " + Msf(at) + "\n";
            AppendPadded(out, "/dev/null", gap);
            at += gap;
        }
        cue += "    INDEX 01 " + Msf(at) + "\n";
        AppendPadded(out, tracks[i].raw, tracks[i].sectors);
        at += tracks[i].sectors;
        progress->SetFraction(static_cast<double>(i + 1) / static_cast<double>(tracks.size()));
    }
    out.close();
    if (!out || bin.Failed()) {
        message = "\"" + binPath.string() + "\" could not be written (is the disk full?).";
        return kJobFailed;
    }
    LSafeReplace cueFile(cuePath.string());
    std::ofstream(cueFile.TempPath()) << cue;
    if (!bin.Commit() || !cueFile.Commit()) {
        message = "\"" + cuePath.string() + "\" could not be written.";
        return kJobFailed;
    }
    return kJobDone;
}

bool InitBurn() {
    static std::once_flag once;
    static bool ok = false;
    std::call_once(once, [] {
        ok = burn::burn_initialize() != 0;
        if (ok)
            burn::burn_msgs_set_severities(const_cast<char*>("ALL"), const_cast<char*>("NEVER"),
                                           const_cast<char*>("osmera"));
    });
    return ok;
}

void SetCdText(burn::burn_track* t, const char* kind, const std::string& text) {
    if (text.empty())
        return;
    std::vector<unsigned char> payload(text.begin(), text.end());
    payload.push_back(0);
    burn::burn_track_set_cdtext(t, 0, 0, const_cast<char*>(kind), payload.data(),
                                static_cast<int>(payload.size()), 0);
}

void SetDiscCdText(burn::burn_session* s, const char* kind, const std::string& text) {
    if (text.empty())
        return;
    std::vector<unsigned char> payload(text.begin(), text.end());
    payload.push_back(0);
    burn::burn_session_set_cdtext(s, 0, 0, const_cast<char*>(kind), payload.data(),
                                  static_cast<int>(payload.size()), 0);
}

int BurnWithLibburn(const LCdBurnRequest& request, const std::vector<Prepared>& tracks,
                    LProgress* progress, std::string& message) {
    using namespace burn;
    if (!InitBurn()) {
        message = "The CD writing library could not be started.";
        return kJobFailed;
    }
    burn_drive_info* info = nullptr;
    std::string address = request.device;
    if (burn_drive_scan_and_grab(&info, address.data(), 1) <= 0 || info == nullptr) {
        message = "The CD writer \"" + request.device + "\" cannot be opened (is it in use?).";
        return kJobFailed;
    }
    burn_drive* drive = info[0].drive;
    int result = kJobFailed;
    burn_disc* disc = burn_disc_create();
    burn_session* session = burn_session_create();
    burn_disc_add_session(disc, session, BURN_POS_END);
    SetDiscCdText(session, "TITLE", request.discTitle);
    SetDiscCdText(session, "PERFORMER", request.discPerformer);
    std::vector<burn_source*> sources;
    for (size_t i = 0; i < tracks.size(); ++i) {
        burn_track* t = burn_track_create();
        burn_track_define_data(t, 0, 0, 1, BURN_AUDIO);
        if (i > 0)
            burn_track_set_pregap_size(t, std::max(request.tracks[i].gapSectors, 0), 0);
        SetCdText(t, "TITLE", request.tracks[i].title);
        SetCdText(t, "PERFORMER", request.tracks[i].performer);
        burn_source* src = burn_file_source_new(tracks[i].raw.c_str(), nullptr);
        sources.push_back(src);
        burn_track_set_source(t, src);
        burn_track_set_default_size(t, static_cast<off_t>(tracks[i].sectors) * kCdSectorBytes);
        burn_session_add_track(session, t, BURN_POS_END);
        burn_track_free(t);
    }
    burn_write_opts* opts = burn_write_opts_new(drive);
    burn_write_opts_set_simulate(opts, request.simulate ? 1 : 0);
    burn_drive_set_speed(drive, 0, request.speedKb);
    char reasons[BURN_REASONS_LEN] = {};
    const burn_disc_status status = burn_disc_get_status(drive);
    if (status != BURN_DISC_BLANK) {
        message = "The disc in \"" + request.device + "\" is not a blank CD-R.";
    } else if (burn_write_opts_auto_write_type(opts, disc, reasons, 0) == BURN_WRITE_NONE) {
        std::string why = reasons;
        while (!why.empty() && (why.back() == ' ' || why.back() == ','))
            why.pop_back();
        message = "\"" + request.device + "\" cannot write this audio CD (" + why + ").";
    } else {
        progress->SetLine(0, request.simulate ? "Simulating the CD burn" : "Burning the CD");
        burn_disc_write(opts, disc);
        burn_progress p{};
        bool cancelled = false;
        while (burn_drive_get_status(drive, &p) != BURN_DRIVE_IDLE) {
            if (!cancelled && progress->IsCancelled()) {
                burn_drive_cancel(drive);
                cancelled = true;
            }
            if (p.sectors > 0)
                progress->SetFraction(static_cast<double>(p.sector) / p.sectors);
            usleep(100000);
        }
        if (cancelled)
            result = kJobCancelled;
        else if (burn_drive_wrote_well(drive))
            result = kJobDone;
        else
            message = "The CD could not be written; the disc may be unusable.";
    }
    burn_write_opts_free(opts);
    for (burn_source* s : sources)
        burn_source_free(s);
    burn_disc_free(disc);
    burn_session_free(session);
    burn_drive_release(drive, request.eject && result == kJobDone ? 1 : 0);
    burn_drive_info_free(info);
    return result;
}

}  // namespace

int BurnAudioCd(const LCdBurnRequest& request, LProgress* progress, LCdBurnReport& report,
                std::string& message) {
    LNullProgress none;
    if (progress == nullptr)
        progress = &none;
    if (request.tracks.empty()) {
        message = "There are no tracks to burn.";
        return kJobFailed;
    }
    if (request.tracks.size() > 99) {
        message = "An audio CD holds at most 99 tracks.";
        return kJobFailed;
    }
    WorkFolder folder(request.workFolder);
    if (folder.Path().empty()) {
        message = "No temporary folder could be made for the tracks.";
        return kJobFailed;
    }
    std::vector<Prepared> tracks;
    int job = PrepareTracks(request, folder.Path(), progress, report, tracks, message);
    if (job != kJobDone)
        return job;
    int64_t total = 150;
    for (size_t i = 0; i < tracks.size(); ++i)
        total += tracks[i].sectors + (i > 0 ? request.tracks[i].gapSectors : 0);
    if (total > 80 * 60 * 75) {
        message = "The tracks last " + CdSectorsText(static_cast<int32_t>(total)) +
                  ", more than the 80 minutes a CD holds.";
        return kJobFailed;
    }
    if (LowerExtension(request.device) == "cue")
        return WriteCueImage(request, tracks, progress, message);
    return BurnWithLibburn(request, tracks, progress, message);
}

std::vector<std::string> CdBurnDrives() {
    std::vector<std::string> out;
    if (!InitBurn())
        return out;
    burn::burn_drive_info* info = nullptr;
    unsigned int count = 0;
    if (burn::burn_drive_scan(&info, &count) <= 0)
        return out;
    for (unsigned int i = 0; i < count; ++i) {
        char address[BURN_DRIVE_ADR_LEN] = {};
        if (burn::burn_drive_get_adr(&info[i], address) > 0)
            out.emplace_back(address);
    }
    burn::burn_drive_info_free(info);
    return out;
}

}  // namespace osmera
