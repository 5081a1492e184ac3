// osmera-cli cd-info DEVICE|IMAGE [--lookup [--cddb] [--server URL] [--timeout S]]
// osmera-cli cd-rip DEVICE|IMAGE [--tracks 1,3-5] [--out DIR] [--format NAME] [--fast]
//
// cd-info prints the disc's table of contents, CD-TEXT and disc ids, and with --lookup the
// matches MusicBrainz (or a CDDB server) offers for it; cd-rip rips tracks
// through paranoia (full correction unless --fast) into DIR, one file per track named
// "NN Title.ext" (or "Track NN.ext"), tagged from the CD-TEXT, and prints each track's read
// report. A track that could not be read whole is still written, with silence where the
// disc gave nothing, and makes the exit code 1.

#include <cstdio>
#include <filesystem>

#include "cli/args.h"
#include "cli/commands.h"
#include "cli/format_options.h"
#include "cli/terminal_progress.h"
#include "devices/cd_disc.h"
#include "devices/cd_disc_id.h"
#include "devices/cd_lookup.h"
#include "devices/cd_ripper.h"
#include "edit/audio_cut_tank.h"

namespace osmera::cli {

namespace {

// "1,3-5" into track numbers; false on anything else.
bool ParseTrackList(const std::string& text, std::vector<int>& out) {
    size_t at = 0;
    while (at <= text.size()) {
        const size_t comma = std::min(text.find(',', at), text.size());
        const std::string part = text.substr(at, comma - at);
        const size_t dash = part.find('-');
        int lo = 0, hi = 0;
        char end = 0;
        if (dash == std::string::npos) {
            if (std::sscanf(part.c_str(), "%d%c", &lo, &end) != 1)
                return false;
            hi = lo;
        } else if (std::sscanf(part.c_str(), "%d-%d%c", &lo, &hi, &end) != 2) {
            return false;
        }
        if (lo < 1 || hi < lo || hi > 99)
            return false;
        for (int t = lo; t <= hi; ++t)
            out.push_back(t);
        at = comma + 1;
    }
    return !out.empty();
}

bool OpenDisc(LArgs& args, LCdDisc& disc, const char* command, int& code) {
    if (!args.Error().empty() || args.Positional().size() != 1) {
        PrintError(args.Error().empty() ? std::string(command) +
                                              " needs a CD drive or a disc image (see osmera-cli " +
                                              command + " --help)"
                                        : args.Error());
        code = kExitUsage;
        return false;
    }
    if (!disc.Open(args.Positional()[0])) {
        PrintError(disc.Error());
        code = kExitFailed;
        return false;
    }
    return true;
}

// The lookup settings of the command line: --server, --cddb, --timeout; the cache in the
// user's data folder.
LCdLookupSettings LookupSettings(LArgs& args) {
    LCdLookupSettings s;
    s.cddb = args.Has("cddb");
    s.server = args.Value("server").value_or("");
    s.timeoutMs = static_cast<int32_t>(args.IntValue("timeout", 10, 1, 600)) * 1000;
    const std::string data = UserAppDataFolder();
    if (!data.empty())
        s.cacheFolder = data + "/Quillon/Osmera/CdLookup";
    return s;
}

}  // namespace

int RunCdInfo(int argc, char** argv) {
    LArgs args(argc, argv, {"server", "timeout"}, {"lookup", "cddb"});
    LCdDisc disc;
    int code = kExitOk;
    if (!OpenDisc(args, disc, "cd-info", code))
        return code;
    const LCdToc& toc = disc.Toc();
    const LCdDiscIds ids = ComputeDiscIds(CdOffsets(toc));
    std::printf("disc=%s tracks=%d time=%s musicbrainz=%s cddb=%s",
                QuoteValue(disc.Source()).c_str(), static_cast<int>(toc.tracks.size()),
                CdSectorsText(toc.leadOutSector - toc.tracks.front().startSector).c_str(),
                ids.musicBrainz.c_str(), ids.CddbHex().c_str());
    if (!toc.title.empty())
        std::printf(" title=%s", QuoteValue(toc.title).c_str());
    if (!toc.performer.empty())
        std::printf(" performer=%s", QuoteValue(toc.performer).c_str());
    std::printf("\n");
    for (const LCdTrack& t : toc.tracks) {
        std::printf("track=%d type=%s start=%d sectors=%d time=%s", t.number,
                    t.audio ? "audio" : "data", t.startSector, t.sectors,
                    CdSectorsText(t.sectors).c_str());
        if (!t.title.empty())
            std::printf(" title=%s", QuoteValue(t.title).c_str());
        if (!t.performer.empty())
            std::printf(" performer=%s", QuoteValue(t.performer).c_str());
        std::printf("\n");
    }
    if (!args.Has("lookup"))
        return kExitOk;
    const LCdLookupSettings settings = LookupSettings(args);
    if (!args.Error().empty()) {
        PrintError(args.Error());
        return kExitUsage;
    }
    const LCdLookupResult r = LookupDisc(toc, settings);
    std::printf("lookup=%s message=%s\n",
                r.status == LCdLookupStatus::kFound      ? "found"
                : r.status == LCdLookupStatus::kNotFound ? "not-found"
                                                         : "failed",
                QuoteValue(r.message).c_str());
    for (size_t i = 0; i < r.matches.size(); ++i) {
        const LCdRelease& m = r.matches[i];
        std::printf("match=%zu id=%s artist=%s title=%s year=%s\n", i + 1, QuoteValue(m.id).c_str(),
                    QuoteValue(m.artist).c_str(), QuoteValue(m.title).c_str(),
                    QuoteValue(m.year).c_str());
        for (size_t t = 0; t < m.trackTitles.size(); ++t)
            std::printf("match=%zu track=%zu title=%s artist=%s\n", i + 1, t + 1,
                        QuoteValue(m.trackTitles[t]).c_str(),
                        QuoteValue(m.TrackArtist(static_cast<int>(t + 1))).c_str());
    }
    return r.status == LCdLookupStatus::kFound || r.status == LCdLookupStatus::kNotFound
               ? kExitOk
               : kExitFailed;
}

int RunCdRip(int argc, char** argv) {
    std::set<std::string> names = WriteOptionNames();
    names.insert({"tracks", "out"});
    LArgs args(argc, argv, names, {"fast"});
    LCdDisc disc;
    int code = kExitOk;
    if (!OpenDisc(args, disc, "cd-rip", code))
        return code;
    LWriteOptions options;
    std::string error;
    if (!ParseWriteOptions(args, options, error)) {
        PrintError(error);
        return kExitUsage;
    }
    const LCdToc& toc = disc.Toc();
    std::vector<int> tracks;
    if (auto list = args.Value("tracks")) {
        if (!ParseTrackList(*list, tracks)) {
            PrintError("--tracks takes track numbers and ranges such as 1,3-5");
            return kExitUsage;
        }
        for (int t : tracks)
            if (toc.Track(t) == nullptr || !toc.Track(t)->audio) {
                PrintError("the disc has no audio track " + std::to_string(t));
                return kExitUsage;
            }
    } else {
        for (const LCdTrack& t : toc.tracks)
            if (t.audio)
                tracks.push_back(t.number);
    }
    const std::string dir = args.Value("out").value_or(".");
    std::error_code ec;
    std::filesystem::create_directories(dir, ec);
    const LWriteFormat* format = ChooseWriteFormat(options.format.empty() ? "x.wav" : "", options);
    if (format == nullptr) {
        PrintError("unknown --format (known: " + WriteFormatNames() + ")");
        return kExitUsage;
    }
    const LCdRipMode mode = args.Has("fast") ? LCdRipMode::kFast : LCdRipMode::kFull;
    LTerminalProgress progress;
    for (int number : tracks) {
        const LCdTrack& t = *toc.Track(number);
        const std::string path =
            (std::filesystem::path(dir) / (CdTrackFileName(number, t.title) + "." + format->name))
                .string();
        LAudioTags tags;
        tags.title = t.title;
        tags.artist = t.performer.empty() ? toc.performer : t.performer;
        tags.album = toc.title;
        tags.track = static_cast<uint32_t>(number);
        LSaveRequest request;
        request.options = options;
        request.options.format = format->name;
        request.tags = &tags;
        request.title = "Ripping track " + std::to_string(number);
        const LCdRipResult r = RipCdTrack(disc, number, mode, path, request, &progress);
        progress.Done();
        if (r.job == kJobCancelled) {
            PrintError("interrupted; track " + std::to_string(number) + " was not written");
            return kExitCancelled;
        }
        if (r.job != kJobDone) {
            PrintError(r.message);
            code = kExitFailed;
            continue;
        }
        std::printf("track %d -> %s\n%s\n", number, path.c_str(), r.report.Summary().c_str());
        std::fflush(stdout);
        if (!r.report.Clean())
            code = kExitFailed;
    }
    return code;
}

}  // namespace osmera::cli
