// osmera-cli plugins [WORD] [--rescan] [--settings FILE]
//
// Lists the installed LV2 and LADSPA plug-ins (those whose URI, label, name or maker holds
// WORD, when given): the URI or label that the script commands lv2 and ladspa take, the
// name, the audio ports, and each control input with its range, default and unit. The
// scan runs in child processes and is cached (effects/plugin_scan.h): plug-ins that were
// skipped are named on stderr. --settings takes the extra plug-in folders ("LV2Folder",
// "LADSPAFolder" of section "Settings") from the file that run --settings uses.

#include <algorithm>
#include <cctype>
#include <cstdio>

#include "cli/args.h"
#include "cli/commands.h"
#include "cli/ini_settings_store.h"
#include "effects/plugin_scan.h"

namespace osmera::cli {

namespace {

std::string Lower(std::string s) {
    std::transform(s.begin(), s.end(), s.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return s;
}

bool Matches(const LPluginInfo& p, const std::string& word) {
    if (word.empty())
        return true;
    const std::string w = Lower(word);
    for (const std::string* s : {&p.id, &p.name, &p.maker, &p.category}) {
        if (Lower(*s).find(w) != std::string::npos)
            return true;
    }
    return false;
}

void PrintPlugin(const LPluginInfo& p) {
    std::printf("%s %s\n    %s", PluginKindWord(p.kind), p.id.c_str(), p.name.c_str());
    if (!p.maker.empty())
        std::printf(" (%s)", p.maker.c_str());
    if (!p.category.empty())
        std::printf(" [%s]", p.category.c_str());
    std::printf("\n    audio: %d in, %d out", p.AudioInputs(), p.AudioOutputs());
    for (const LPluginPort& port : p.ports) {
        if (port.latency)
            std::printf(", reports latency");
    }
    std::printf("\n");
    for (const LPluginPort* c : p.Controls()) {
        std::printf("    %s=%g  (%g to %g%s%s%s) %s\n", c->symbol.c_str(), c->def, c->min, c->max,
                    c->unit.empty() ? "" : " ", c->unit.c_str(),
                    c->toggled   ? ", on/off"
                    : c->integer ? ", whole"
                                 : "",
                    c->name.c_str());
        for (const auto& [value, label] : c->scalePoints)
            std::printf("        %g = %s\n", value, label.c_str());
    }
    for (const LPluginPreset& preset : p.presets)
        std::printf("    preset: %s\n", preset.name.c_str());
}

}  // namespace

int RunPlugins(int argc, char** argv) {
    LArgs args(argc, argv, {"settings"}, {"rescan"});
    if (args.Error().empty() && args.Positional().size() > 1) {
        PrintError("plugins takes at most one WORD");
        return kExitUsage;
    }
    if (!args.Error().empty()) {
        PrintError(args.Error());
        return kExitUsage;
    }
    LMemorySettingsStore memory;
    std::unique_ptr<LIniSettingsStore> file;
    if (const auto path = args.Value("settings"))
        file = std::make_unique<LIniSettingsStore>(*path);
    LPluginScanSettings settings =
        PluginScanSettings(file ? static_cast<LSettingsStore&>(*file) : memory);
    settings.rescan = args.Has("rescan");
    const LPluginCatalog catalog = ScanPlugins(settings);
    const std::string word = args.Positional().empty() ? "" : args.Positional()[0];
    int shown = 0;
    for (const LPluginInfo& p : catalog.plugins) {
        if (Matches(p, word)) {
            PrintPlugin(p);
            ++shown;
        }
    }
    for (const std::string& failure : catalog.failures)
        std::fprintf(stderr, "skipped: %s\n", failure.c_str());
    std::fprintf(stderr,
                 "%d plug-ins listed of %zu (%d libraries and bundles read, %d from the cache)\n",
                 shown, catalog.plugins.size(), catalog.itemsScanned, catalog.itemsCached);
    return kExitOk;
}

}  // namespace osmera::cli
