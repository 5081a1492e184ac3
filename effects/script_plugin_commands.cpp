#include "effects/script_plugin_commands.h"

#include <string>
#include <vector>

#include "effects/effect_driver.h"
#include "effects/plugin_scan.h"
#include "effects/plugin_settings.h"
#include "effects/script_effect_commands.h"

namespace osmera {

namespace {

// The most PORT=VALUE words a line may give.
constexpr size_t kMaxPortWords = 64;

template <LPluginKind Kind>
std::string RunPlugin(LScriptContext& ctx, const LScriptArgs& args) {
    if (!ctx.Document())
        return kNoDocumentMessage;
    LSettingsStore& settings = ScriptSettings();
    const LEffectId id = PluginEffectId(Kind);
    const LEffectInfo& info = GetEffectInfo(id);
    const std::shared_ptr<const LPluginCatalog> catalog =
        InstalledPlugins(PluginScanSettings(settings));
    LPluginChoice choice;
    std::vector<std::string> words;
    for (size_t i = 1; i < args.Count(); ++i)
        words.push_back(args.Word(i));
    if (const LPluginInfo* found = catalog->Find(Kind, args.Word(0))) {
        choice.info = *found;
        choice.values = RememberedPluginValues(settings, *found);
        const std::string wrong = ApplyPortWords(choice.info, words, choice.values);
        if (!wrong.empty())
            return wrong;
    } else {
        // An unknown plug-in fails like one that cannot be loaded, through the driver, so
        // the document and its undo ring end as after any failed plug-in.
        choice.info.kind = Kind;
        choice.info.id = args.Word(0);
        choice.info.name = args.Word(0);
    }
    LEffectDriver driver(ctx.controller, settings, ctx.progress);
    driver.SetPlugin(&choice);
    LPresetEffectDialog dialog;
    const LEffectResult r = driver.Run(id, &dialog);
    switch (r.status) {
        case LEffectStatus::kApplied:
            RememberPluginValues(settings, choice.info, choice.values);
            return {};
        case LEffectStatus::kJobFailed: {
            std::string detail = r.detail;
            if (choice.info.path.empty())
                detail = "no installed " + std::string(PluginKindWord(Kind)) + " plug-in is " +
                         args.Word(0);
            return r.message + (detail.empty() ? "" : " (" + detail + ")");
        }
        case LEffectStatus::kJobCancelled:
            return std::string(info.command) + " was cancelled";
        case LEffectStatus::kNoDocument:
            return kNoDocumentMessage;
        default:
            return r.message.empty() ? std::string(info.command) + " was not run" : r.message;
    }
}

std::string CheckPortWords(const LScriptArgs& args) {
    for (size_t i = 1; i < args.Count(); ++i) {
        const std::string& w = args.Word(i);
        const size_t eq = w.find('=');
        if (eq == std::string::npos || eq == 0 || eq + 1 == w.size())
            return "\"" + w + "\" is not PORT=VALUE";
    }
    return {};
}

std::vector<LScriptArg> PluginArgs() {
    return std::vector<LScriptArg>(kMaxPortWords + 1, LScriptArg::kWord);
}

}  // namespace

void RegisterPluginScriptCommands(LScriptCommandTable& table) {
    table.Add({"lv2",
               "lv2 URI [PORT=VALUE...]",
               PluginArgs(),
               1,
               {},
               RunPlugin<LPluginKind::kLv2>,
               CheckPortWords});
    table.Add({"ladspa",
               "ladspa LABEL [PORT=VALUE...]",
               PluginArgs(),
               1,
               {},
               RunPlugin<LPluginKind::kLadspa>,
               CheckPortWords});
}

}  // namespace osmera
