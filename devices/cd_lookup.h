#pragma once
// Looking a disc up in an online database: MusicBrainz (its web service, by disc id) or a
// CDDB server over HTTP (query by CDDB id and offsets, then read each match). The server,
// the service and an off switch are the user's settings ("CdLookup" section); results are
// cached as files in a folder of the user's data, so a disc is asked for once.
//
// LookupDisc blocks the calling thread for at most the time-out (plus the cache's file
// access); run it off the GUI thread (cd_lookup_job.h). It may be called from any thread.

#include <atomic>
#include <cstdint>
#include <string>
#include <vector>

#include "core/settings_store.h"
#include "devices/cd_disc.h"

namespace osmera {

// One release a database offers for the disc.
struct LCdRelease {
    std::string id;  // MusicBrainz release id, or "category/discid" of a CDDB entry
    std::string artist;
    std::string title;
    std::string year;
    std::vector<std::string> trackTitles;   // in track order, from the first track
    std::vector<std::string> trackArtists;  // same size; empty where it is the album's

    // The title of track `number` counted from 1 ("" when the release has none such).
    std::string TrackTitle(int number) const;
    std::string TrackArtist(int number) const;
    // "Artist - Title (Year)", for a list of matches.
    std::string Label() const;
};

enum class LCdLookupStatus {
    kFound,     // one or more matches
    kNotFound,  // the server knows no such disc
    kDisabled,  // lookups are switched off
    kFailed,    // no answer (time-out, no network, a server error, an unreadable answer)
    kCancelled,
};

struct LCdLookupResult {
    LCdLookupStatus status = LCdLookupStatus::kFailed;
    std::vector<LCdRelease> matches;
    std::string message;  // one line for the user
    bool fromCache = false;
};

struct LCdLookupSettings {
    bool enabled = true;
    bool cddb = false;   // false: MusicBrainz
    std::string server;  // base URL; empty: the service's usual one
    int32_t timeoutMs = 10000;
    std::string cacheFolder;  // empty: no cache

    static constexpr const char* kMusicBrainzServer = "https://musicbrainz.org";
    static constexpr const char* kCddbServer = "http://gnudb.gnudb.org/~cddb/cddb.cgi";

    // Section "CdLookup": "Enabled" (1), "Service" ("musicbrainz" or "cddb"), "Server"
    // (""), "TimeoutSeconds" (10). `cacheFolder` is left for the caller.
    static LCdLookupSettings Read(LSettingsStore& store);
    void Write(LSettingsStore& store) const;
};

// Asks the configured database about the disc of `toc`. `cancel` (may be null) stops the
// transfer within about a second once it turns true.
LCdLookupResult LookupDisc(const LCdToc& toc, const LCdLookupSettings& settings,
                           const std::atomic<bool>* cancel = nullptr);

// Parsers of the two services' answers (cd_lookup_parse.cpp), exposed for the lookup.
// The releases of a MusicBrainz /ws/2/discid answer that hold the disc `discId`; false
// when `xml` is not such an answer.
bool ParseMusicBrainzDisc(const std::string& xml, const std::string& discId,
                          std::vector<LCdRelease>& out);
// The "category discid" pairs of a CDDB query answer; false when it is not one. An answer
// of "no match" gives true and no pairs.
bool ParseCddbQuery(const std::string& text, std::vector<std::string>& entries);
// A CDDB read answer (an xmcd entry) as a release; false when it is not one.
bool ParseCddbRead(const std::string& text, LCdRelease& out);

}  // namespace osmera
