#pragma once
// What the program knows about one installed plug-in (an LV2 plug-in or one descriptor of a
// LADSPA library): its identity, where it lives, its ports with their ranges and defaults,
// its presets, and the text form in which the plug-in scan hands it from the scanning child
// process to the program and keeps it in the scan cache.
//
// Plain values: copy them freely, use them from any thread.

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace osmera {

enum class LPluginKind {
    kLv2,
    kLadspa,
};

// "lv2" or "ladspa".
const char* PluginKindWord(LPluginKind kind);

struct LPluginPort {
    uint32_t index = 0;
    std::string symbol;  // LV2 symbol; for LADSPA a symbol made from the name
    std::string name;
    bool audio = false;    // an audio port (else a control port)
    bool input = false;    // an input (else an output)
    bool other = false;    // a port of another type (atom, CV): connected to a dummy buffer
    bool toggled = false;  // on/off
    bool integer = false;
    bool logarithmic = false;
    bool latency = false;  // the output control port that reports the plug-in's latency
    float min = 0.0f;
    float max = 1.0f;
    float def = 0.0f;
    std::string unit;  // the unit's symbol ("dB", "Hz", "ms"), "" when none is known
    std::vector<std::pair<float, std::string>> scalePoints;  // enumeration labels
};

// A preset of the plug-in: a name and the values of some of its control inputs by symbol.
struct LPluginPreset {
    std::string name;
    std::vector<std::pair<std::string, float>> values;
};

struct LPluginInfo {
    LPluginKind kind = LPluginKind::kLadspa;
    std::string id;         // the LV2 URI, or the LADSPA label
    uint32_t uniqueId = 0;  // the LADSPA unique id (0 for LV2)
    std::string name;
    std::string maker;
    std::string category;  // the LV2 class label ("Amplifier", "Delay"), "" for LADSPA
    std::string path;      // the LADSPA library, or the LV2 bundle folder
    std::vector<LPluginPort> ports;
    std::vector<LPluginPreset> presets;

    // Counts of the audio inputs and outputs.
    int AudioInputs() const;
    int AudioOutputs() const;
    // The control input ports, in port order.
    std::vector<const LPluginPort*> Controls() const;
    // The port whose symbol or name is `key` (case-insensitive for names), or null.
    const LPluginPort* FindPort(const std::string& key) const;
    // The defaults of the control inputs, in Controls() order.
    std::vector<float> DefaultValues() const;
};

// The text lines of `info` (one plug-in; lines start with a tag word and hold
// tab-separated fields), appended to `out`.
void WritePluginInfo(const LPluginInfo& info, std::string& out);
// Reads the plug-ins written by WritePluginInfo from `text`, appending them to `out`.
// Lines it does not know are skipped; false when a plug-in's lines are damaged.
bool ReadPluginInfos(const std::string& text, std::vector<LPluginInfo>& out);

// "SYMBOL=VALUE" words applied to `values` (Controls() order, usually DefaultValues()).
// "" when every word names a control input and holds a number, else why not.
std::string ApplyPortWords(const LPluginInfo& info, const std::vector<std::string>& words,
                           std::vector<float>& values);

// The values as "symbol=value" words separated by blanks (what the settings remember) and
// back: ReadPortValues sets the values of `text` it finds, leaving the others.
std::string PortValuesText(const LPluginInfo& info, const std::vector<float>& values);
void ReadPortValues(const LPluginInfo& info, const std::string& text, std::vector<float>& values);

}  // namespace osmera
