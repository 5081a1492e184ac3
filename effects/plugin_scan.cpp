#include "effects/plugin_scan.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <mutex>
#include <sstream>
#include <thread>

#include "core/trace.h"
#include "edit/audio_cut_tank.h"
#include "effects/ladspa_host.h"
#include "effects/lv2_host.h"

extern char** environ;

namespace osmera {

namespace fs = std::filesystem;

const LPluginInfo* LPluginCatalog::Find(LPluginKind kind, const std::string& id) const {
    for (const LPluginInfo& p : plugins) {
        if (p.kind == kind && p.id == id)
            return &p;
    }
    if (kind == LPluginKind::kLadspa && !id.empty() &&
        id.find_first_not_of("0123456789") == std::string::npos) {
        for (const LPluginInfo& p : plugins) {
            if (p.kind == kind && std::to_string(p.uniqueId) == id)
                return &p;
        }
    }
    return nullptr;
}

LPluginScanSettings PluginScanSettings(LSettingsStore& settings) {
    LPluginScanSettings s;
    const std::string data = UserAppDataFolder();
    if (!data.empty())
        s.cacheFile = (fs::path(data) / "Quillon" / "Osmera" / "plugins.cache").string();
    s.lv2Extra = settings.GetText("Settings", "LV2Folder", "");
    s.ladspaExtra = settings.GetText("Settings", "LADSPAFolder", "");
    return s;
}

std::string FindPluginScanner() {
    if (const char* env = std::getenv("OSMERA_PLUGIN_SCANNER"); env && *env)
        return env;
    std::error_code ec;
    const fs::path self = fs::read_symlink("/proc/self/exe", ec);
    if (ec)
        return {};
    const fs::path dir = self.parent_path();
    for (const fs::path& p :
         {dir / "osmera-plugin-scan", dir / ".." / "effects" / "osmera-plugin-scan",
          dir / ".." / "libexec" / "osmera" / "osmera-plugin-scan"}) {
        if (access(p.c_str(), X_OK) == 0)
            return fs::weakly_canonical(p, ec).string();
    }
    return {};
}

namespace {

// One library or bundle and what became of it.
struct LItem {
    LPluginKind kind;
    std::string path;
    int64_t stamp = 0;  // modification time
    bool failed = false;
    std::vector<std::string> notes;  // failure reason, or plug-ins that refused to start
    std::string text;                // the plug-ins, as WritePluginInfo lines
};

std::string ItemWord(const LItem& item) {
    return std::string(PluginKindWord(item.kind)) + ":" + item.path;
}

int64_t StampOf(const fs::path& path) {
    std::error_code ec;
    int64_t stamp = fs::last_write_time(path, ec).time_since_epoch().count();
    if (fs::is_directory(path, ec)) {
        for (const auto& e : fs::directory_iterator(path, ec))
            stamp = std::max<int64_t>(stamp, e.last_write_time(ec).time_since_epoch().count());
    }
    return stamp;
}

std::vector<std::string> Split(const std::string& line) {
    std::vector<std::string> out;
    std::stringstream in(line);
    std::string f;
    while (std::getline(in, f, '\t'))
        out.push_back(f);
    return out;
}

std::map<std::string, LItem> ReadCache(const std::string& file) {
    std::map<std::string, LItem> items;
    std::ifstream in(file);
    std::string line;
    if (!std::getline(in, line) || line != "osmera-plugin-cache 1")
        return items;
    LItem* current = nullptr;
    while (std::getline(in, line)) {
        const std::vector<std::string> f = Split(line);
        if (!f.empty() && f[0] == "I" && f.size() >= 5) {
            LItem item{f[1] == "lv2" ? LPluginKind::kLv2 : LPluginKind::kLadspa, f[2],
                       std::strtoll(f[3].c_str(), nullptr, 10), f[4] == "failed"};
            current = &(items[ItemWord(item)] = item);
        } else if (current && !f.empty() && f[0] == "N" && f.size() >= 2) {
            current->notes.push_back(line.substr(2));
        } else if (current) {
            current->text += line + "\n";
        }
    }
    return items;
}

void WriteCache(const std::string& file, const std::vector<LItem>& items) {
    std::error_code ec;
    fs::create_directories(fs::path(file).parent_path(), ec);
    const std::string temp = file + ".tmp";
    {
        std::ofstream out(temp, std::ios::trunc);
        out << "osmera-plugin-cache 1\n";
        for (const LItem& item : items) {
            out << "I\t" << PluginKindWord(item.kind) << '\t' << item.path << '\t' << item.stamp
                << '\t' << (item.failed ? "failed" : "ok") << '\n';
            for (const std::string& note : item.notes)
                out << "N\t" << note << '\n';
            out << item.text;
        }
        if (!out.flush()) {
            LTracef("WriteCache cannot write %s", temp.c_str());
            fs::remove(temp, ec);
            return;
        }
    }
    fs::rename(temp, file, ec);
}

// Starts the scanner on `items`; the child's stdout is `fd`. 0 when it cannot start.
pid_t SpawnScanner(const std::string& scanner, const std::vector<std::string>& lv2Folders,
                   const std::vector<LItem*>& items, int& fd) {
    int pipeFds[2];
    if (pipe2(pipeFds, O_CLOEXEC) != 0)
        return 0;
    std::string path;
    for (const std::string& f : lv2Folders)
        path += (path.empty() ? "" : ":") + f;
    std::vector<std::string> args = {scanner, "--lv2-path", path};
    for (const LItem* item : items)
        args.push_back(ItemWord(*item));
    std::vector<char*> argv;
    for (std::string& a : args)
        argv.push_back(a.data());
    argv.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, pipeFds[1], 1);
    // Plug-ins talk on stderr; the user's terminal is not the place for it.
    posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
    pid_t pid = 0;
    const int rc = posix_spawn(&pid, scanner.c_str(), &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(pipeFds[1]);
    if (rc != 0) {
        close(pipeFds[0]);
        return 0;
    }
    fd = pipeFds[0];
    return pid;
}

std::string ExitText(int status) {
    if (WIFSIGNALED(status))
        return std::string("the scan crashed (") + strsignal(WTERMSIG(status)) + ")";
    return "the scan stopped (exit status " + std::to_string(WEXITSTATUS(status)) + ")";
}

// Reads `items` in children, one after another until every item has an answer.
void ScanItems(const LPluginScanSettings& settings, const std::vector<std::string>& lv2Folders,
               std::vector<LItem*> items) {
    const std::string scanner = settings.scanner.empty() ? FindPluginScanner() : settings.scanner;
    size_t next = 0;
    while (next < items.size()) {
        const std::vector<LItem*> rest(items.begin() + static_cast<std::ptrdiff_t>(next),
                                       items.end());
        int fd = -1;
        const pid_t pid = scanner.empty() ? 0 : SpawnScanner(scanner, lv2Folders, rest, fd);
        if (pid == 0) {
            for (LItem* item : rest) {
                item->failed = true;
                item->notes = {item->path + ": the plug-in scanner osmera-plugin-scan cannot run"};
            }
            return;
        }
        std::map<std::string, LItem*> byWord;
        for (LItem* item : rest)
            byWord[ItemWord(*item)] = item;
        LItem* current = nullptr;
        size_t finished = next;  // items before this index have their answer
        std::string pending;
        auto deadline =
            std::chrono::steady_clock::now() + std::chrono::milliseconds(settings.timeoutMs);
        bool timedOut = false;
        for (;;) {
            const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
                deadline - std::chrono::steady_clock::now());
            pollfd p{fd, POLLIN, 0};
            const int ready = poll(&p, 1, static_cast<int>(std::max<int64_t>(left.count(), 0)));
            if (ready == 0) {
                timedOut = true;
                kill(pid, SIGKILL);
                break;
            }
            char buf[65536];
            const ssize_t got = ready < 0 ? 0 : read(fd, buf, sizeof buf);
            if (got < 0 && errno == EINTR)
                continue;
            if (got <= 0)
                break;
            pending.append(buf, static_cast<size_t>(got));
            size_t nl;
            while ((nl = pending.find('\n')) != std::string::npos) {
                const std::string line = pending.substr(0, nl);
                pending.erase(0, nl + 1);
                const std::vector<std::string> f = Split(line);
                const std::string tag = f.empty() ? "" : f[0];
                if ((tag == "B" || tag == "D" || tag == "F" || tag == "W") && f.size() >= 2) {
                    LItem* item = byWord.count(f[1]) ? byWord[f[1]] : nullptr;
                    if (!item)
                        continue;
                    if (tag == "B") {
                        current = item;
                        item->text.clear();
                        item->notes.clear();
                        deadline = std::chrono::steady_clock::now() +
                                   std::chrono::milliseconds(settings.timeoutMs);
                    } else if (tag == "W") {
                        item->notes.push_back(f.size() > 2 ? f[2] : item->path);
                    } else {
                        item->failed = tag == "F";
                        if (item->failed)
                            item->notes = {item->path + ": " + (f.size() > 2 ? f[2] : "failed")};
                        current = nullptr;
                        finished = static_cast<size_t>(std::find(items.begin(), items.end(), item) -
                                                       items.begin() + 1);
                    }
                } else if (current) {
                    current->text += line + "\n";
                }
            }
        }
        close(fd);
        int status = 0;
        waitpid(pid, &status, 0);
        if (finished >= items.size())
            break;
        // The item being read (or, before any, the next one) is skipped and named.
        LItem* culprit = current ? current : items[finished];
        culprit->failed = true;
        culprit->text.clear();
        culprit->notes = {
            culprit->path + ": " +
            (timedOut ? "no answer within " + std::to_string(settings.timeoutMs / 1000) + " s"
                      : ExitText(status))};
        next =
            static_cast<size_t>(std::find(items.begin(), items.end(), culprit) - items.begin() + 1);
    }
}

}  // namespace

LPluginCatalog ScanPlugins(const LPluginScanSettings& settings) {
    LPluginCatalog catalog;
    const std::vector<std::string> lv2Folders = Lv2Folders(settings.lv2Extra);
    std::vector<LItem> items;
    for (const std::string& b : ListLv2Bundles(lv2Folders))
        items.push_back({LPluginKind::kLv2, b, StampOf(b)});
    for (const std::string& l : ListLadspaLibraries(LadspaFolders(settings.ladspaExtra)))
        items.push_back({LPluginKind::kLadspa, l, StampOf(l)});

    std::map<std::string, LItem> cache;
    if (!settings.rescan && !settings.cacheFile.empty())
        cache = ReadCache(settings.cacheFile);
    std::vector<LItem*> toScan;
    for (LItem& item : items) {
        const auto at = cache.find(ItemWord(item));
        if (at != cache.end() && at->second.stamp == item.stamp) {
            item = at->second;
            ++catalog.itemsCached;
        } else {
            toScan.push_back(&item);
        }
    }
    catalog.itemsScanned = static_cast<int>(toScan.size());
    if (!toScan.empty()) {
        // Two children at once: some plug-ins take seconds to start (they plan their FFTs),
        // and each child answers for its own items only. LV2 items stay together so that
        // only one child reads every bundle's data.
        std::vector<LItem*> lv2, ladspa;
        for (LItem* item : toScan)
            (item->kind == LPluginKind::kLv2 ? lv2 : ladspa).push_back(item);
        std::vector<LItem*> first = lv2, second;
        for (size_t i = 0; i < ladspa.size(); ++i)
            (i % 2 == 0 ? second : first).push_back(ladspa[i]);
        std::thread other([&] { ScanItems(settings, lv2Folders, second); });
        ScanItems(settings, lv2Folders, first);
        other.join();
        if (!settings.cacheFile.empty())
            WriteCache(settings.cacheFile, items);
    }

    for (const LItem& item : items) {
        std::vector<LPluginInfo> found;
        if (!item.failed && !ReadPluginInfos(item.text, found)) {
            catalog.failures.push_back(item.path + ": the scan's answer is damaged");
            continue;
        }
        for (LPluginInfo& p : found)
            catalog.plugins.push_back(std::move(p));
        for (const std::string& note : item.notes)
            catalog.failures.push_back(note);
    }
    std::stable_sort(catalog.plugins.begin(), catalog.plugins.end(),
                     [](const LPluginInfo& a, const LPluginInfo& b) {
                         if (a.kind != b.kind)
                             return a.kind == LPluginKind::kLv2;
                         return a.name < b.name;
                     });
    return catalog;
}

std::shared_ptr<const LPluginCatalog> InstalledPlugins(const LPluginScanSettings& settings,
                                                       bool rescan) {
    static std::mutex mutex;
    static std::shared_ptr<const LPluginCatalog> catalog;
    static std::string scannedWith;  // the folders and cache of that catalog
    std::string key = settings.cacheFile;
    for (const std::string& f : Lv2Folders(settings.lv2Extra))
        key += "\n" + f;
    for (const std::string& f : LadspaFolders(settings.ladspaExtra))
        key += "\n" + f;
    std::lock_guard lock(mutex);
    if (!catalog || rescan || key != scannedWith) {
        catalog = std::make_shared<const LPluginCatalog>(ScanPlugins(settings));
        scannedWith = key;
    }
    return catalog;
}

}  // namespace osmera
