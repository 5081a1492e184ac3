#pragma once
// One running instance of a plug-in, whichever its standard: ports are connected to
// buffers of the caller, then the plug-in is activated and run over blocks of frames.
//
// InstantiatePlugin loads the plug-in's code into this process (dlopen), so a caller runs
// only plug-ins that the scan (effects/plugin_scan.h) loaded safely in a child process.
// An instance belongs to one thread at a time; buffers connected to it must outlive its
// runs.

#include <cstdint>
#include <memory>
#include <string>

#include "effects/plugin_info.h"

namespace osmera {

// The most frames one Run is given (the plug-ins are told so where they ask).
constexpr uint32_t kPluginMaxBlock = 8192;

class LPluginInstance {
  public:
    virtual ~LPluginInstance() = default;
    virtual void ConnectPort(uint32_t index, void* data) = 0;
    virtual void Activate() = 0;
    virtual void Deactivate() = 0;
    // Runs `frames` (at most kPluginMaxBlock) frames.
    virtual void Run(uint32_t frames) = 0;
};

// A new instance of `info` at `sampleRate`; null with `error` set when the library or
// bundle cannot be loaded, the plug-in is not in it, or it refuses to start.
std::unique_ptr<LPluginInstance> InstantiatePlugin(const LPluginInfo& info, double sampleRate,
                                                   std::string& error);

// The LADSPA and LV2 halves of InstantiatePlugin.
std::unique_ptr<LPluginInstance> InstantiateLadspa(const LPluginInfo& info, double sampleRate,
                                                   std::string& error);
std::unique_ptr<LPluginInstance> InstantiateLv2(const LPluginInfo& info, double sampleRate,
                                                std::string& error);

}  // namespace osmera
