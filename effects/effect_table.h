#pragma once
// The table of effect commands as data, shared by the editor's effect dialogs, the effect
// driver and the command-line program: each command's undo title, its progress title, the
// parameters it remembers in the settings store (section, key, default) and what its
// dialog accepts on OK, with the exact sentence shown (titled "Invalid value") otherwise.
//
// The table is constant and may be read from any thread.

#include <cstdint>
#include <string>
#include <vector>

#include "core/settings_store.h"

namespace osmera {

enum class LEffectId {
    kAmplify,
    kNormalize,
    kEcho,
    kReverb,
    kHighPassFilter,
    kEqualizer,
    kEnvelope,
    kFadeIn,
    kFadeOut,
    kFadeOutAndTrim,
    kCrossFade,
    kStereoPan,
    kSimpleSpeedPitch,
    kConstantPitchSpeed,
    kConstantSpeedPitch,
    kAutomaticGainControl,
    kNoiseReduction,
    kCompressor,
    kPasteMix,
    kMixFile,
    kLoudnessNormalize,
    kAutoTrim,
    kInsertSilenceStart,
    kInsertSilenceCurrent,
    kInsertSilenceEnd,
    kReverse,
    kRepeatLoop,
    kDcOffset,
    kAutoClickPop,
    kManualClickPop,
    kLv2Effects,     // an LV2 plug-in chosen in the plug-in dialog
    kLadspaPlugins,  // a LADSPA plug-in chosen in the plug-in dialog
};

// One remembered parameter: a 32-bit integer read with its default before the dialog
// opens and written back when it ends with OK.
struct LEffectParam {
    const char* section;
    const char* key;
    int32_t def;
};

// What the dialog accepts for parameter `param` (an index into the effect's params):
// min <= value <= max; otherwise `message` is shown and the dialog stays open.
struct LEffectRule {
    size_t param;
    int32_t min;
    int32_t max;
    const char* message;
};

struct LEffectInfo {
    LEffectId id;
    const char* command;        // the menu command
    const char* undoTitle;      // the undo step's name ("Undo %s\tCtrl+Z")
    const char* progressTitle;  // line 0 of the progress; "" when there is no pump or the
                                // effect sets its own
    std::vector<LEffectParam> params;
    std::vector<LEffectRule> rules;  // checked in this order; the first failure is reported
    const char* pointFile = "";      // the point-list file in the folder "Current", if any
    bool stereoOnly = false;         // refused on mono files with kStereoRequired*
    const char* failedMessage = "";  // shown titled kProcessAudioTitle when the job fails
};

extern const char* const kInvalidValueTitle;    // "Invalid value"
extern const char* const kStereoRequiredTitle;  // "Convert to Stereo Required"
extern const char* const kStereoRequiredMessage;
extern const char* const kManualRepairTooLongMessage;
extern const char* const kPleaseWaitText;     // "Please wait..."
extern const char* const kProcessAudioTitle;  // "Process Audio"

// Every effect command, in menu order.
const std::vector<LEffectInfo>& EffectTable();
// The entry of `id` (every id has one).
const LEffectInfo& GetEffectInfo(LEffectId id);
// The entry whose command or undo title is `name`, or null.
const LEffectInfo* FindEffect(const std::string& name);

// The effect's parameters read from `store` with their defaults, in table order.
std::vector<int32_t> ReadEffectParams(const LEffectInfo& info, LSettingsStore& store);
// Writes `values` (table order) back to `store`.
void WriteEffectParams(const LEffectInfo& info, const std::vector<int32_t>& values,
                       LSettingsStore& store);
// "" when every value is accepted, else the message of the first rule that fails.
// Missing values count as their defaults.
std::string ValidateEffectParams(const LEffectInfo& info, const std::vector<int32_t>& values);
// Index of the parameter named `key` in `info`, or -1.
int FindEffectParam(const LEffectInfo& info, const std::string& key);

}  // namespace osmera
