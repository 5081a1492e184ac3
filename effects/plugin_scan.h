#pragma once
// Finding the installed plug-ins without letting one of them take the program down.
//
// Each LADSPA library and LV2 bundle is an "item". Items are read by the helper program
// osmera-plugin-scan in child processes (two at once), which load each plug-in and run it
// briefly on silence; a child that crashes or stops answering (time-out per item) is ended, that
// one item is skipped and named, and a new child goes on with the items after it. The results are
// kept in a cache file keyed by each item's path and modification time, so the next start reads
// only what changed.
//
// ScanPlugins blocks while children run; it may be called from any thread, but two calls
// with the same cache file at once each write it whole (the last one wins).

#include <memory>
#include <string>
#include <vector>

#include "core/settings_store.h"
#include "effects/plugin_info.h"

namespace osmera {

struct LPluginScanSettings {
    std::string cacheFile;    // "" keeps no cache
    std::string lv2Extra;     // another folder of LV2 bundles, "" for none
    std::string ladspaExtra;  // another folder of LADSPA libraries, "" for none
    std::string scanner;      // the helper program; "" finds it (FindPluginScanner)
    int timeoutMs = 20000;    // per item
    bool rescan = false;      // ignore the cache
};

struct LPluginCatalog {
    std::vector<LPluginInfo> plugins;   // LV2 ones first, then LADSPA ones, each sorted by name
    std::vector<std::string> failures;  // "PATH: why", one per item that was skipped
    int itemsScanned = 0;               // items read by a child in this call
    int itemsCached = 0;                // items taken from the cache

    // The plug-in of `kind` whose URI or label is `id` (LADSPA: also its unique id in
    // digits), or null.
    const LPluginInfo* Find(LPluginKind kind, const std::string& id) const;
};

// The settings the programs use: the cache "plugins.cache" in the per-user data folder's
// Quillon/Osmera, and the extra folders "LV2Folder" and "LADSPAFolder" of section
// "Settings".
LPluginScanSettings PluginScanSettings(LSettingsStore& settings);

// The helper program: $OSMERA_PLUGIN_SCANNER when set, else osmera-plugin-scan next to the
// running program, or in ../effects or ../libexec from it. "" when none is found.
std::string FindPluginScanner();

LPluginCatalog ScanPlugins(const LPluginScanSettings& settings);

// The catalog this process works with: scanned (or read from the cache) at the first call
// and kept while the folders searched and the cache file stay the same (a changed folder
// setting scans again); `rescan` scans again (with the cache: only what changed). Any
// thread.
std::shared_ptr<const LPluginCatalog> InstalledPlugins(const LPluginScanSettings& settings,
                                                       bool rescan = false);

// The child's side (osmera-plugin-scan): reads the items of `args` ("lv2:PATH" or
// "ladspa:PATH", after "--lv2-path FOLDERS"), writing the answer to stdout. Returns the exit
// status.
int RunPluginScanChild(int argc, char** argv);

}  // namespace osmera
