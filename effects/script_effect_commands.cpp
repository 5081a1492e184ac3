#include "effects/script_effect_commands.h"

#include <cmath>
#include <cstdlib>
#include <string>
#include <vector>

#include "effects/effect_driver.h"
#include "effects/filter_effects.h"
#include "effects/pitch_effects.h"
#include "effects/script_plugin_commands.h"
#include "effects/script_words.h"

namespace osmera {

namespace {

using A = LScriptArg;
using Args = const LScriptArgs&;

// Per thread, so that the batch converter's workers each run with a store of their own.
thread_local LSettingsStore* g_settings = nullptr;

// The allowed values of the number words of the effect commands, which are also the
// values `set` accepts for the parameter they fill. Where the effect table has a rule for
// the parameter, the range is the rule's and its message is kept.
struct LNumberWord {
    LEffectId id;
    size_t param;      // index into the effect's parameters
    const char* name;  // the word's name in the command's usage
    int32_t min;
    int32_t max;
};

constexpr LNumberWord kNumberWords[] = {
    {LEffectId::kAmplify, 0, "PERCENT", 0, 400},
    {LEffectId::kNormalize, 0, "PERCENT", 0, 100},
    {LEffectId::kAutoTrim, 0, "DB", -127, 0},
    {LEffectId::kRepeatLoop, 0, "N", 1, 100000},
    {LEffectId::kNoiseReduction, 0, "DB", -100, 0},
    {LEffectId::kSimpleSpeedPitch, 0, "PERCENT", kMinSpeedPercent, 300},
    {LEffectId::kConstantPitchSpeed, 0, "PERCENT", kMinSpeedPercent, 300},
    {LEffectId::kConstantSpeedPitch, 0, "PERCENT", kMinSpeedPercent, 300},
    {LEffectId::kCrossFade, 0, "GAP_MS", 0, 600000},
    {LEffectId::kCrossFade, 1, "FADE_IN_MS", 0, 600000},
    {LEffectId::kCrossFade, 2, "FADE_OUT_MS", 0, 600000},
    {LEffectId::kPasteMix, 0, "PERCENT", 0, 100},
    {LEffectId::kMixFile, 0, "PERCENT", 0, 100},
    {LEffectId::kLoudnessNormalize, 0, "LUFS", -70, -5},
    {LEffectId::kLoudnessNormalize, 1, "TRUE_PEAK_DB", -20, 0},
    {LEffectId::kAutoClickPop, 0, "SENSITIVITY", 0, 100},
    {LEffectId::kAutoClickPop, 1, "MAXLEN_US", 1, 100000},
    {LEffectId::kHighPassFilter, 0, "HZ", 1, 20000},
    {LEffectId::kEcho, 0, "MS", 10, 2999},
    {LEffectId::kEcho, 1, "PERCENT", 0, 99},
    {LEffectId::kReverb, 0, "LEVEL", 0, 100},
    {LEffectId::kReverb, 1, "TIME", 50, 1000},
    {LEffectId::kCompressor, 0, "THRESHOLD_DB", -96, 0},
    {LEffectId::kCompressor, 1, "RATIO_INDEX", 0, 7},
    {LEffectId::kCompressor, 2, "LIMIT_DB", -96, 0},
    {LEffectId::kStereoPan, 0, "POSITION", 0, 100},
};

const LNumberWord* FindNumberWord(LEffectId id, size_t param) {
    for (const LNumberWord& w : kNumberWords) {
        if (w.id == id && w.param == param)
            return &w;
    }
    return nullptr;
}

// "" when `value` is allowed for the word, else the refusal with the allowed range.
std::string CheckNumber(const LNumberWord& word, int64_t value) {
    if (value >= word.min && value <= word.max)
        return {};
    const std::string range = std::to_string(word.min) + " to " + std::to_string(word.max);
    if (std::string(word.name) == "PERCENT" && value < 0)
        return "a percentage cannot be negative: PERCENT is " + range;
    for (const LEffectRule& rule : GetEffectInfo(word.id).rules) {
        if (rule.param == word.param)
            return std::string(rule.message) + " (" + word.name + " is " + range + ")";
    }
    return std::string(word.name) + " must be " + range + ", not " + std::to_string(value);
}

// The number words of effect `Id`, each within its range.
template <LEffectId Id>
std::string CheckNumbers(const LScriptArgs& args) {
    for (size_t i = 0; i < args.Count(); ++i) {
        if (const LNumberWord* word = FindNumberWord(Id, i)) {
            const std::string refused = CheckNumber(*word, args.WideInt(i));
            if (!refused.empty())
                return refused;
        }
    }
    return {};
}

// A length of silence is a time at or after 0.
std::string CheckSilenceLength(const LScriptArgs& args) {
    if (!args.Word(0).empty() && args.Word(0).front() == '-')
        return "the length of silence cannot be negative";
    return {};
}

// What a driver result means for the script: "" when the effect was applied.
std::string Outcome(const LEffectInfo& info, const LEffectResult& r) {
    switch (r.status) {
        case LEffectStatus::kApplied:
            return {};
        case LEffectStatus::kNoDocument:
            return kNoDocumentMessage;
        case LEffectStatus::kJobCancelled:
            return std::string(info.command) + " was cancelled";
        case LEffectStatus::kJobFailed:
            if (!r.message.empty())  // a plug-in's failure message, with why
                return r.detail.empty() ? r.message : r.message + " (" + r.detail + ")";
            return std::string(info.command) + " failed";
        case LEffectStatus::kNotAvailable:
            return std::string(info.command) + " is not available";
        case LEffectStatus::kDialogCancelled:
        case LEffectStatus::kRefused:
            return r.message.empty() ? std::string(info.command) + " was not run" : r.message;
    }
    return {};
}

std::string RunDriver(LScriptContext& ctx, LEffectId id, std::vector<int32_t> values,
                      LEffectDriver* prepared = nullptr) {
    LEffectDriver own(ctx.controller, ScriptSettings(), ctx.progress);
    LEffectDriver& driver = prepared ? *prepared : own;
    LPresetEffectDialog dialog(std::move(values));
    const LEffectInfo& info = GetEffectInfo(id);
    const LEffectResult r = driver.Run(id, &dialog);
    if (id == LEffectId::kAutoClickPop && r.status == LEffectStatus::kApplied)
        ctx.Print(std::to_string(r.repairs) + " clicks repaired");
    return Outcome(info, r);
}

std::vector<int32_t> IntWords(Args args) {
    std::vector<int32_t> values;
    for (size_t i = 0; i < args.Count(); ++i)
        values.push_back(static_cast<int32_t>(args.Int(i)));
    return values;
}

template <LEffectId Id>
std::string Effect(LScriptContext& ctx, Args args) {
    return RunDriver(ctx, Id, IntWords(args));
}

template <LEffectId Id>
std::string Silence(LScriptContext& ctx, Args args) {
    LOMFile* doc = ctx.Document();
    if (!doc)
        return kNoDocumentMessage;
    LEffectDriver driver(ctx.controller, ScriptSettings(), ctx.progress);
    driver.SetSilenceFrames(args.Frames(0, static_cast<int32_t>(doc->audio.GetSampleRate())));
    return RunDriver(ctx, Id, {}, &driver);
}

bool ParsePoint(const std::string& word, LEnvelopePoint& point) {
    const auto colon = word.find(':');
    if (colon == std::string::npos)
        return false;
    const auto x = ParseWholeNumber(word.substr(0, colon), 0, 255);
    const auto y = ParseWholeNumber(word.substr(colon + 1), 0, 255);
    if (!x || !y)
        return false;
    point = {static_cast<uint8_t>(*x), static_cast<uint8_t>(*y)};
    return true;
}

std::string CheckEnvelope(Args args) {
    int last = -1;
    for (size_t i = 0; i < args.Count(); ++i) {
        LEnvelopePoint p;
        if (!ParsePoint(args.Word(i), p))
            return "'" + args.Word(i) + "' is not a point X:Y with X and Y from 0 to 255";
        if (p.x < last)
            return "envelope points must be in rising X";
        last = p.x;
    }
    return {};
}

std::string Envelope(LScriptContext& ctx, Args args) {
    LPointList points;
    for (size_t i = 0; i < args.Count(); ++i) {
        LEnvelopePoint p;
        ParsePoint(args.Word(i), p);
        points.push_back(p);
    }
    LEffectDriver driver(ctx.controller, ScriptSettings(), ctx.progress);
    driver.SetEnvelopePoints(points);
    return RunDriver(ctx, LEffectId::kEnvelope, {}, &driver);
}

// An equalizer word: a band gain in dB (one decimal at most counts) from -12 to 12, as
// tenths of a dB.
bool ParseBandGain(const std::string& word, int32_t& tenths) {
    char* end = nullptr;
    const double db = std::strtod(word.c_str(), &end);
    if (word.empty() || *end != '\0' || !(db >= -12.0 && db <= 12.0))
        return false;
    tenths = static_cast<int32_t>(std::lround(db * 10));
    return true;
}

// `equalizer` takes a preset name or one gain per band, low to high (missing bands 0 dB).
std::vector<int32_t> EqualizerWords(Args args) {
    if (args.Count() == 1 && !EqualizerPreset(args.Word(0)).empty())
        return EqualizerPreset(args.Word(0));
    std::vector<int32_t> gains(kEqualizerBands, 0);
    for (size_t i = 0; i < args.Count() && i < gains.size(); ++i)
        ParseBandGain(args.Word(i), gains[i]);
    return gains;
}

std::string CheckEqualizer(Args args) {
    if (args.Count() == 1 && !EqualizerPreset(args.Word(0)).empty())
        return {};
    if (args.Count() > kEqualizerBands)
        return "the equalizer has " + std::to_string(kEqualizerBands) + " bands";
    for (size_t i = 0; i < args.Count(); ++i) {
        int32_t tenths = 0;
        if (!ParseBandGain(args.Word(i), tenths))
            return "'" + args.Word(i) +
                   "' is not a band gain from -12 to 12 dB (or use flat, bass-boost or voice)";
    }
    return {};
}

std::string Equalizer(LScriptContext& ctx, Args args) {
    LEffectDriver driver(ctx.controller, ScriptSettings(), ctx.progress);
    driver.SetEqualizerGains(EqualizerWords(args));
    return RunDriver(ctx, LEffectId::kEqualizer, {}, &driver);
}

// A value of a table parameter that every effect using it accepts, or the refusal.
std::string CheckSetting(const std::string& section, const std::string& key, int64_t value) {
    for (const LEffectInfo& info : EffectTable()) {
        for (size_t i = 0; i < info.params.size(); ++i) {
            if (section != info.params[i].section || key != info.params[i].key)
                continue;
            if (const LNumberWord* word = FindNumberWord(info.id, i)) {
                const std::string refused = CheckNumber(*word, value);
                if (!refused.empty())
                    return refused;
            }
            if (value < INT32_MIN || value > INT32_MAX)
                return key + " must be from -2147483648 to 2147483647";
            // Only this parameter's own rules count here.
            for (const LEffectRule& rule : info.rules) {
                if (rule.param == i && (value < rule.min || value > rule.max))
                    return rule.message;
            }
        }
    }
    return {};
}

// The noise profile `noise-profile` took, kept for the script's later `noise-reduction`.
LNoiseProfile& ScriptNoiseProfile() {
    thread_local LNoiseProfile profile;  // per thread, as the settings store is
    return profile;
}

std::string NoiseProfile(LScriptContext& ctx, Args) {
    if (!ctx.Document())
        return kNoDocumentMessage;
    LEffectDriver driver(ctx.controller, ScriptSettings(), ctx.progress);
    if (!driver.TakeNoiseProfile())
        return "the selection is too short for a noise profile";
    ScriptNoiseProfile() = driver.NoiseProfile();
    return {};
}

std::string NoiseReduction(LScriptContext& ctx, Args args) {
    LEffectDriver driver(ctx.controller, ScriptSettings(), ctx.progress);
    driver.SetNoiseProfile(ScriptNoiseProfile());
    return RunDriver(ctx, LEffectId::kNoiseReduction, IntWords(args), &driver);
}

std::string CheckMixFile(Args args) {
    return CheckNumber(*FindNumberWord(LEffectId::kMixFile, 0), args.WideInt(1));
}

std::string MixFile(LScriptContext& ctx, Args args) {
    LEffectDriver driver(ctx.controller, ScriptSettings(), ctx.progress);
    driver.SetMixFile(args.Path(0));
    return RunDriver(ctx, LEffectId::kMixFile, {static_cast<int32_t>(args.Int(1))}, &driver);
}

// A number for a remembered effect parameter must be one its effect accepts; anything
// else is kept as text.
std::string CheckSet(Args args) {
    const std::string& value = args.Word(2);
    if (!IsWholeNumberText(value))
        return {};
    return CheckSetting(args.Word(0), args.Word(1), args.WideInt(2));
}

std::string Set(LScriptContext&, Args args) {
    ScriptSettings().SetText(args.Word(0), args.Word(1), args.Word(2));
    return {};
}

std::string Get(LScriptContext& ctx, Args args) {
    std::string def;
    for (const LEffectInfo& info : EffectTable()) {
        for (const LEffectParam& p : info.params) {
            if (args.Word(0) == p.section && args.Word(1) == p.key)
                def = std::to_string(p.def);
        }
    }
    ctx.Print(ScriptSettings().GetText(args.Word(0), args.Word(1), def));
    return {};
}

}  // namespace

void SetScriptSettings(LSettingsStore* store) {
    g_settings = store;
    ScriptNoiseProfile() = LNoiseProfile();
}

LSettingsStore& ScriptSettings() {
    static LMemorySettingsStore temporary;
    return g_settings ? *g_settings : temporary;
}

void RegisterEffectScriptCommands(LScriptCommandTable& table) {
    using Id = LEffectId;
    RegisterPluginScriptCommands(table);
    table.Add({"amplify",
               "amplify PERCENT",
               {A::kInt},
               1,
               {},
               Effect<Id::kAmplify>,
               CheckNumbers<Id::kAmplify>});
    table.Add({"normalize",
               "normalize PERCENT",
               {A::kInt},
               1,
               {},
               Effect<Id::kNormalize>,
               CheckNumbers<Id::kNormalize>});
    table.Add({"fade-in", "fade-in", {}, 0, {}, Effect<Id::kFadeIn>});
    table.Add({"fade-out", "fade-out", {}, 0, {}, Effect<Id::kFadeOut>});
    table.Add({"fade-out-trim", "fade-out-trim", {}, 0, {}, Effect<Id::kFadeOutAndTrim>});
    table.Add({"envelope",
               "envelope X:Y X:Y ...",
               std::vector<A>(255, A::kWord),
               2,
               {},
               Envelope,
               CheckEnvelope});
    table.Add({"dc-offset", "dc-offset", {}, 0, {}, Effect<Id::kDcOffset>});
    table.Add({"auto-trim",
               "auto-trim [DB]",
               {A::kInt},
               0,
               {},
               Effect<Id::kAutoTrim>,
               CheckNumbers<Id::kAutoTrim>});
    table.Add({"insert-silence-start",
               "insert-silence-start LENGTH",
               {A::kTime},
               1,
               {},
               Silence<Id::kInsertSilenceStart>,
               CheckSilenceLength});
    table.Add({"insert-silence-current",
               "insert-silence-current LENGTH",
               {A::kTime},
               1,
               {},
               Silence<Id::kInsertSilenceCurrent>,
               CheckSilenceLength});
    table.Add({"insert-silence-end",
               "insert-silence-end LENGTH",
               {A::kTime},
               1,
               {},
               Silence<Id::kInsertSilenceEnd>,
               CheckSilenceLength});
    table.Add({"repeat",
               "repeat N",
               {A::kInt},
               1,
               {},
               Effect<Id::kRepeatLoop>,
               CheckNumbers<Id::kRepeatLoop>});
    table.Add({"reverse", "reverse", {}, 0, {}, Effect<Id::kReverse>});
    table.Add({"click-repair",
               "click-repair [SENSITIVITY MAXLEN_US]",
               {A::kInt, A::kInt},
               0,
               {},
               Effect<Id::kAutoClickPop>,
               [](Args args) -> std::string {
                   if (args.Count() == 1)
                       return "give both SENSITIVITY and MAXLEN_US, or neither";
                   return CheckNumbers<Id::kAutoClickPop>(args);
               }});
    table.Add(
        {"click-repair-manual", "click-repair-manual", {}, 0, {}, Effect<Id::kManualClickPop>});
    table.Add({"high-pass",
               "high-pass HZ",
               {A::kInt},
               1,
               {},
               Effect<Id::kHighPassFilter>,
               CheckNumbers<Id::kHighPassFilter>});
    table.Add({"equalizer",
               "equalizer GAIN_DB... | flat | bass-boost | voice",
               std::vector<A>(kEqualizerBands, A::kWord),
               1,
               {},
               Equalizer,
               CheckEqualizer});
    table.Add({"echo",
               "echo MS PERCENT",
               {A::kInt, A::kInt},
               2,
               {},
               Effect<Id::kEcho>,
               CheckNumbers<Id::kEcho>});
    table.Add({"reverb",
               "reverb LEVEL TIME",
               {A::kInt, A::kInt},
               2,
               {},
               Effect<Id::kReverb>,
               CheckNumbers<Id::kReverb>});
    table.Add({"compressor",
               "compressor THRESHOLD_DB RATIO_INDEX LIMIT_DB",
               {A::kInt, A::kInt, A::kInt},
               3,
               {},
               Effect<Id::kCompressor>,
               CheckNumbers<Id::kCompressor>});
    table.Add({"agc", "agc", {}, 0, {}, Effect<Id::kAutomaticGainControl>});
    table.Add({"pan",
               "pan POSITION",
               {A::kInt},
               1,
               {},
               Effect<Id::kStereoPan>,
               CheckNumbers<Id::kStereoPan>});
    table.Add({"noise-profile", "noise-profile", {}, 0, {}, NoiseProfile});
    table.Add({"noise-reduction",
               "noise-reduction DB",
               {A::kInt},
               1,
               {},
               NoiseReduction,
               CheckNumbers<Id::kNoiseReduction>});
    table.Add({"speed-pitch",
               "speed-pitch PERCENT",
               {A::kInt},
               1,
               {},
               Effect<Id::kSimpleSpeedPitch>,
               CheckNumbers<Id::kSimpleSpeedPitch>});
    table.Add({"tempo",
               "tempo PERCENT",
               {A::kInt},
               1,
               {},
               Effect<Id::kConstantPitchSpeed>,
               CheckNumbers<Id::kConstantPitchSpeed>});
    table.Add({"pitch",
               "pitch PERCENT",
               {A::kInt},
               1,
               {},
               Effect<Id::kConstantSpeedPitch>,
               CheckNumbers<Id::kConstantSpeedPitch>});
    table.Add({"cross-fade",
               "cross-fade [GAP_MS FADE_IN_MS FADE_OUT_MS]",
               {A::kInt, A::kInt, A::kInt},
               0,
               {},
               Effect<Id::kCrossFade>,
               [](Args args) -> std::string {
                   if (args.Count() != 0 && args.Count() != 3)
                       return "give GAP_MS, FADE_IN_MS and FADE_OUT_MS, or none";
                   return CheckNumbers<Id::kCrossFade>(args);
               }});
    table.Add({"paste-mix",
               "paste-mix PERCENT",
               {A::kInt},
               1,
               {},
               Effect<Id::kPasteMix>,
               CheckNumbers<Id::kPasteMix>});
    table.Add(
        {"mix-file", "mix-file FILE PERCENT", {A::kPath, A::kInt}, 2, {}, MixFile, CheckMixFile});
    table.Add({"loudness",
               "loudness LUFS [TRUE_PEAK_DB]",
               {A::kInt, A::kInt},
               1,
               {},
               Effect<Id::kLoudnessNormalize>,
               CheckNumbers<Id::kLoudnessNormalize>});
    table.Add(
        {"set", "set SECTION KEY VALUE", {A::kWord, A::kWord, A::kWord}, 3, {}, Set, CheckSet});
    table.Add({"get", "get SECTION KEY", {A::kWord, A::kWord}, 2, {}, Get});
}

}  // namespace osmera
