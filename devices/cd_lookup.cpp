#include "devices/cd_lookup.h"

#include <curl/curl.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "core/trace.h"
#include "devices/cd_disc_id.h"
#include "devices/curl_transfer.h"

namespace osmera {

namespace {

constexpr const char* kSection = "CdLookup";
constexpr const char* kUserAgent = "Osmera/1.0 ( https://osmera.invalid/ )";

struct Transfer {
    std::string body;
    const std::atomic<bool>* cancel = nullptr;
};

size_t Collect(char* data, size_t size, size_t count, void* user) {
    auto* t = static_cast<Transfer*>(user);
    if (t->body.size() > (8u << 20))  // no answer about one disc is this large
        return 0;
    t->body.append(data, size * count);
    return size * count;
}

int Progress(void* user, curl_off_t, curl_off_t, curl_off_t, curl_off_t) {
    const auto* t = static_cast<Transfer*>(user);
    return t->cancel != nullptr && t->cancel->load() ? 1 : 0;
}

enum class Got { kOk, kNotFound, kFailed, kCancelled };

// GETs `url` into `body`. kNotFound for HTTP 404; kFailed with `message` for anything but
// a 200 answer.
Got HttpGet(const std::string& url, int32_t timeoutMs, const std::atomic<bool>* cancel,
            std::string& body, std::string& message) {
    CurlGlobalInit();
    CURL* curl = curl_easy_init();
    if (curl == nullptr) {
        message = "The disc lookup could not start.";
        return Got::kFailed;
    }
    Transfer t;
    t.cancel = cancel;
    curl_easy_setopt(curl, CURLOPT_URL, url.c_str());
    curl_easy_setopt(curl, CURLOPT_USERAGENT, kUserAgent);
    curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(curl, CURLOPT_FOLLOWLOCATION, 1L);
    curl_easy_setopt(curl, CURLOPT_TIMEOUT_MS, static_cast<long>(timeoutMs));
    curl_easy_setopt(curl, CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(timeoutMs));
    curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, Collect);
    curl_easy_setopt(curl, CURLOPT_WRITEDATA, &t);
    curl_easy_setopt(curl, CURLOPT_XFERINFOFUNCTION, Progress);
    curl_easy_setopt(curl, CURLOPT_XFERINFODATA, &t);
    curl_easy_setopt(curl, CURLOPT_NOPROGRESS, 0L);
    const CURLcode rc = curl_easy_perform(curl);
    long status = 0;
    curl_easy_getinfo(curl, CURLINFO_RESPONSE_CODE, &status);
    curl_easy_cleanup(curl);
    body = std::move(t.body);
    if (rc == CURLE_ABORTED_BY_CALLBACK)
        return Got::kCancelled;
    if (rc == CURLE_OPERATION_TIMEDOUT) {
        const int32_t seconds = (timeoutMs + 999) / 1000;
        message = "The disc database did not answer within " + std::to_string(seconds) +
                  (seconds == 1 ? " second." : " seconds.");
        return Got::kFailed;
    }
    if (rc != CURLE_OK) {
        message =
            std::string("The disc database could not be reached: ") + curl_easy_strerror(rc) + ".";
        return Got::kFailed;
    }
    if (status == 404)
        return Got::kNotFound;
    if (status != 200) {
        message = "The disc database answered with HTTP error " + std::to_string(status) + ".";
        return Got::kFailed;
    }
    return Got::kOk;
}

std::string Clean(const std::string& s) {
    std::string out = s;
    for (char& c : out)
        if (c == '\t' || c == '\n' || c == '\r')
            c = ' ';
    return out;
}

std::string CachePath(const LCdLookupSettings& s, const std::string& key) {
    return s.cacheFolder.empty() ? std::string()
                                 : (std::filesystem::path(s.cacheFolder) / (key + ".txt")).string();
}

bool ReadCache(const std::string& path, std::vector<LCdRelease>& out) {
    std::ifstream in(path);
    if (path.empty() || !in)
        return false;
    std::string line;
    while (std::getline(in, line)) {
        std::vector<std::string> f;
        std::istringstream words(line);
        for (std::string w; std::getline(words, w, '\t');)
            f.push_back(w);
        if (f.size() == 5 && f[0] == "release") {
            out.push_back({f[1], f[2], f[3], f[4], {}, {}});
        } else if (!out.empty() && f.size() >= 2 && f[0] == "track") {
            out.back().trackTitles.push_back(f[1]);
            out.back().trackArtists.push_back(f.size() > 2 ? f[2] : "");
        }
    }
    return !out.empty();
}

void WriteCache(const std::string& path, const std::vector<LCdRelease>& matches) {
    if (path.empty())
        return;
    std::error_code ec;
    std::filesystem::create_directories(std::filesystem::path(path).parent_path(), ec);
    std::ostringstream text;
    for (const auto& r : matches) {
        text << "release\t" << Clean(r.id) << '\t' << Clean(r.artist) << '\t' << Clean(r.title)
             << '\t' << Clean(r.year) << '\n';
        for (size_t i = 0; i < r.trackTitles.size(); ++i)
            text << "track\t" << Clean(r.trackTitles[i]) << '\t'
                 << Clean(i < r.trackArtists.size() ? r.trackArtists[i] : "") << '\n';
    }
    const std::string tmp = path + ".part";
    std::ofstream(tmp) << text.str();
    std::filesystem::rename(tmp, path, ec);
    if (ec)
        LTracef("WriteCache cannot write %s", path.c_str());
}

std::string CddbUrl(const LCdLookupSettings& s, const std::string& command) {
    std::string cmd;
    for (char c : command)
        cmd += c == ' ' ? '+' : c;
    const std::string server = s.server.empty() ? LCdLookupSettings::kCddbServer : s.server;
    return server + (server.find('?') == std::string::npos ? "?" : "&") + "cmd=" + cmd +
           "&hello=user+localhost+Osmera+1.0&proto=6";
}

LCdLookupResult Finish(LCdLookupResult r, const LCdLookupSettings& s, const std::string& key) {
    if (r.status == LCdLookupStatus::kFound)
        WriteCache(CachePath(s, key), r.matches);
    if (r.status == LCdLookupStatus::kNotFound)
        r.message = "The disc database does not know this disc.";
    if (r.status == LCdLookupStatus::kFound)
        r.message = r.matches.size() == 1
                        ? "Found one match."
                        : "Found " + std::to_string(r.matches.size()) + " matches.";
    return r;
}

LCdLookupResult Failed(Got got, const std::string& message) {
    LCdLookupResult r;
    r.status = got == Got::kCancelled  ? LCdLookupStatus::kCancelled
               : got == Got::kNotFound ? LCdLookupStatus::kNotFound
                                       : LCdLookupStatus::kFailed;
    r.message = message;
    return r;
}

}  // namespace

std::string LCdRelease::TrackTitle(int number) const {
    return number >= 1 && static_cast<size_t>(number) <= trackTitles.size()
               ? trackTitles[number - 1]
               : std::string();
}

std::string LCdRelease::TrackArtist(int number) const {
    const std::string a = number >= 1 && static_cast<size_t>(number) <= trackArtists.size()
                              ? trackArtists[number - 1]
                              : std::string();
    return a.empty() ? artist : a;
}

std::string LCdRelease::Label() const {
    std::string s = artist.empty() ? title : artist + " - " + title;
    return year.empty() ? s : s + " (" + year + ")";
}

LCdLookupSettings LCdLookupSettings::Read(LSettingsStore& store) {
    LCdLookupSettings s;
    s.enabled = store.GetInt(kSection, "Enabled", 1) != 0;
    s.cddb = store.GetText(kSection, "Service", "musicbrainz") == "cddb";
    s.server = store.GetText(kSection, "Server", "");
    s.timeoutMs = std::max(1, store.GetInt(kSection, "TimeoutSeconds", 10)) * 1000;
    return s;
}

void LCdLookupSettings::Write(LSettingsStore& store) const {
    store.SetInt(kSection, "Enabled", enabled ? 1 : 0);
    store.SetText(kSection, "Service", cddb ? "cddb" : "musicbrainz");
    store.SetText(kSection, "Server", server);
    store.SetInt(kSection, "TimeoutSeconds", timeoutMs / 1000);
}

LCdLookupResult LookupDisc(const LCdToc& toc, const LCdLookupSettings& s,
                           const std::atomic<bool>* cancel) {
    LCdLookupResult r;
    if (!s.enabled) {
        r.status = LCdLookupStatus::kDisabled;
        r.message = "Disc lookup is switched off.";
        return r;
    }
    const LCdDiscIds ids = ComputeDiscIds(CdOffsets(toc));
    const std::string key = s.cddb ? "cddb-" + ids.CddbHex() : "musicbrainz-" + ids.musicBrainz;
    if (ReadCache(CachePath(s, key), r.matches)) {
        r.status = LCdLookupStatus::kFound;
        r.fromCache = true;
        r.message = "Found in the cache.";
        return r;
    }
    std::string body, message;
    if (!s.cddb) {
        if (ids.musicBrainz.empty())
            return Failed(Got::kFailed, "This disc has no MusicBrainz disc id.");
        std::string server = s.server.empty() ? LCdLookupSettings::kMusicBrainzServer : s.server;
        while (!server.empty() && server.back() == '/')
            server.pop_back();
        const Got got = HttpGet(
            server + "/ws/2/discid/" + ids.musicBrainz + "?inc=recordings+artists+artist-credits",
            s.timeoutMs, cancel, body, message);
        if (got != Got::kOk)
            return Finish(Failed(got, message), s, key);
        if (!ParseMusicBrainzDisc(body, ids.musicBrainz, r.matches))
            return Failed(Got::kFailed, "The disc database's answer could not be read.");
        r.status = r.matches.empty() ? LCdLookupStatus::kNotFound : LCdLookupStatus::kFound;
        return Finish(r, s, key);
    }
    const Got got = HttpGet(CddbUrl(s, "cddb query " + ids.CddbHex() + " " + ids.cddbQuery),
                            s.timeoutMs, cancel, body, message);
    std::vector<std::string> entries;
    if (got != Got::kOk)
        return Finish(Failed(got, message), s, key);
    if (!ParseCddbQuery(body, entries))
        return Failed(Got::kFailed, "The disc database's answer could not be read.");
    for (const std::string& entry : entries) {
        const Got read =
            HttpGet(CddbUrl(s, "cddb read " + entry), s.timeoutMs, cancel, body, message);
        if (read == Got::kCancelled || read == Got::kFailed)
            return Failed(read, message);
        LCdRelease rel;
        if (read == Got::kOk && ParseCddbRead(body, rel))
            r.matches.push_back(std::move(rel));
    }
    r.status = r.matches.empty() ? LCdLookupStatus::kNotFound : LCdLookupStatus::kFound;
    return Finish(r, s, key);
}

}  // namespace osmera
