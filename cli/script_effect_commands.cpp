#include "cli/script_effect_commands.h"

#include <string>
#include <vector>

#include "cli/script_words.h"
#include "effects/effect_driver.h"

namespace osmera::cli {

namespace {

using A = LScriptArg;
using Args = const LScriptArgs&;

LSettingsStore* g_settings = nullptr;

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
        std::fprintf(ctx.out, "%d clicks repaired\n", r.repairs);
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

// A value of a table parameter that every effect using it accepts, or the table's message.
std::string CheckSetting(const std::string& section, const std::string& key, int64_t value) {
    for (const LEffectInfo& info : EffectTable()) {
        for (size_t i = 0; i < info.params.size(); ++i) {
            if (section != info.params[i].section || key != info.params[i].key)
                continue;
            if (value < INT32_MIN || value > INT32_MAX)
                return "the value does not fit 32 bits";
            std::vector<int32_t> values;
            for (const LEffectParam& p : info.params)
                values.push_back(p.def);
            values[i] = static_cast<int32_t>(value);
            // Only this parameter's own rules count here.
            for (const LEffectRule& rule : info.rules) {
                if (rule.param == i && (values[i] < rule.min || values[i] > rule.max))
                    return rule.message;
            }
        }
    }
    return {};
}

std::string Set(LScriptContext&, Args args) {
    const std::string& section = args.Word(0);
    const std::string& key = args.Word(1);
    const std::string& value = args.Word(2);
    if (const auto number = ParseWholeNumber(value, INT64_MIN / 2, INT64_MAX / 2)) {
        const std::string refused = CheckSetting(section, key, *number);
        if (!refused.empty())
            return refused;
    }
    ScriptSettings().SetText(section, key, value);
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
    std::fprintf(ctx.out, "%s\n",
                 ScriptSettings().GetText(args.Word(0), args.Word(1), def).c_str());
    return {};
}

}  // namespace

void SetScriptSettings(LSettingsStore* store) {
    g_settings = store;
}

LSettingsStore& ScriptSettings() {
    static LMemorySettingsStore temporary;
    return g_settings ? *g_settings : temporary;
}

void RegisterEffectScriptCommands(LScriptCommandTable& table) {
    using Id = LEffectId;
    table.Add({"amplify", "amplify PERCENT", {A::kInt}, 1, {}, Effect<Id::kAmplify>});
    table.Add({"normalize", "normalize PERCENT", {A::kInt}, 1, {}, Effect<Id::kNormalize>});
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
    table.Add({"auto-trim", "auto-trim [DB]", {A::kInt}, 0, {}, Effect<Id::kAutoTrim>});
    table.Add({"insert-silence-start",
               "insert-silence-start LENGTH",
               {A::kTime},
               1,
               {},
               Silence<Id::kInsertSilenceStart>});
    table.Add({"insert-silence-current",
               "insert-silence-current LENGTH",
               {A::kTime},
               1,
               {},
               Silence<Id::kInsertSilenceCurrent>});
    table.Add({"insert-silence-end",
               "insert-silence-end LENGTH",
               {A::kTime},
               1,
               {},
               Silence<Id::kInsertSilenceEnd>});
    table.Add({"repeat",
               "repeat N",
               {A::kInt},
               1,
               {},
               Effect<Id::kRepeatLoop>,
               [](Args args) -> std::string {
                   if (args.Int(0) < 1 || args.Int(0) > 100000)
                       return "N must be 1 to 100000";
                   return {};
               }});
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
                   return {};
               }});
    table.Add(
        {"click-repair-manual", "click-repair-manual", {}, 0, {}, Effect<Id::kManualClickPop>});
    table.Add({"set", "set SECTION KEY VALUE", {A::kWord, A::kWord, A::kWord}, 3, {}, Set});
    table.Add({"get", "get SECTION KEY", {A::kWord, A::kWord}, 2, {}, Get});
}

}  // namespace osmera::cli
