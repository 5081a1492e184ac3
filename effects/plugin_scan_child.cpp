// The scanning child's side of effects/plugin_scan.h: describes each item, starts each of
// its plug-ins once on silence, and answers on stdout with one block per item:
//
//     B <tab> ITEM                 reading ITEM begins
//     plug-in lines                (WritePluginInfo)
//     W <tab> ITEM <tab> TEXT      a plug-in of ITEM refused to start (it is left out)
//     D <tab> ITEM                 ITEM is done
//     F <tab> ITEM <tab> TEXT      ITEM cannot be read
//
// stdout is flushed after each line that ends a block, so the parent knows which item a
// crash belongs to.

#include <cstdio>
#include <string>
#include <vector>

#include "effects/ladspa_host.h"
#include "effects/lv2_host.h"
#include "effects/plugin_instance.h"
#include "effects/plugin_scan.h"

namespace osmera {

namespace {

void Put(const std::string& text) {
    std::fwrite(text.data(), 1, text.size(), stdout);
    std::fflush(stdout);
}

// Starts `info` at 44100 Hz and runs it on 64 frames of silence; "" when that worked.
std::string TryPlugin(const LPluginInfo& info) {
    std::string error;
    std::unique_ptr<LPluginInstance> instance = InstantiatePlugin(info, 44100.0, error);
    if (!instance)
        return error.empty() ? "refused to start" : error;
    std::vector<std::vector<float>> buffers;
    buffers.reserve(info.ports.size());
    for (const LPluginPort& p : info.ports) {
        if (p.other)
            continue;
        buffers.emplace_back(p.audio ? kPluginMaxBlock : 1, p.audio ? 0.0f : p.def);
        instance->ConnectPort(p.index, buffers.back().data());
    }
    instance->Activate();
    instance->Run(64);
    instance->Deactivate();
    return {};
}

void Answer(const std::string& word, const std::vector<LPluginInfo>& plugins) {
    std::string text;
    for (const LPluginInfo& p : plugins) {
        const std::string refused = TryPlugin(p);
        if (refused.empty())
            WritePluginInfo(p, text);
        else
            text += "W\t" + word + "\t" + p.name + " (" + p.path + "): " + refused + "\n";
    }
    Put(text + "D\t" + word + "\n");
}

}  // namespace

int RunPluginScanChild(int argc, char** argv) {
    std::vector<std::string> lv2Folders;
    std::vector<std::string> bundles, libraries;
    for (int i = 1; i < argc; ++i) {
        const std::string a = argv[i];
        if (a == "--lv2-path" && i + 1 < argc) {
            const std::string all = argv[++i];
            size_t from = 0;
            for (;;) {
                const size_t colon = all.find(':', from);
                if (colon != from)
                    lv2Folders.push_back(all.substr(from, colon - from));
                if (colon == std::string::npos)
                    break;
                from = colon + 1;
            }
        } else if (a.rfind("lv2:", 0) == 0) {
            bundles.push_back(a.substr(4));
        } else if (a.rfind("ladspa:", 0) == 0) {
            libraries.push_back(a.substr(7));
        } else {
            std::fprintf(stderr, "osmera-plugin-scan: unknown argument %s\n", a.c_str());
            return 2;
        }
    }
    if (!bundles.empty()) {
        DescribeLv2Bundles(
            lv2Folders, bundles, [](const std::string& b) { Put("B\tlv2:" + b + "\n"); },
            [](const std::string& b, std::vector<LPluginInfo> plugins, const std::string& error) {
                if (!error.empty())
                    Put("F\tlv2:" + b + "\t" + error + "\n");
                else
                    Answer("lv2:" + b, plugins);
            });
    }
    for (const std::string& lib : libraries) {
        const std::string word = "ladspa:" + lib;
        Put("B\t" + word + "\n");
        std::vector<LPluginInfo> plugins;
        std::string error;
        if (!DescribeLadspaLibrary(lib, 44100.0, plugins, error))
            Put("F\t" + word + "\t" + error + "\n");
        else
            Answer(word, plugins);
    }
    return 0;
}

}  // namespace osmera
