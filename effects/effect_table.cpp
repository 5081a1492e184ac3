#include "effects/effect_table.h"

#include <limits>

namespace osmera {

const char* const kInvalidValueTitle = "Invalid value";
const char* const kStereoRequiredTitle = "Convert to Stereo Required";
const char* const kStereoRequiredMessage =
    "This effect can only be applied to stereo file. Please convert the file to stereo by "
    "using File->Convert Channels->Stereo and try again.";
const char* const kManualRepairTooLongMessage =
    "Osmera cannot do a manual reduction of an area this size. Please select a smaller area.";
const char* const kPleaseWaitText = "Please wait...";
const char* const kProcessAudioTitle = "Process Audio";

namespace {

constexpr int32_t kMin = std::numeric_limits<int32_t>::min();
constexpr const char* kStored = "StoredValues";
constexpr const char* kSpeedMessage = "Speed Change Percent must be less than 300.";

std::vector<LEffectInfo> BuildTable() {
    using Id = LEffectId;
    std::vector<LEffectInfo> t;
    // Percent fields refuse negative values with their own message too: a negative
    // percentage has no meaning for any of them.
    t.push_back({Id::kAmplify,
                 "Amplify",
                 "Amplify",
                 "",
                 {{kStored, "AmplifyGain", 100}},
                 {{0, 0, 400, "Amplify Gain must be less than 400%. Please try again."}}});
    t.push_back({Id::kNormalize,
                 "Normalize",
                 "Normalize",
                 "Normalizing",
                 {{kStored, "NormalizePeakLevel", 100}},
                 {{0, 0, 100, "Normailze Peak Level must be less than 100%. Please try again."}}});
    t.push_back({Id::kEcho,
                 "Echo",
                 "Echo",
                 "Echo",
                 {{kStored, "EchoTime", 800}, {kStored, "EchoGain", 50}},
                 {{0, 10, 2999, "Echo time must be between 10 and 3000ms. Please try again."},
                  {1, 0, 99, "Echo Gain must be less than 100%. Please try again."}}});
    t.push_back({Id::kReverb,
                 "Reverb",
                 "Reverb",
                 "Reverb",
                 {{kStored, "ReverbLevel", 100}, {kStored, "ReverbTime", 50}},
                 {{0, kMin, 100, "Reverb level must be less than 100. Please try again."},
                  {1, 50, 1000, "Reverb time must be between 50 and 1000. Please try again."}}});
    t.push_back({Id::kHighPassFilter,
                 "High-Pass Filter",
                 "High-Pass Filter",
                 "Low Cut Filter",
                 {{kStored, "LowCutFreq", 250}},
                 {}});
    t.push_back({Id::kEqualizer, "Equalizer", "Equalizer", "Equalizing", {}, {}, "equalizer.dat"});
    t.push_back({Id::kEnvelope, "Envelope", "Envelope", "Envelope", {}, {}, "envelope.dat"});
    t.push_back({Id::kFadeIn, "Fade In", "Fade In", "Fade In", {}, {}});
    t.push_back({Id::kFadeOut, "Fade Out", "Fade Out", "Fade Out", {}, {}});
    t.push_back(
        {Id::kFadeOutAndTrim, "Fade Out and Trim", "Fade Out and Trim", "Fade Out", {}, {}});
    t.push_back({Id::kCrossFade,
                 "Cross Fade",
                 "Cross Fade",
                 "Cross Fading",
                 {{"CrossFade", "GapTimeMS", 300},
                  {"CrossFade", "FadeInTimeMS", 300},
                  {"CrossFade", "FadeOutTimeMS", 300}},
                 {}});
    t.push_back({Id::kStereoPan,
                 "Stereo Pan",
                 "Stereo Pan",
                 "Stereo Pan",
                 {{kStored, "StereoPan", 50}},
                 {},
                 "",
                 true});
    t.push_back({Id::kSimpleSpeedPitch,
                 "Simple Speed and Pitch Change",
                 "Simple Speed and Pitch Change",
                 "",
                 {{kStored, "SpSpeedPitch", 100}},
                 {{0, kMin, 300, kSpeedMessage}}});
    t.push_back({Id::kConstantPitchSpeed,
                 "Constant Pitch and Speed Change",
                 "Constant Pitch and Speed Change",
                 "",
                 {{kStored, "ConstPitchSpeed", 100}},
                 {{0, kMin, 300, kSpeedMessage}}});
    t.push_back({Id::kConstantSpeedPitch,
                 "Constant Speed and Pitch Change",
                 "Constant Speed and Pitch Change",
                 "",
                 {{kStored, "ConstSpeedPitch", 100}},
                 {{0, kMin, 300, kSpeedMessage}}});
    t.push_back({Id::kAutomaticGainControl,
                 "Automatic Gain Control",
                 "Automatic Gain Control",
                 "",
                 {},
                 {}});
    t.push_back({Id::kNoiseReduction,
                 "Noise Reduction",
                 "Noise Reduction",
                 "Noise Reduction",
                 {{kStored, "NoiseGateLevel", -30}},
                 {}});
    t.push_back({Id::kCompressor,
                 "Dynamic Range Compressor",
                 "Dynamic Range Compressor",
                 "Dynamic Range Compressor",
                 {{kStored, "CompressorThreshold", 0},
                  {kStored, "CompressorRatio", 0},
                  {kStored, "CompressorLimit", 0}},
                 {}});
    const std::vector<LEffectParam> mix = {{kStored, "PasteMixVolume", 100},
                                           {kStored, "LongerSelection", 0},
                                           {kStored, "FadeOutTime", 250}};
    const std::vector<LEffectRule> mixRules = {
        {0, kMin, 100, "Mix Volume must be less than 100%. Please try again."}};
    t.push_back({Id::kPasteMix, "Paste Mix", "Paste Mix", "Pasting Mix", mix, mixRules});
    t.push_back({Id::kMixFile, "Mix File", "Mix File", "Pasting Mix", mix, mixRules});
    // Loudness normalize: the integrated loudness (EBU R128) to a target, the true peak
    // kept under a ceiling. -23 LUFS is the broadcast target, -16 the podcast one.
    t.push_back(
        {Id::kLoudnessNormalize,
         "Loudness Normalize",
         "Loudness Normalize",
         "Measuring Loudness",
         {{kStored, "LoudnessTarget", -23}, {kStored, "LoudnessTruePeak", -1}},
         {{0, -70, -5, "Target loudness must be between -70 and -5 LUFS. Please try again."},
          {1, -20, 0, "True peak ceiling must be between -20 and 0 dBTP. Please try again."}}});
    t.push_back({Id::kAutoTrim,
                 "Auto Trim",
                 "Auto Trim",
                 "AutoTrim",
                 {{"Settings", "AutoTrimThreshold", -20}},
                 {}});
    const std::vector<LEffectParam> silence = {{kStored, "SilenceTimes", 0}};
    t.push_back(
        {Id::kInsertSilenceStart, "Insert Silence At The Start", "Edit Silence", "", silence, {}});
    t.push_back({Id::kInsertSilenceCurrent,
                 "Insert Silence At Current Position",
                 "Edit Silence",
                 "",
                 silence,
                 {}});
    t.push_back(
        {Id::kInsertSilenceEnd, "Insert Silence At The End", "Edit Silence", "", silence, {}});
    t.push_back({Id::kReverse, "Reverse", "Reverse", "Reversing Sound", {}, {}});
    t.push_back(
        {Id::kRepeatLoop, "Repeat Loop", "Repeat Loop", "", {{kStored, "RepeatNumTimes", 1}}, {}});
    t.push_back({Id::kDcOffset,
                 "DC Offset Correction",
                 "DC Offset Correction",
                 "DC Offset Correction",
                 {},
                 {}});
    t.push_back({Id::kAutoClickPop,
                 "Auto Click/Pop Restoration",
                 "Auto Click/Pop Restoration",
                 "Click Detecting",
                 {{"Settings", "ClickSensitivity", 50}, {"Settings", "MaxClickLength", 450}},
                 {}});
    t.push_back(
        {Id::kManualClickPop, "Manual Click/Pop Repair", "Manual Click/Pop Repair", "", {}, {}});
    // The plug-in rows: the plug-in and its values are chosen in the plug-in dialog; the
    // extra folder of each kind is "LV2Folder" or "LADSPAFolder" in section "Settings".
    t.push_back({Id::kLv2Effects,
                 "LV2 Effects",
                 "LV2 Effects",
                 "Applying LV2 Effect",
                 {},
                 {},
                 "",
                 false,
                 "Applying LV2 effect FAILED."});
    t.push_back({Id::kLadspaPlugins,
                 "LADSPA Plugins",
                 "LADSPA Plugins",
                 "Applying LADSPA Effect",
                 {},
                 {},
                 "",
                 false,
                 "Applying LADSPA effect FAILED."});
    return t;
}

}  // namespace

const std::vector<LEffectInfo>& EffectTable() {
    static const std::vector<LEffectInfo> table = BuildTable();
    return table;
}

const LEffectInfo& GetEffectInfo(LEffectId id) {
    for (const LEffectInfo& info : EffectTable()) {
        if (info.id == id)
            return info;
    }
    return EffectTable().front();  // unreachable: every id has an entry
}

const LEffectInfo* FindEffect(const std::string& name) {
    for (const LEffectInfo& info : EffectTable()) {
        if (name == info.command)
            return &info;
    }
    for (const LEffectInfo& info : EffectTable()) {
        if (name == info.undoTitle)
            return &info;
    }
    return nullptr;
}

std::vector<int32_t> ReadEffectParams(const LEffectInfo& info, LSettingsStore& store) {
    std::vector<int32_t> values;
    values.reserve(info.params.size());
    for (const LEffectParam& p : info.params)
        values.push_back(store.GetInt(p.section, p.key, p.def));
    return values;
}

void WriteEffectParams(const LEffectInfo& info, const std::vector<int32_t>& values,
                       LSettingsStore& store) {
    for (size_t i = 0; i < info.params.size() && i < values.size(); ++i)
        store.SetInt(info.params[i].section, info.params[i].key, values[i]);
}

std::string ValidateEffectParams(const LEffectInfo& info, const std::vector<int32_t>& values) {
    for (const LEffectRule& rule : info.rules) {
        const int32_t v =
            rule.param < values.size() ? values[rule.param] : info.params[rule.param].def;
        if (v < rule.min || v > rule.max)
            return rule.message;
    }
    return {};
}

int FindEffectParam(const LEffectInfo& info, const std::string& key) {
    for (size_t i = 0; i < info.params.size(); ++i) {
        if (key == info.params[i].key)
            return static_cast<int>(i);
    }
    return -1;
}

}  // namespace osmera
