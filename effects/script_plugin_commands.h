#pragma once
// The plug-in commands of batch scripts:
//
//     lv2 URI [PORT=VALUE...]        an LV2 plug-in over the selection
//     ladspa LABEL [PORT=VALUE...]   a LADSPA plug-in (its label or unique id)
//
// PORT is a control input's symbol or name; ports not named keep the values remembered for
// the plug-in (or its defaults). They run through the effect driver (undo step "LV2
// Effects" or "LADSPA Plugins"), and the values used are remembered for the plug-in in the
// script's settings store. The plug-ins are those of InstalledPlugins with the store's
// folder settings. Script thread only.

#include "effects/script_commands.h"

namespace osmera {

// Adds lv2 and ladspa; replaces earlier commands of those names.
void RegisterPluginScriptCommands(LScriptCommandTable& table);

}  // namespace osmera
