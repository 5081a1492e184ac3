#pragma once
// A plug-in as a stream effect: the source that runs an LV2 or LADSPA plug-in over its
// input in blocks of floating-point frames (full scale 1.0 for the plug-in), with the
// control inputs set once, and the pumped effect that applies it to a range.
//
// Channels: a plug-in with one audio input and output runs one instance per channel of the
// file; one with as many as the file has channels runs once over all of them; a stereo
// plug-in on a mono file gets the channel on both inputs and its outputs are averaged.
// Other layouts are refused.
//
// Latency: the plug-in's latency output port is read after a first run of silence, and
// the source hides it (effects/block_effect_source.h): output frame i belongs to input
// frame i, the first frames the plug-in holds back are dropped and the end is flushed with
// silence.
//
// The source is used by one thread at a time and owns its input and its instances.

#include <string>
#include <vector>

#include "core/progress.h"
#include "core/sound_source_base.h"
#include "effects/effect_job.h"
#include "effects/plugin_info.h"

namespace osmera {

// A plug-in and the values of its control inputs (LPluginInfo::Controls() order).
struct LPluginChoice {
    LPluginInfo info;
    std::vector<float> values;
};

// The plug-in of `choice` over `input`; null with `error` set when it cannot be loaded,
// started or fitted to the input's channels.
LSourceRef MakePluginSource(const LPluginChoice& choice, LSourceRef input, std::string& error);

// Pumps [rangeStart, rangeEnd) of the request's list through the plug-in into new cuts
// that replace the range, with `title` on line 0. kJobFailed (list untouched, `error` set)
// when the plug-in cannot run.
int PumpPlugin(LProgress& progress, const LEffectRequest& request, const LPluginChoice& choice,
               const char* title, std::string& error);

}  // namespace osmera
