#pragma once
// LADSPA plug-ins: where their libraries are, what each library holds, and running one
// descriptor (InstantiateLadspa in effects/plugin_instance.h).
//
// DescribeLadspaLibrary loads the library's code: the program calls it only in the scanning
// child process. Any thread.

#include <string>
#include <vector>

#include "effects/plugin_info.h"

namespace osmera {

// The folders searched: LADSPA_PATH (':'-separated) when set, else /usr/lib/ladspa and
// /usr/local/lib/ladspa; then `extra` when not empty.
std::vector<std::string> LadspaFolders(const std::string& extra);

// Every "*.so" file of `folders`, sorted, each once.
std::vector<std::string> ListLadspaLibraries(const std::vector<std::string>& folders);

// The plug-ins of the library at `path`, with ranges as at `sampleRate`. False with `error`
// when it cannot be loaded or has no descriptor function.
bool DescribeLadspaLibrary(const std::string& path, double sampleRate,
                           std::vector<LPluginInfo>& out, std::string& error);

}  // namespace osmera
