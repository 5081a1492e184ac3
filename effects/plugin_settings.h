#pragma once
// What the settings store remembers about plug-ins: the values last used with each one
// (section "LV2Plugins" or "LADSPAPlugins", one text per plug-in), the user's favourites
// and the plug-ins used last, most recent first (section "Plugins"). Shared by the editor's
// plug-in dialogs and the script commands. Any thread (the store serialises).

#include <string>
#include <vector>

#include "core/settings_store.h"
#include "effects/effect_table.h"
#include "effects/plugin_info.h"

namespace osmera {

// The effect command that runs plug-ins of `kind`.
LEffectId PluginEffectId(LPluginKind kind);

// The defaults of `info`'s control inputs with the remembered values over them.
std::vector<float> RememberedPluginValues(LSettingsStore& store, const LPluginInfo& info);
void RememberPluginValues(LSettingsStore& store, const LPluginInfo& info,
                          const std::vector<float>& values);

// "lv2:URI" / "ladspa:LABEL": how the lists below name a plug-in.
std::string PluginKey(const LPluginInfo& info);

// The favourites, in the order they were added.
std::vector<std::string> FavouritePlugins(LSettingsStore& store);
void SetFavouritePlugin(LSettingsStore& store, const LPluginInfo& info, bool favourite);
// The plug-ins used last, most recent first (at most 8).
std::vector<std::string> RecentPlugins(LSettingsStore& store);
void NoteRecentPlugin(LSettingsStore& store, const LPluginInfo& info);

}  // namespace osmera
