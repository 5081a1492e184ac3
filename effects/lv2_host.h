#pragma once
// LV2 plug-ins through lilv: where their bundles are, what each bundle holds (ports with
// ranges, units and enumerations, the latency port, presets), and running one plug-in
// (InstantiateLv2 in effects/plugin_instance.h) with the features simple effects ask for:
// URID map and unmap, the worker (run synchronously: this host processes offline), options
// and bounded block lengths.
//
// DescribeLv2Bundles reads every bundle's data and test-starts each plug-in: the program
// calls it only in the scanning child process. Any thread; InstantiateLv2 serialises its
// use of the process's one lilv world.

#include <functional>
#include <string>
#include <vector>

#include "effects/plugin_info.h"

namespace osmera {

// The folders searched: LV2_PATH (':'-separated) when set, else the folders lilv searches
// by default (~/.lv2, /usr/lib/x86_64-linux-gnu/lv2, /usr/lib/lv2, /usr/local/lib/lv2);
// then `extra` when not empty.
std::vector<std::string> Lv2Folders(const std::string& extra);

// Every bundle (a folder with a manifest.ttl) of `folders`, sorted, each once.
std::vector<std::string> ListLv2Bundles(const std::vector<std::string>& folders);

// Describes the plug-ins of each of `bundles` (all of `folders` are known to lilv, so that
// the LV2 vocabularies of units and classes are at hand). For each bundle `begin` is called
// before it is read, then `done` with its plug-ins or an error text.
void DescribeLv2Bundles(
    const std::vector<std::string>& folders, const std::vector<std::string>& bundles,
    const std::function<void(const std::string& bundle)>& begin,
    const std::function<void(const std::string& bundle, std::vector<LPluginInfo> plugins,
                             const std::string& error)>& done);

}  // namespace osmera
